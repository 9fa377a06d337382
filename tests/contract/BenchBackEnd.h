#pragma once

#include "BackEnd.h"
#include "Bench.h"
#include "QtMainThread.h"
#include "TempFolder.h"
#include "TestPlatform.h"
#include "ThreadWorkers.h"

namespace fillstation::contract {

// The virtual bench in a folder of its own.
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
  QtClock clock{stop};
  test::TestLog log;
  ThreadWorkers workers{stop};
  Bench bench{folder.path(), BenchServices{stop, mainThread, clock, workers, log}};
  Platform ports;
};

// For the suites' instances.
inline const BackEndKind kBench{"Bench", [] { return std::unique_ptr<BackEnd>(new BenchBackEnd); }};

}  // namespace fillstation::contract
