#pragma once

#include "Platform.h"

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

}  // namespace fillstation
