#include "ReportLine.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <future>
#include <limits>
#include <list>
#include <string>
#include <thread>

#include "TestPlatform.h"

namespace fillstation::test {
namespace {

class ReportLineTest : public ::testing::Test {
 protected:
  // Passes a report, which writes its name, from a separate thread.
  void pass(char name) {
    workers.push_back(std::async(std::launch::async,
                                 [this, name] { line.pass([this, name] { shown += name; }); }));
  }
  // The same, and returns when it waits behind the others.
  void passBehind(char name, std::size_t waiting) {
    pass(name);
    while (line.waiting() != waiting) {
      std::this_thread::yield();
    }
  }
  // Lets the next hand-over happen.
  void handOver() {
    ports.mainThread.awaitQueued();
    EXPECT_TRUE(ports.mainThread.runNext());
  }
  // The shown reports, when all have returned and no hand-over is left.
  std::string shownInAll() {
    workers.clear();
    EXPECT_FALSE(ports.mainThread.runNext());
    return shown;
  }

  TestPlatform ports;
  std::mutex lock;
  ReportLine line{lock, 0};
  std::string shown;
  std::list<std::future<void>> workers;
};

TEST_F(ReportLineTest, ReportsThatWaitAreHandedOverTogetherInTheirOrder) {
  pass('a');
  ports.mainThread.awaitQueued();
  passBehind('b', 2);
  passBehind('c', 3);
  passBehind('d', 4);
  EXPECT_EQ(shown, "");
  handOver();
  EXPECT_EQ(shownInAll(), "abcd");
}

TEST_F(ReportLineTest, HandOverShowsReportsThatArriveMeanwhile) {
  line.pass([this] {
    passBehind('b', 1);
    shown += 'a';
  });
  EXPECT_EQ(shownInAll(), "ab");
}

TEST_F(ReportLineTest, HandOverEndsAfterSomeReportsThoughMoreAreWaiting) {
  ReportLine brief(lock, 0, 2);
  std::array<std::future<void>, 3> passing;
  // Each report but the last returns when the next one is waiting.
  std::function<void(std::size_t)> passFrom = [&](std::size_t number) {
    passing.at(number) = std::async(std::launch::async, [&, number] {
      brief.pass([&, number] {
        if (number + 1 < passing.size()) {
          passFrom(number + 1);
          while (brief.waiting() == 0) {
            std::this_thread::yield();
          }
        }
        shown += static_cast<char>('a' + number);
      });
    });
  };
  passFrom(0);
  handOver();
  EXPECT_EQ(shown, "ab");
  handOver();
  for (auto& each : passing) {
    each.get();
  }
  EXPECT_EQ(shownInAll(), "abc");
}

TEST_F(ReportLineTest, HandOverOfSeveralReportsAwaitsTheNextOne) {
  ReportLine patient(lock, std::numeric_limits<int>::max(), 3);
  const auto passPatiently = [&](const ReportLine::Report& report) {
    workers.push_back(std::async(std::launch::async, [&patient, report] { patient.pass(report); }));
  };
  passPatiently([this] { shown += 'a'; });
  ports.mainThread.awaitQueued();
  passPatiently([&] {
    shown += 'b';
    passPatiently([this] { shown += 'c'; });
  });
  while (patient.waiting() != 2) {
    std::this_thread::yield();
  }
  handOver();
  EXPECT_EQ(shownInAll(), "abc");
}

TEST_F(ReportLineTest, HandOverOfOneReportEndsWithIt) {
  // This much patience would outlast the test.
  ReportLine patient(lock, std::numeric_limits<int>::max());
  patient.pass([this] { shown += 'a'; });
  EXPECT_EQ(shownInAll(), "a");
}

TEST_F(ReportLineTest, EachReturnsWhenItsOwnReportHasReturned) {
  pass('a');
  ports.mainThread.awaitQueued();
  passBehind('b', 2);
  std::promise<void> returned;
  // This report ends only after the previous one's thread has continued.
  auto last =
      std::async(std::launch::async, [&] { line.pass([&] { returned.get_future().wait(); }); });
  while (line.waiting() != 3) {
    std::this_thread::yield();
  }
  auto release = std::async(std::launch::async, [&] {
    workers.back().wait();
    returned.set_value();
  });
  handOver();
  last.get();
  release.get();
  EXPECT_EQ(shownInAll(), "ab");
}

TEST_F(ReportLineTest, AllReturnWithoutTheirReportsWhenTheProgramEnds) {
  pass('a');
  ports.mainThread.awaitQueued();
  passBehind('b', 2);
  passBehind('c', 3);
  ports.end();
  workers.clear();
  ports.mainThread.runPending();
  EXPECT_EQ(shown, "");
}

}  // namespace
}  // namespace fillstation::test
