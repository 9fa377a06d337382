// perf_commands WHAT USER PASSWORD DISK…: wipes and then formats each disk as root, all disks at
// the same time, as a run does. A DISK is its node, the numbers of its bus and USB device, and its
// sequence number, with colons between them. WHAT is `guarded`, or `bare` for a command that does
// nothing. Prints the seconds; fails if a command does.

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "AgentShell.h"
#include "PolkitScriptRunner.h"

namespace {

using namespace fillstation;
using Kind = PlayerCommand::Kind;

std::string commandFor(const std::string& disk, Kind kind) {
  std::istringstream text(disk);
  DiskIdentity player;
  std::uint32_t bus = 0;
  std::uint32_t device = 0;
  std::uint64_t sequence = 0;
  char colon = 0;
  std::getline(text, player.node, ':');
  text >> bus >> colon >> device >> colon >> sequence;
  player.usbHandle = bus << 16U | device;
  return guardedCommand(kind, player, sequence);
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  if (arguments.size() < 4) {
    std::fputs("perf_commands guarded|bare USER PASSWORD DISK…\n", stderr);
    return 2;
  }
  AgentShell shell(agentOf(thisProgram()), [] { return false; });
  const auto begin = std::chrono::steady_clock::now();
  std::vector<std::jthread> players;
  for (std::size_t disk = 3; disk < arguments.size(); ++disk) {
    players.emplace_back([&, disk] {
      for (const auto kind : {Kind::wipe, Kind::format}) {
        const auto reply =
            shell.run(arguments[1], arguments[2],
                      arguments[0] == "bare" ? "exit 0" : commandFor(arguments[disk], kind));
        if (reply.kind != AgentReply::Kind::ended || reply.exitStatus != 0) {
          std::fprintf(stderr, "%s: %s\n", arguments[disk].c_str(), reply.err.c_str());
          std::_Exit(1);
        }
      }
    });
  }
  players.clear();
  const auto end = std::chrono::steady_clock::now();
  std::printf("%.3f\n", std::chrono::duration<double>(end - begin).count());
}
