#pragma once

#include <QElapsedTimer>
#include <QString>
#include <QStringList>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "Operator.h"
#include "PlayerCheck.h"
#include "Scenario.h"

namespace fillstation::demo {

// The terminal of the person who watches. The program under the demonstration writes to the
// standard streams as it always does; useConsole() sends those to "stdout.log" and "stderr.log" in
// a folder, so that its lines and the demonstration's table don't mix.
std::FILE* console();
void useConsole(const QString& logFolder);

// One performance at the window with the players of a scenario, and what came of it.
struct ActPlan {
  QString title;
  QString benchFolder;
  QString audioFolder;
  Scenario scenario;
  QStringList failing;    // names of the players that are expected to fail
  bool ejectTwo = false;  // afterwards, the first two
};

// Plugs the players in one after the other, adds the audio, prepares all players, reads every image
// back, prints a table of it, pulls the players out again. Main thread.
class Act {
 public:
  Act(ActPlan plan, WindowSet& windows, Operator& person);

  // True when everything was as planned. The window is left without players, the file list as it
  // is.
  bool perform();

 private:
  struct Row {
    std::string name;
    QString node;
    bool named = false;  // in the summary
    PlayerCheck check;
  };

  void step(const QString& what, const std::function<void()>& action);
  void plugIn();
  QString lastListedNode() const;
  void prepare();
  void readBack();
  void ejectFirstTwo();
  void pullOut();
  void printRow(const Row& row) const;
  bool asPlanned(const Row& row) const;
  QString expectedSummary() const;
  bool expectedToFail(const std::string& name) const;
  bool printResult() const;

  ActPlan plan_;
  WindowSet& windows_;
  Operator& person_;
  std::vector<Row> rows_;
  QString summary_;
  bool ejected_ = true;
};

}  // namespace fillstation::demo
