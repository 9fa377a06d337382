#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "Machine.h"
#include "TestFileManager.h"

namespace fillstation::explore {

// One chosen root as the rules see it. A plain value.
struct Root {
  std::string path;
  std::int64_t size = 0;
  bool isFolder = true;
  std::map<std::string, std::string> content;  // below the root: path and source, "" for a folder
};

// Everything that can be chosen; puts the audio of the machine there.
const std::vector<std::string>& audioChoices();
void addAudio(test::TestFileManager& files);

// The rules of the window, as a model of one page. The window must agree with it after every step
// of the explorer.
//
//  event                      | when            | effect
//  ---------------------------+-----------------+------------------------------------------------
//  a player is plugged in     | always          | listed last, not ticked; labels. Only devices
//                             |                 | with a player's name and an ACTIONS disk count.
//                             |                 | A listed node keeps its player.
//  a player is pulled out     | always          | its node isn't listed any more; labels
//  All, None, a tick          | idle            | the ticks; labels
//  Eject                      | idle            | the ticked players aren't listed any more, though
//                             |                 | plugged in; labels
//  Browse                     | idle            | a root is added, unless its path was added before
//                             |                 | in this launch or its type is another; labels,
//                             |                 | even if nothing was chosen
//  Remove (row, selected, all)| idle            | the roots are removed; labels
//  Start                      | idle            | asking
//  Cancel                     | asking          | idle
//  OK, a field empty          | asking          | refused; the bar is at 0
//  OK                         | asking          | running: the ticked players, the listed roots and
//                             |                 | the fields as they are now; the bar is at 0
//  a worker's turn            | running         | the bar never goes back
//  all workers have ended     | running         | reporting: one summary that names, in list order,
//                             |                 | those that are not complete; the bar shows their
//                             |                 | average; no labels
//  OK on the alert            | refused or      | idle
//                             | reporting       |
//  the window is closed       | always          | the program ends, nothing begins any more
//
//  The working controls and ticks are on while idle and off otherwise; file type and link are
//  always on. The busy indicator turns while running. The panel is open while asking. An alert is
//  open while refused or reporting; no event of the bus is handled then. "Labels" computes both
//  again from the ticked players and the sum of the roots, and leaves one line in the log; nothing
//  else changes them. Media change only by a run that they are in, and never when mounted, ejected
//  or of another vendor.
class Rules {
 public:
  enum class State { kIdle, kAsking, kRefused, kRunning, kReporting };

  struct Player {
    std::shared_ptr<Device> device;
    std::int64_t size = 0;
    bool ticked = false;
    bool wasInRun = false;  // its name was read again
  };

  // The events; see the table.
  void told(const std::shared_ptr<Device>& device, bool inserted);
  void tick(std::size_t row);
  void tickAll(bool ticked);
  void eject();
  void browse(const std::string& path);  // empty: nothing chosen
  void remove(const std::set<std::size_t>& rows);
  void start();
  void cancel();
  void ok(const std::string& userName, const std::string& password);
  void report(Machine& machine);
  void dismiss();
  void relaunch();

  bool isIdle() const { return state == State::kIdle; }
  bool hasAlert() const { return state == State::kRefused || state == State::kReporting; }
  std::int64_t totalSize() const;
  // The contents of a complete player of this run; false if none can be complete.
  bool contentOfRun(std::map<std::string, std::string>& content) const;

  State state = State::kIdle;
  std::vector<Player> players;
  std::vector<Root> roots;
  std::string fileType = "mp3";
  // Of the run in progress, or the last: its players and roots.
  std::vector<std::shared_ptr<Device>> inRun;
  std::vector<Root> rootsOfRun;
  std::string alertText;
  int bar = 0;
  std::size_t refreshes = 0;  // of the labels
  std::size_t records = 0;    // of the bus
  std::size_t runs = 0;
  std::size_t summaries = 0;
  std::size_t cancels = 0;

 private:
  std::set<std::string> everAdded_;
};

}  // namespace fillstation::explore
