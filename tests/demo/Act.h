#pragma once

#include <QString>
#include <QStringList>
#include <cstdio>
#include <stdexcept>

#include "Scenario.h"
#include "WindowSet.h"

namespace fillstation::demo {

// The terminal of the watching person. The demonstrated program writes to the standard streams as
// usual. useConsole() sends these to "stdout.log" and "stderr.log" in a folder, so that its lines
// don't mix with the demonstration's table.
std::FILE* console();
void useConsole(const QString& logFolder);

// Thrown when the window doesn't do what a person waits for within two minutes.
struct NotSeen : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// One performance at the window with the players of a scenario, and its result.
struct ActPlan {
  QString title;
  QString benchFolder;
  QString audioFolder;
  QString pictureFolder;
  Scenario scenario;
  QStringList failing;    // names of the players that are expected to fail
  bool ejectTwo = false;  // afterwards, the first two
  bool visible = false;   // slow enough to be watched
};

// Plugs the players in one after the other, adds the audio, prepares all players, reads every image
// back, prints a table of it, pulls the players out again. True when everything was as planned. The
// window is left without players, the file list as it is. Main thread.
bool perform(ActPlan plan, WindowSet& windows);

}  // namespace fillstation::demo
