#pragma once

#include <gtest/gtest.h>

#include <filesystem>

#include "BenchBackEnd.h"
#include "BenchFolder.h"
#include "ContractTest.h"

namespace fillstation::contract {

// What is the bench's own: faults, files, threads.
class BenchTest : public ContractTest {
 protected:
  void SetUp() override {
    ContractTest::SetUp();
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
    root = *mountPath(identity);
    volume = bench->fileManager().openVolume(root, identity);
    ASSERT_NE(volume, nullptr);
  }

  bool copy(const std::string& content, const std::string& name) {
    return volume->copyItem(sources.write("source", content), root + "/" + name);
  }

  bool isPulled() const {
    return !std::filesystem::exists(pluggedImage(bench->folder.path(), "a")) &&
           std::filesystem::exists(pulledImage(bench->folder.path(), "a"));
  }

  test::TempFolder sources;
  BenchBackEnd* bench = nullptr;
  BenchPlayerPlan plan;
  DiskIdentity identity;
  std::string root;
  std::shared_ptr<Volume> volume;
};

}  // namespace fillstation::contract
