#include "Atomic.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace fillstation::test {
namespace {

TEST(Atomic, HoldsWhatItWasGivenLast) {
  Atomic<std::string> property("first");
  EXPECT_EQ(property.get(), "first");
  property.set("second");
  EXPECT_EQ(property.get(), "second");
}

TEST(Atomic, BeginsWithTheEmptyValue) {
  EXPECT_EQ(Atomic<int>().get(), 0);
  EXPECT_EQ(Atomic<std::shared_ptr<int>>().get(), nullptr);
}

TEST(Atomic, AccessesOfSeveralThreadsAreIndivisible) {
  const std::string first(100, 'a');
  const std::string second(50, 'b');
  Atomic<std::string> property(first);
  std::atomic<bool> whole = true;
  std::vector<std::thread> threads;
  for (const std::string& text : {first, second}) {
    threads.emplace_back([&property, text] {
      for (int round = 0; round < 5000; ++round) {
        property.set(text);
      }
    });
    threads.emplace_back([&] {
      for (int round = 0; round < 5000; ++round) {
        const std::string seen = property.get();
        if (seen != first && seen != second) {
          whole = false;
        }
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_TRUE(whole);
}

// Looks at the property that held it while it goes.
struct Looker {
  explicit Looker(Atomic<std::shared_ptr<Looker>>& held, bool& seenEmpty)
      : property(held), sawNothing(seenEmpty) {}
  ~Looker() { sawNothing = property.get() == nullptr; }
  Looker(const Looker&) = delete;
  Looker& operator=(const Looker&) = delete;

  Atomic<std::shared_ptr<Looker>>& property;
  bool& sawNothing;
};

TEST(Atomic, ReplacedValueGoesAfterTheLockIsFree) {
  bool sawNothing = false;
  Atomic<std::shared_ptr<Looker>> property;
  property.set(std::make_shared<Looker>(property, sawNothing));
  property.set(nullptr);
  EXPECT_TRUE(sawNothing);
}

}  // namespace
}  // namespace fillstation::test
