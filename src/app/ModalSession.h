#pragma once

#include <QEventLoop>
#include <QObject>

class QDialog;
class QWidget;

namespace fillstation {

// Shows a dialog that the operator has to answer before anything else, and that still lets the main
// window be closed (Qt refuses to close a window behind a modal one): the dialog itself is not
// modal, but input to every other window is swallowed. USB events wait meanwhile. Main thread; one
// object per showing.
class ModalSession : public QObject {
  Q_OBJECT

 public:
  // Returns when the dialog has been hidden, by whatever: its answer is dialog.result().
  static void run(QDialog& dialog);

  bool eventFilter(QObject* receiver, QEvent* event) override;

 private:
  explicit ModalSession(QDialog& dialog) : dialog_(dialog) {}
  bool belongsToDialog(const QWidget* widget) const;

  QDialog& dialog_;
  QEventLoop loop_;
};

}  // namespace fillstation
