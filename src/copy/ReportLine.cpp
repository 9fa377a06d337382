#include "ReportLine.h"

#include <thread>
#include <utility>

#include "Platform.h"

namespace fillstation {

void ReportLine::pass(const Report& report) {
  const auto own = std::make_shared<Member>(report);
  {
    const std::scoped_lock guard(lock_);
    line_.push_back(own);
    isEmpty_ = false;
    if (!std::exchange(busy_, true)) {
      own->turn = Turn::leads;
    }
  }
  own->turn.wait(Turn::waits);
  if (own->turn == Turn::leads) {
    lead();
  }
}

std::size_t ReportLine::waiting() {
  const std::scoped_lock guard(lock_);
  return line_.size();
}

void ReportLine::Member::give(Turn value) {
  turn = value;
  turn.notify_one();
}

void ReportLine::lead() {
  {
    const std::scoped_lock shown(shown_);
    if (!platform().mainThread->runAndWait([this] { show(); })) {
      for (const auto& member : takeAll()) {
        member->give(Turn::ended);
      }
    }
  }
  const std::scoped_lock guard(lock_);
  busy_ = !line_.empty();
  if (busy_) {
    line_.front()->give(Turn::leads);
  }
}

void ReportLine::show() {
  for (int shown = 0; shown < most_;) {
    const Line members = awaitMore();
    if (members.empty()) {
      return;
    }
    for (const auto& member : members) {
      member->report();
      member->give(Turn::ended);
      ++shown;
    }
  }
}

ReportLine::Line ReportLine::awaitMore() {
  for (int looks = 0; isEmpty_ && looks < patience_; ++looks) {
    std::this_thread::yield();
  }
  return takeAll();
}

ReportLine::Line ReportLine::takeAll() {
  const std::scoped_lock guard(lock_);
  isEmpty_ = true;
  return std::exchange(line_, {});
}

}  // namespace fillstation
