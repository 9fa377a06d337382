#include "BenchBackEnd.h"

#include <fcntl.h>
#include <unistd.h>

#include <QTest>
#include <cstdio>

#include "DiskSessionContract.h"
#include "FileHandle.h"
#include "MediumContract.h"
#include "ScriptRunnerContract.h"
#include "StreamLog.h"
#include "SystemLogContract.h"
#include "UsbBusContract.h"
#include "Utf8.h"

namespace fillstation::contract {

BenchBackEnd::~BenchBackEnd() {
  stop.request();
  workers.joinAll();
}

void BenchBackEnd::make(const std::string& name, const PlayerWish& wish) {
  BenchPlayerPlan plan;
  plan.name = name;
  plan.sizeMiB = wish.sizeMiB;
  // mkfs.fat takes text only.
  const std::string label = withoutBadUtf8(wish.label.value_or(""));
  plan.label = label;
  plan.blank = wish.blank;
  plan.identity.product = wish.product.value_or("");
  plan.identity.manufacturer = wish.manufacturer;
  plan.identity.serial = wish.serial;
  plan.identity.release = wish.release;
  plan.identity.vendor = wish.vendor;
  plan.identity.disk = wish.disk;
  make(plan);
  if (wish.label && *wish.label != label) {
    std::string bytes = head(name, 2 << 20);
    for (auto at = bytes.find(label); at != std::string::npos; at = bytes.find(label, at)) {
      bytes.replace(at, label.size(), *wish.label);
    }
    writeHead(name, bytes);
  }
}

void BenchBackEnd::make(const BenchPlayerPlan& plan) {
  ASSERT_EQ(createPlayer(folder.path(), plan), std::nullopt);
}

void BenchBackEnd::plug(const std::string& name) { ASSERT_TRUE(plugPlayer(folder.path(), name)); }

void BenchBackEnd::unplug(const std::string& name) {
  ASSERT_TRUE(unplugPlayer(folder.path(), name));
}

std::string BenchBackEnd::image(const std::string& name) const {
  const std::string plugged = pluggedImage(folder.path(), name);
  return std::filesystem::exists(plugged) ? plugged : pulledImage(folder.path(), name);
}

std::vector<OnMedium> BenchBackEnd::content(const std::string& name) {
  const FileHandle file(::open(image(name).c_str(), O_RDONLY | O_CLOEXEC));
  return contentOfImage(file.get());
}

bool BenchBackEnd::isSound(const std::string& name) {
  const FileHandle file(::open(image(name).c_str(), O_RDONLY | O_CLOEXEC));
  const auto said = runOnImage(std::string("fsck.fat -n ") + kHandedImage, file.get());
  EXPECT_EQ(said.exitStatus, 0) << said.out;
  return said.exitStatus == 0;
}

std::string BenchBackEnd::head(const std::string& name, std::size_t bytes) {
  const FileHandle file(::open(image(name).c_str(), O_RDONLY | O_CLOEXEC));
  std::string head(bytes, '?');
  EXPECT_EQ(::pread(file.get(), head.data(), bytes, 0), static_cast<ssize_t>(bytes));
  return head;
}

void BenchBackEnd::writeHead(const std::string& name, const std::string& bytes) {
  const FileHandle file(::open(image(name).c_str(), O_WRONLY | O_CLOEXEC));
  EXPECT_EQ(::pwrite(file.get(), bytes.data(), bytes.size(), 0),
            static_cast<ssize_t>(bytes.size()));
}

std::int64_t BenchBackEnd::mediumSize(const std::string& name) {
  return static_cast<std::int64_t>(std::filesystem::file_size(image(name)));
}

bool BenchBackEnd::await(const std::function<bool()>& condition) {
  return QTest::qWaitFor([&] { return condition(); }, 60'000);
}

void BenchBackEnd::settle() {
  // An event may cause another one; this is posted after all pending ones.
  for (int pass = 0; pass < 3; ++pass) {
    bool passed = false;
    mainThread.post([&passed] { passed = true; });
    await([&passed] { return passed; });
  }
}

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
