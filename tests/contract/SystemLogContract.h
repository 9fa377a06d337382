#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "SystemLog.h"

namespace fillstation::test {

// A log whose records can be read. Each back end has its own, and instantiates the suite below with
// it.
class SystemLogBackEnd {
 public:
  virtual ~SystemLogBackEnd() = default;

  virtual SystemLog& log() = 0;
  // All records so far, in their stored form; and these texts in that form.
  virtual std::string recorded() = 0;
  virtual std::string formOf(const std::vector<std::string>& texts) = 0;
  // Removes the reader of the records.
  virtual void lose() = 0;
};

struct SystemLogBackEndMaker {
  std::string name;
  std::unique_ptr<SystemLogBackEnd> (*make)();

  friend void PrintTo(const SystemLogBackEndMaker& maker, std::ostream* out) { *out << maker.name; }
};

class SystemLogContract : public testing::TestWithParam<SystemLogBackEndMaker> {
 protected:
  std::unique_ptr<SystemLogBackEnd> backEnd_ = GetParam().make();
};

TEST_P(SystemLogContract, TextsAreRecordedOnceExactlyAndInTheirOrder) {
  const std::vector<std::string> texts{"newfs_msdos failed",
                                       "\nDevice mounted\n",
                                       "  two\n\nlines ",
                                       "\n",
                                       "",
                                       std::string("a\0b", 3),
                                       "\xff\xfe",
                                       "\x1b[1m%s",
                                       std::string(20000, 'x') + "end"};
  for (const auto& text : texts) {
    backEnd_->log().write(text);
  }
  EXPECT_EQ(backEnd_->recorded(), backEnd_->formOf(texts));
}

TEST_P(SystemLogContract, TextsOfSeveralThreadsStayWhole) {
  std::vector<std::thread> threads;
  for (int count = 0; count < 4; ++count) {
    threads.emplace_back([this] { backEnd_->log().write("one of four"); });
  }
  for (auto& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(backEnd_->recorded(), backEnd_->formOf(std::vector<std::string>(4, "one of four")));
}

TEST_P(SystemLogContract, ALogWithoutAReaderIsHarmless) {
  backEnd_->lose();
  backEnd_->log().write("lost");
  backEnd_->log().write("as well");
}

}  // namespace fillstation::test
