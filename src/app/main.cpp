#include <QCoreApplication>
#include <cstdio>
#include <string_view>

#include "AgentShell.h"
#include "AppRunner.h"
#include "JournalLog.h"
#include "LinuxSystem.h"
#include "SessionInstance.h"
#include "WindowSet.h"

namespace {

using namespace fillstation;

// The back end for real players, with the journal as its log.
struct RealPlayers {
  RealPlayers(Platform& ports, StopSource& stop, QtMainThread& mainThread,
              const LinuxPlaces& places)
      : system({stop, mainThread, *ports.workers, log}, places) {
    system.installInto(ports);
  }

  JournalLog log;
  LinuxSystem system;
};

constexpr auto kVersion = "fillstation " FILLSTATION_VERSION "\n";
constexpr auto kHelp =
    "Usage: fillstation [QT-OPTION]...\n"
    "\n"
    "Opens a window with the audio players that are plugged in, and fills the ticked ones.\n"
    "Options of every Qt program, for example -platform, are accepted.\n"
    "\n"
    "  --version  print the version\n"
    "  --help     print this text\n"
    "\n"
    "F1 in the window opens the handbook. See also: man fillstation\n";
constexpr int kBadUsage = 2;

// The answer to an option that needs no window, and so no display; null for other words.
const char* answerTo(std::string_view word) {
  return word == "--version" || word == "-v" ? kVersion
         : word == "--help" || word == "-h"  ? kHelp
                                             : nullptr;
}

// Reports the first unknown word on standard error, if there is one. Qt has removed its own
// options.
bool hasOneTooMany(const QStringList& words) {
  if (words.size() < 2) {
    return false;
  }
  std::fprintf(stderr, "fillstation: '%s' is not an option. Try 'fillstation --help'.\n",
               qUtf8Printable(words.at(1)));
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  for (int at = 1; at < argc; ++at) {
    if (const char* const answer = answerTo(argv[at])) {
      std::fputs(answer, stdout);
      return 0;
    }
  }
  BackEnd backEnd;
  bool isRefused = false;
  std::unique_ptr<SessionInstance> instance;
  backEnd.claim = [&] {
    isRefused = hasOneTooMany(QCoreApplication::arguments());
    if (isRefused) {
      return false;
    }
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
  const int status = runApplication(argc, argv, backEnd);
  return isRefused ? kBadUsage : status;
}
