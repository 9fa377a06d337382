#pragma once

#include <gtest/gtest.h>

#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "LinuxRig.h"
#include "MainLoop.h"

namespace fillstation::test {

// Requests to a disk session over the stand-in of UDisks2.
class UDisksTest : public ::testing::Test {
 protected:
  using Members = std::vector<std::string>;
  using Request = void (DiskSession::*)(std::shared_ptr<Disk>, const DiskIdentity&,
                                        DiskSession::Completion);

  struct Outcome {
    bool completed = false;
    std::string refused;  // the dissenter's reason
  };

  static constexpr const char* kNotThere = "org.freedesktop.DBus.Error.UnknownMethod";
  static constexpr const char* kBusy = "org.freedesktop.UDisks2.Error.DeviceBusy";

  static UDisksAnswer error(const std::string& name) { return {name, "So it is.", {}, false}; }
  static UDisksAnswer silence() { return {"", "", {}, true}; }

  // Sends a request; the outcome fills when it has completed.
  std::shared_ptr<Outcome> send(Request request, const DiskIdentity& identity) {
    auto outcome = std::make_shared<Outcome>();
    const auto session = rig.createSession();
    ((*session).*request)(session->diskFromName(identity.node), identity,
                          [outcome](const auto&, const Dissenter* dissenter) {
                            outcome->completed = true;
                            outcome->refused = dissenter != nullptr ? dissenter->reason : "";
                          });
    return outcome;
  }

  // Sends it and waits; the reason of the refusal, empty when it was done.
  std::string ask(Request request, const DiskIdentity& identity) {
    const auto outcome = send(request, identity);
    runLoopUntil([&] { return outcome->completed; });
    return outcome->refused;
  }

  // The answers to come, one by one, and then obedience.
  void answer(std::deque<UDisksAnswer> answers) {
    answers_ = std::move(answers);
    rig.udisks.handler = [this](const UDisksCall& call) {
      if (answers_.empty()) {
        return rig.obey(call);
      }
      const UDisksAnswer next = answers_.front();
      answers_.pop_front();
      return next;
    };
  }

  MockPlayer& player() { return rig.machine.player("a"); }

  LinuxRig rig;

 private:
  std::deque<UDisksAnswer> answers_;
};

}  // namespace fillstation::test
