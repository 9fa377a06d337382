#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "AgentShell.h"
#include "PolkitScriptRunner.h"
#include "TestPlatform.h"

using namespace fillstation;

namespace {

// A call with this name contains a whole script for the port; its outcome becomes a reply.
constexpr const char* kScript = "script";

AgentReply replyOf(const ScriptOutcome& outcome) {
  if (outcome.result) {
    return {AgentReply::Kind::ended, 0, *outcome.result, {}};
  }
  return {AgentReply::Kind::unavailable,
          static_cast<int>(outcome.errorNumber.value_or(0)),
          {},
          outcome.errorMessage.value_or("")};
}

AgentReply runScript(const std::string& agent, const std::string& source) {
  PolkitScriptRunner runner(
      agent, [](const DiskIdentity&) { return 3; }, [](const DiskIdentity&) {});
  return replyOf(runner.run(source, {"/dev/null", 65538}));
}

std::string next() { return receiveText(STDIN_FILENO).value_or(std::string()); }

}  // namespace

// In the window's place: makes the calls that come over its standard input, all at once, and
// answers with their replies in order. The end of its input means that the program is ending.
int main(int, char** argv) {
  std::atomic<bool> stopping = false;
  test::TestWorkers workers;
  platform().workers = &workers;
  AgentShell shell(argv[1], [&] { return stopping.load(); });
  const std::size_t count = std::stoul(next());
  std::vector<AgentReply> replies(count);
  std::vector<std::thread> threads;
  for (std::size_t call = 0; call < count; ++call) {
    threads.emplace_back([&shell, &reply = replies[call], user = next(), password = next(),
                          command = next(), agent = argv[1]] {
      reply = user == kScript ? runScript(agent, command) : shell.run(user, password, command);
    });
  }
  std::thread watch([&] {
    char none = 0;
    ::recv(STDIN_FILENO, &none, 1, 0);
    stopping = true;
  });
  for (auto& thread : threads) {
    thread.join();
  }
  for (const auto& reply : replies) {
    sendReply(STDIN_FILENO, reply);
  }
  watch.join();
}
