#include <cstdio>

#include "BenchBackEnd.h"
#include "DiskSessionContract.h"
#include "MediumContract.h"
#include "ScriptRunnerContract.h"
#include "StreamLog.h"
#include "SystemLogContract.h"
#include "TempFolder.h"
#include "UsbBusContract.h"

namespace fillstation::contract {

INSTANTIATE_TEST_SUITE_P(Bench, UsbBusContract, ::testing::Values(kBench), nameOfKind);
INSTANTIATE_TEST_SUITE_P(Bench, DiskSessionContract, ::testing::Values(kBench), nameOfKind);
INSTANTIATE_TEST_SUITE_P(Bench, ScriptRunnerContract, ::testing::Values(kBench), nameOfKind);
INSTANTIATE_TEST_SUITE_P(Bench, MediumContract, ::testing::Values(kBench), nameOfKind);

}  // namespace fillstation::contract

namespace fillstation::test {
namespace {

// The log of a program on the bench: a standard stream, here a file.
class StreamBackEnd : public SystemLogBackEnd {
 public:
  ~StreamBackEnd() override { std::fclose(stream_); }

  SystemLog& log() override { return log_; }
  std::string recorded() override { return contentOf(folder_.path("stream")); }
  std::string formOf(const std::vector<std::string>& texts) override {
    std::string all;
    for (const auto& text : texts) {
      all += text + "\n";
    }
    return all;
  }
  void lose() override { stream_ = std::freopen("/dev/full", "w", stream_); }

 private:
  TempFolder folder_;
  std::FILE* stream_ = std::fopen(folder_.path("stream").c_str(), "w");
  StreamLog log_{stream_};
};

std::unique_ptr<SystemLogBackEnd> makeStream() { return std::make_unique<StreamBackEnd>(); }

INSTANTIATE_TEST_SUITE_P(Bench, SystemLogContract,
                         testing::Values(SystemLogBackEndMaker{"stream", &makeStream}));

}  // namespace
}  // namespace fillstation::test
