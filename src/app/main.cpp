#include "AgentShell.h"
#include "AppRunner.h"
#include "JournalLog.h"
#include "LinuxSystem.h"
#include "SessionInstance.h"
#include "WindowSet.h"

namespace {

using namespace fillstation;

// Real players, and the journal to tell of them.
struct RealPlayers {
  RealPlayers(Platform& ports, StopSource& stop, QtMainThread& mainThread,
              const LinuxPlaces& places)
      : system({stop, mainThread, *ports.workers, log}, places) {
    system.installInto(ports);
  }

  JournalLog log;
  LinuxSystem system;
};

}  // namespace

int main(int argc, char** argv) {
  BackEnd backEnd;
  std::unique_ptr<SessionInstance> instance;
  backEnd.claim = [&instance] {
    instance = std::make_unique<SessionInstance>(&SessionInstance::connect);
    return instance->claim();
  };
  backEnd.shown = [&instance](WindowSet& windows) {
    instance->onRaise([&windows] { windows.window().comeToFront(); });
  };
  backEnd.install = [](Platform& ports, StopSource& stop, QtMainThread& mainThread) {
    LinuxPlaces places;
    places.agent = agentOf(thisProgram());
    return std::make_shared<RealPlayers>(ports, stop, mainThread, places);
  };
  return runApplication(argc, argv, backEnd);
}
