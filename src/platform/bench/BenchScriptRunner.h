#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <variant>

#include "BenchDisks.h"
#include "BenchPlayers.h"
#include "Scenario.h"
#include "ScriptRunner.h"

namespace fillstation {

// Numbers of the bench's own refusals; an exit status is 0 to 255.
inline constexpr std::int64_t kWrongCredentialsNumber = -1002;
inline constexpr std::int64_t kNotAPlayerCommandNumber = -1003;
inline constexpr std::int64_t kNotThePlayerNumber = -1004;
inline constexpr std::int64_t kNotStartedNumber = -1005;

// Runs the two commands on the image of a bench player, by the system's real tools in a real shell.
// Any thread, several at once; players and disks outlive it.
class BenchScriptRunner : public ScriptRunner {
 public:
  BenchScriptRunner(BenchPlayers& players, BenchDisks& disks, BenchCredentials credentials);

  ScriptOutcome run(std::string_view source, const DiskIdentity& target) override;

 private:
  BenchPlayers& players_;
  BenchDisks& disks_;
  const BenchCredentials credentials_;
};

}  // namespace fillstation
