#include "ReportLine.h"

#include <utility>

#include "Platform.h"

namespace fillstation {

void ReportLine::pass(const Report& report) {
  const auto own = std::make_shared<Member>(report);
  std::unique_lock guard(lock_);
  line_.push_back(own);
  if (busy_) {
    own->changed.wait(guard, [&own] { return own->leads || own->ended; });
  }
  if (own->ended) {
    return;
  }
  busy_ = true;
  const Line members = std::exchange(line_, {});
  guard.unlock();
  handOver(members);
  guard.lock();
  busy_ = !line_.empty();
  if (busy_) {
    line_.front()->leads = true;
    line_.front()->changed.notify_one();
  }
}

std::size_t ReportLine::waiting() {
  const std::scoped_lock guard(lock_);
  return line_.size();
}

void ReportLine::handOver(const Line& members) {
  const std::scoped_lock guard(shown_);
  const bool shown = platform().mainThread->runAndWait([&] {
    for (const auto& member : members) {
      member->report();
      end(*member);
    }
  });
  if (!shown) {
    for (const auto& member : members) {
      end(*member);
    }
  }
}

// The thread is woken when the lock is free, so that it need not sleep a second time.
void ReportLine::end(Member& member) {
  {
    const std::scoped_lock guard(lock_);
    member.ended = true;
  }
  member.changed.notify_one();
}

}  // namespace fillstation
