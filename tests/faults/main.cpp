#include <unistd.h>

#include <QApplication>
#include <cstdio>
#include <cstdlib>
#include <exception>

#include "FaultOutcome.h"
#include "TempFolder.h"
#include "WrongDisk.h"

// Performs every case on the bench and prints what was seen, as tables for docs/reliability.md. The
// exit status is 1 when something was seen that must not be.

namespace {

using namespace fillstation;

bool printFaults(std::FILE* out) {
  bool sound = true;
  std::fputs(faults::faultHead().c_str(), out);
  for (const auto& planned : faults::faultCases()) {
    const auto seen = faults::perform(planned);
    std::fprintf(out, "%s\n", faults::rowOf(planned, seen).c_str());
    std::fflush(out);
    for (const auto& problem : seen.problems) {
      std::fprintf(stderr, "%s: %s\n", planned.name.c_str(), problem.c_str());
    }
    sound = sound && seen.problems.empty();
  }
  return sound;
}

bool printWrongDisks(std::FILE* out) {
  bool sound = true;
  std::fprintf(out, "\n%s", faults::wrongDiskHead().c_str());
  for (const auto& planned : faults::wrongDiskCases()) {
    std::vector<faults::WrongDiskOutcome> seen;
    for (const auto& disk : faults::kForeignDisks) {
      seen.push_back(faults::perform(planned, disk));
      for (const auto& problem : seen.back().problems) {
        std::fprintf(stderr, "%s, %s: %s\n", planned.moment.c_str(), disk.name, problem.c_str());
      }
      sound = sound && seen.back().problems.empty();
    }
    std::fprintf(out, "%s\n", faults::rowOf(planned, seen).c_str());
    std::fflush(out);
  }
  return sound;
}

}  // namespace

int main(int argc, char** argv) {
  const test::TempFolder home;
  ::setenv("HOME", home.path().c_str(), 1);
  ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
  // The program's own lines go where its standard output goes; ours stay apart.
  std::FILE* const out = ::fdopen(::dup(STDOUT_FILENO), "w");
  QApplication application(argc, argv);
  QApplication::setQuitOnLastWindowClosed(false);
  try {
    const bool isSound = printFaults(out);
    return printWrongDisks(out) && isSound ? 0 : 1;
  } catch (const std::exception& problem) {
    std::fprintf(stderr, "%s\n", problem.what());
    return 2;
  }
}
