#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

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
  void pass(const Report& report);

  // How many wait for being shown.
  std::size_t waiting();

 private:
  enum class Turn { waits, leads, ended };
  struct Member {
    explicit Member(const Report& own) : report(own) {}
    void give(Turn value);

    const Report& report;
    std::atomic<Turn> turn = Turn::waits;
  };
  using Line = std::vector<std::shared_ptr<Member>>;

  void lead();
  // The body of a hand-over.
  void show();
  // Takes all that wait, after some patience when nobody does.
  Line awaitMore();
  Line takeAll();

  std::mutex& shown_;
  const int patience_;
  const int most_;
  std::mutex lock_;
  Line line_;
  std::atomic<bool> isEmpty_ = true;  // what line_ is, for a look without the lock
  bool busy_ = false;                 // somebody leads
};

}  // namespace fillstation
