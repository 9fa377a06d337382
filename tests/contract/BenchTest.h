#pragma once

#include <gtest/gtest.h>

#include <filesystem>

#include "BenchBackEnd.h"
#include "BenchFolder.h"
#include "ContractTest.h"

namespace fillstation::contract {

// What is the bench's own: faults, files, threads.
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
