#pragma once

#include <QMessageBox>
#include <string>

#include "Platform.h"

class QScrollBar;

namespace fillstation {

// Delays USB events during its lifetime, so that none of their pauses begins inside a dialog's loop
// or the walk of a chosen folder. Main thread.
class UsbHold {
 public:
  UsbHold() { platform().usbBus->hold(); }
  ~UsbHold() { platform().usbBus->resume(); }
  UsbHold(const UsbHold&) = delete;
  UsbHold& operator=(const UsbHold&) = delete;
};

// Shows a dialog that the operator has to answer first, but lets the main window be closed. (Qt
// refuses to close a window behind a modal one.) So the dialog is not modal; input to every other
// window is swallowed. USB events wait meanwhile. Returns when the dialog has been hidden for any
// reason; the answer is dialog.result(). Main thread.
void runModalSession(QDialog& dialog);

// A message with one button, "OK". A long message scrolls, also by Page Up and Page Down, so that
// the button stays on the screen. Main thread.
class Alert : public QMessageBox {
  Q_OBJECT

 public:
  // The message is plain text; line feeds begin new lines. Without an icon it gets the program's.
  Alert(QWidget* parent, const QString& message, Icon icon = NoIcon);

  // Shows the message and returns when it has been dismissed (or the program is ending).
  static void run(QWidget* parent, const std::string& message, Icon icon = NoIcon);

 protected:
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void makeScroll();

  QScrollBar* bar_ = nullptr;  // of a long message alone
};

}  // namespace fillstation
