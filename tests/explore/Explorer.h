#pragma once

#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "Launch.h"
#include "Rules.h"
#include "WindowSet.h"

class QAbstractButton;

namespace fillstation::explore {

// The figures of a whole exploration. A plain value.
struct Explored {
  std::uint64_t steps = 0;
  std::size_t launches = 0;
  std::size_t runs = 0;
  std::size_t summaries = 0;
  std::size_t failedPlayers = 0;
  std::size_t filledPlayers = 0;
  std::optional<std::string> broken;  // the broken rule, and the step before
};

// Random steps at the real window over a machine in memory; the rules are checked after each step.
// The machine is not the bench: there a run takes half a second of real commands, and a hundred
// thousand steps contain some thousand runs. Here a medium is a table of its contents, and every
// change is checked by the medium's identity, not by its bytes. The bench, with its bytes, has some
// hundred random steps as well (tests/faults). Nothing depends on time, and hardly anything on the
// order of threads, so a seed gives nearly the same exploration. Main thread.
class Explorer {
 public:
  explicit Explorer(std::uint64_t seed);
  ~Explorer();
  Explorer(const Explorer&) = delete;
  Explorer& operator=(const Explorer&) = delete;

  // Where each step is a line; null for nowhere.
  std::FILE* steps = nullptr;

  Explored explore(std::uint64_t count);

 private:
  struct Choice {
    const char* name;
    int weight;
    void (*act)(Explorer&);
  };
  static const std::vector<Choice> kChoices;

  void launch();
  void hookLaunch();
  void endLaunch();
  void step();
  // A step inside something that the main thread waits in.
  void stepInPause();
  void stepsUnderAlert();
  void expectAlert();
  bool goesOn() const;

  // The steps that are more than a line.
  void plug();
  void tellAgain();
  void trouble();
  void tick();
  void browse();
  void selectRow();
  void contextMenu();
  void chooseType();
  void cancel();
  void turns();
  void result();
  void dismiss();

  void ok(const std::string& userName, const std::string& password);
  void click(QAbstractButton* button);
  void rightClick(int row);
  void choose(std::size_t row, bool isInside);

  // The rules against the window.
  void check();
  void checkPlayers();
  void checkFiles();
  void checkLabels();
  void checkControls();
  void checkRun();
  void checkLog();
  void expect(bool holds, const std::string& rule);

  std::size_t pick(std::size_t count) { return static_cast<std::size_t>(random_() % count); }
  bool oneOf(std::size_t count) { return pick(count) == 0; }
  std::shared_ptr<Device> anyDevice();

  std::mt19937_64 random_;
  std::vector<std::shared_ptr<Medium>> media_;
  Machine machine_;
  Rules rules_;
  std::unique_ptr<Launch> launch_;
  std::unique_ptr<WindowSet> windows_;
  std::string chosen_;  // in the open panel; empty: cancelled
  std::map<std::string, std::size_t> logged_;
  int lowestBar_ = 0;
  int endings_ = 0;
  bool isClosed_ = false;
  bool isDismissed_ = false;
  bool isJustDismissed_ = false;
  bool isLaunching_ = false;
  int depth_ = 0;
  std::uint64_t stepsToGo_ = 0;
  std::string lastStep_;
  Explored explored_;
};

}  // namespace fillstation::explore
