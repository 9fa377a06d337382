#include "DBusTimeOuts.h"

#include <dlfcn.h>

#include <mutex>
#include <utility>

namespace fillstation::test {

namespace {

std::mutex lock;
// Never destroyed: Qt's D-Bus thread may still send while the program ends.
std::vector<int>& timeOuts = *new std::vector<int>;

}  // namespace

std::vector<int> takeDBusTimeOuts() {
  const std::scoped_lock guard(lock);
  return std::exchange(timeOuts, {});
}

}  // namespace fillstation::test

// Qt calls libdbus through this one.
extern "C" unsigned int dbus_connection_send_with_reply(void* connection, void* message,
                                                        void** pending, int timeOut) {
  using Send = unsigned int (*)(void*, void*, void**, int);
  static const auto next =
      reinterpret_cast<Send>(::dlsym(RTLD_NEXT, "dbus_connection_send_with_reply"));
  {
    const std::scoped_lock guard(fillstation::test::lock);
    fillstation::test::timeOuts.push_back(timeOut);
  }
  return next(connection, message, pending, timeOut);
}
