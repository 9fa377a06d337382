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

// The way of reports to the main thread, which shows one after the other in the order in which they
// came here. A hand-over wakes two threads one after the other, and with many players and small
// files that is what a run would take its time for. So the thread whose report finds nobody before
// it leads: its hand-over shows whatever comes while it lasts, and looks for a moment whether more
// is coming. It ends soon all the same, since the window wants the main thread too and the leader
// has its own work. Any thread.
class ReportLine {
 public:
  using Report = std::function<void()>;

  // How often a hand-over that has nothing to show looks for more before it ends, letting other
  // threads run in between: some tens of microseconds.
  static constexpr int kPatience = 100;
  // How many reports a hand-over shows at most, or few more when they came together.
  static constexpr int kMost = 256;

  // The lock is held while reports are being shown, by the thread that leads; it outlives the line.
  explicit ReportLine(std::mutex& shown, int patience = kPatience, int most = kMost)
      : shown_(shown), patience_(patience), most_(most) {}

  // Runs the report on the main thread and returns when it has returned, or without it when the
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

  // How many wait for being shown.
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
  // Takes all that wait, after some patience when nobody does.
  Line awaitMore() {
    for (int looks = 0; isEmpty_ && looks < patience_; ++looks) {
      std::this_thread::yield();
    }
    return takeAll();
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
  std::atomic<bool> isEmpty_ = true;  // what line_ is, for a look without the lock
  bool busy_ = false;                 // somebody leads
};

}  // namespace fillstation
