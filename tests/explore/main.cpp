#include <unistd.h>

#include <QApplication>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>

#include "Explorer.h"
#include "OpenPanel.h"
#include "TempFolder.h"
#include "WindowStyle.h"

// explorer [--seed N] [--steps N] [--verbose]: one exploration. The exit status is 1 when a rule
// was broken; what is printed then shows it again. Verbose, each step is a line.

namespace {

using namespace fillstation;

struct Options {
  std::uint64_t seed = 1;
  std::uint64_t steps = 1000;
  bool isVerbose = false;
};

Options readArguments(int argc, char** argv) {
  Options options;
  for (int at = 1; at < argc; ++at) {
    const std::string word = argv[at];
    if (word == "--verbose") {
      options.isVerbose = true;
    } else if (word == "--seed" && at + 1 < argc) {
      options.seed = std::stoull(argv[++at]);
    } else if (word == "--steps" && at + 1 < argc) {
      options.steps = std::stoull(argv[++at]);
    } else {
      throw std::invalid_argument("unknown: " + word);
    }
  }
  return options;
}

int exploreAndPrint(const Options& options, std::FILE* out) {
  const auto begin = std::chrono::steady_clock::now();
  explore::Explorer explorer(options.seed);
  explorer.steps = options.isVerbose ? out : nullptr;
  const auto seen = explorer.explore(options.steps);
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
  std::fprintf(out,
               "seed %llu: %llu steps in %.1f s, %zu launches, %zu runs, %zu summaries, "
               "%zu players filled, %zu failed\n",
               static_cast<unsigned long long>(options.seed),
               static_cast<unsigned long long>(seen.steps), seconds.count(), seen.launches,
               seen.runs, seen.summaries, seen.filledPlayers, seen.failedPlayers);
  if (seen.broken) {
    std::fprintf(out, "BROKEN at %s\nAgain: tests/explore/explorer --seed %llu --steps %llu\n",
                 seen.broken->c_str(), static_cast<unsigned long long>(options.seed),
                 static_cast<unsigned long long>(seen.steps));
  }
  std::fflush(out);
  return seen.broken ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
  const test::TempFolder home;
  ::setenv("HOME", home.path().c_str(), 1);
  ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
  OpenPanel::keepSettingsAway();
  // The program's own lines would be millions. A sanitizer's report goes to the descriptor.
  std::FILE* const out = ::fdopen(::dup(STDOUT_FILENO), "w");
  std::FILE* const nowhere = std::fopen("/dev/null", "w");
  if (out == nullptr || nowhere == nullptr) {
    return 2;
  }
  stdout = nowhere;
  stderr = nowhere;
  QApplication application(argc, argv);
  QApplication::setStyle(new WindowStyle);
  QApplication::setQuitOnLastWindowClosed(false);
  try {
    return exploreAndPrint(readArguments(argc, argv), out);
  } catch (const std::exception& problem) {
    std::fprintf(out, "%s\n", problem.what());
    return 2;
  }
}
