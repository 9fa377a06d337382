#pragma once

#include <QMessageBox>
#include <string>

class QScrollBar;

namespace fillstation {

// A message with one button, "OK". A long message scrolls, also by Page Up and Page Down, so that
// the button stays on the screen. Main thread.
class Alert : public QMessageBox {
  Q_OBJECT

 public:
  // The message is plain text; line feeds in it begin new lines.
  Alert(QWidget* parent, const QString& message);

  // Shows the message and returns when it has been dismissed (or the program is ending).
  static void run(QWidget* parent, const std::string& message);

 protected:
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void makeScroll();

  QScrollBar* bar_ = nullptr;  // of a long message alone
};

}  // namespace fillstation
