#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace fillstation {

// The way of reports to the main thread, which shows one after the other in the order in which they
// came here. Those that come while others are being shown are handed over together afterwards: a
// hand-over wakes two threads one after the other, and with many players and small files that is
// what a run would take its time for. Any thread but the main one.
class ReportLine {
 public:
  using Report = std::function<void()>;

  // The lock is held while reports are being shown, by the first of those that go together; it
  // outlives the line.
  explicit ReportLine(std::mutex& shown) : shown_(shown) {}

  // Runs the report on the main thread and returns when it has returned, or without it when the
  // program is ending.
  void pass(const Report& report);

  // How many wait for the next hand-over.
  std::size_t waiting();

 private:
  struct Member {
    explicit Member(const Report& own) : report(own) {}

    const Report& report;
    bool leads = false;  // hands over the whole line
    bool ended = false;
    std::condition_variable changed;
  };
  using Line = std::vector<std::shared_ptr<Member>>;

  void handOver(const Line& members);
  void end(Member& member);

  std::mutex& shown_;
  std::mutex lock_;
  Line line_;
  bool busy_ = false;  // somebody leads
};

}  // namespace fillstation
