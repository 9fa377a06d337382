#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "Platform.h"

namespace fillstation {

// Passes reports to the main thread, which shows them one by one in the order of arrival. A
// hand-over switches threads twice; with many players and small files a run would spend most of its
// time on that. So a thread that finds no hand-over in progress leads one: it shows all reports
// that arrive meanwhile and, where they come close together, briefly waits for more. It ends soon,
// since the window needs the main thread and the leader has its own work. Any thread.
class ReportLine {
 public:
  using Report = std::function<void()>;

  // How often a hand-over without reports looks for more before it ends, letting other threads run
  // in between: some tens of microseconds. It doesn't if the last one came alone.
  static constexpr int kPatience = 100;
  // The most reports in one hand-over; a few more if they arrived together.
  static constexpr int kMost = 256;

  // The leading thread holds the lock while reports are being shown. The lock outlives the line.
  explicit ReportLine(std::mutex& shown, int patience = kPatience, int most = kMost)
      : shown_(shown), patience_(patience), most_(most) {}

  // Runs the report on the main thread. Returns when it has returned, or without running it if the
  // program is ending.
  void pass(const Report& report) {
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

  // The number of waiting reports.
  std::size_t waiting() {
    const std::scoped_lock guard(lock_);
    return line_.size();
  }

 private:
  enum class Turn { waits, leads, ended };
  struct Member {
    explicit Member(const Report& own) : report(own) {}
    void give(Turn value) {
      turn = value;
      turn.notify_one();
    }

    const Report& report;
    std::atomic<Turn> turn = Turn::waits;
  };
  using Line = std::vector<std::shared_ptr<Member>>;

  void lead() {
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
  // The body of a hand-over.
  void show() {
    Line members = takeAll();
    crowded_ = crowded_ || members.size() > 1;
    for (int shown = 0; !members.empty();) {
      for (const auto& member : members) {
        member->report();
        member->give(Turn::ended);
        ++shown;
      }
      members = shown < most_ ? awaitMore() : Line();
    }
  }
  // Takes all waiting reports; if there are none, waits a moment for some where that pays.
  Line awaitMore() {
    for (int looks = 0; crowded_ && isEmpty_ && looks < patience_; ++looks) {
      std::this_thread::yield();
    }
    Line more = takeAll();
    crowded_ = !more.empty();
    return more;
  }
  Line takeAll() {
    const std::scoped_lock guard(lock_);
    isEmpty_ = true;
    return std::exchange(line_, {});
  }

  std::mutex& shown_;
  const int patience_;
  const int most_;
  std::mutex lock_;
  Line line_;
  std::atomic<bool> isEmpty_ = true;  // whether line_ is; read without the lock
  bool busy_ = false;                 // a thread leads
  bool crowded_ = false;              // reports came close together; for show() alone
};

}  // namespace fillstation
