#pragma once

#include "Platform.h"

class QDialog;

namespace fillstation {

// Makes USB events wait for as long as it lives, so that none of their pauses begins inside a
// dialog's loop or the walk of a chosen folder. Main thread.
class UsbHold {
 public:
  UsbHold() { platform().usbBus->hold(); }
  ~UsbHold() { platform().usbBus->resume(); }
  UsbHold(const UsbHold&) = delete;
  UsbHold& operator=(const UsbHold&) = delete;
};

// Shows a dialog that the operator has to answer before anything else, and that still lets the main
// window be closed (Qt refuses to close a window behind a modal one): the dialog itself is not
// modal, but input to every other window is swallowed. USB events wait meanwhile. Returns when the
// dialog has been hidden, by whatever: its answer is dialog.result(). Main thread.
void runModalSession(QDialog& dialog);

}  // namespace fillstation
