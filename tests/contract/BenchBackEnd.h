#pragma once

#include <filesystem>

#include "Bench.h"
#include "BenchFolder.h"
#include "ContractTest.h"
#include "QtMainThread.h"
#include "TempFolder.h"
#include "TestPlatform.h"
#include "ThreadWorkers.h"

namespace fillstation::contract {

// The virtual bench in a temporary folder.
class BenchBackEnd : public BackEnd {
 public:
  BenchBackEnd() { bench.installInto(ports); }
  ~BenchBackEnd() override;

  UsbBus& usbBus() override { return *ports.usbBus; }
  std::shared_ptr<DiskSession> createDiskSession() override { return ports.createDiskSession(); }
  ScriptRunner& scriptRunner() override { return *ports.scriptRunner; }
  FileManager& fileManager() override { return *ports.fileManager; }
  std::string userName() override { return "bench"; }
  std::string password() override { return "bench"; }
  void make(const std::string& name, const PlayerWish& wish) override;
  void plug(const std::string& name) override;
  void unplug(const std::string& name) override;
  std::vector<OnMedium> content(const std::string& name) override;
  bool isSound(const std::string& name) override;
  std::string head(const std::string& name, std::size_t bytes) override;
  void writeHead(const std::string& name, const std::string& bytes) override;
  std::int64_t mediumSize(const std::string& name) override;
  bool await(const std::function<bool()>& condition) override;
  void settle() override;

  // Makes a player with everything that the bench can do.
  void make(const BenchPlayerPlan& plan);
  // Where the player's image is now.
  std::string image(const std::string& name) const;

  // Removed last: the workers write there.
  test::TempFolder folder;
  StopSource stop;
  QtMainThread mainThread{stop};
  Clock& clock = mainThread;
  test::TestLog log;
  ThreadWorkers workers{stop};
  Bench bench{folder.path(), BenchServices{stop, mainThread, clock, workers, log}};
  Platform ports;
};

// For the suites' instances.
inline const BackEndKind kBench{"Bench", [] { return std::unique_ptr<BackEnd>(new BenchBackEnd); }};

// Tests of the bench itself: faults, files, threads.
class BenchTest : public VolumeTest {
 protected:
  void SetUp() override {
    VolumeTest::SetUp();
    bench = static_cast<BenchBackEnd*>(backEnd.get());
    plan.name = "a";
    plan.label = "BOOKS";
  }

  // Makes and plugs in the player `a` as this test describes it.
  void plugPlan() {
    watchBus();
    bench->make(plan);
    identity = plugInAgain("a");
  }
  void plugPlanMounted() {
    plugPlan();
    ASSERT_TRUE(bench->await([&] { return mountPath(identity).has_value(); }));
    openVolume();
  }

  bool isPulled() const {
    return !std::filesystem::exists(pluggedImage(bench->folder.path(), "a")) &&
           std::filesystem::exists(pulledImage(bench->folder.path(), "a"));
  }

  BenchBackEnd* bench = nullptr;
  BenchPlayerPlan plan;
};

}  // namespace fillstation::contract
