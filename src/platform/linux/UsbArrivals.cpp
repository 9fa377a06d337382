#include "UsbArrivals.h"

#include <utility>

namespace fillstation {

std::shared_ptr<UsbDevice> UsbArrivals::next() {
  if (waiting_.empty()) {
    walked_ = true;
    onWalked(std::exchange(yielded_, {}));
    return nullptr;
  }
  yielded_.push_back(std::move(waiting_.front()));
  waiting_.pop_front();
  return yielded_.back();
}

void UsbArrivals::watch(UsbBus::Notification notification) {
  notification_ = std::move(notification);
  walked_ = false;
}

void UsbArrivals::notify() {
  walked_ = false;
  notification_(*this);
}

}  // namespace fillstation
