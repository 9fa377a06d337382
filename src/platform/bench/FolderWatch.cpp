#include "FolderWatch.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <utility>

namespace fillstation {

FolderWatch::FolderWatch(std::string folder, Handler handler)
    : folder_(std::move(folder)), handler_(std::move(handler)) {}

bool FolderWatch::open() {
  events_ = FileHandle(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
  if (::inotify_add_watch(events_.get(), folder_.c_str(),
                          IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_ONLYDIR) <
      0) {
    return false;
  }
  notifier_ = std::make_unique<QSocketNotifier>(events_.get(), QSocketNotifier::Read);
  QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                   [this] { readEvents(); });
  return true;
}

void FolderWatch::readEvents() {
  std::array<char, 16384> buffer{};
  const ssize_t count = ::read(events_.get(), buffer.data(), buffer.size());
  for (ssize_t at = 0; at < count;) {
    inotify_event event{};
    std::memcpy(&event, &buffer[static_cast<std::size_t>(at)], sizeof(event));
    at += static_cast<ssize_t>(sizeof(event));
    const std::string name(event.len > 0 ? &buffer[static_cast<std::size_t>(at)] : "");
    at += event.len;
    handler_(name, (event.mask & (IN_CLOSE_WRITE | IN_MOVED_TO)) != 0);
  }
}

}  // namespace fillstation
