#include "Rules.h"

#include <algorithm>
#include <numeric>

namespace fillstation::explore {

namespace {

// A device is looked for a hundred times.
constexpr std::size_t kSearches = 100;

bool isNamedAsPlayer(const Device& device) {
  return device.product == "HS USB FlashDisk" || device.product == "IOUSBDevice";
}

bool isPlayer(const Device& device) {
  const auto& look = device.firstLook;
  return isNamedAsPlayer(device) && device.searchesInVain < kSearches && look &&
         look->deviceVendor == "ACTIONS";
}

}  // namespace

void Rules::told(const std::shared_ptr<Device>& device, bool inserted) {
  const auto hasNode = [&](const Player& player) { return player.device->node == device->node; };
  if (inserted && !isPlayer(*device)) {
    return;
  }
  if (!inserted && !isNamedAsPlayer(*device)) {
    return;
  }
  ++records;
  ++refreshes;
  if (!inserted) {
    std::erase_if(players, hasNode);
  } else if (std::none_of(players.begin(), players.end(), hasNode)) {
    players.push_back({device, "", device->medium->size, false, false});
  }
}

void Rules::tick(std::size_t row) {
  if (isIdle()) {
    players.at(row).ticked = !players.at(row).ticked;
    ++refreshes;
  }
}

void Rules::tickAll(bool ticked) {
  if (isIdle()) {
    for (auto& player : players) {
      player.ticked = ticked;
    }
    ++refreshes;
  }
}

void Rules::eject() {
  if (isIdle()) {
    std::erase_if(players, [](const Player& player) { return player.ticked; });
    ++refreshes;
  }
}

void Rules::browse(const std::string& path) {
  if (!isIdle()) {
    return;
  }
  ++refreshes;
  const auto root = path.empty() ? std::nullopt : Audio::rootOf(path, fileType);
  if (root && everAdded_.insert(path).second) {
    roots.push_back(*root);
  }
}

void Rules::remove(const std::set<std::size_t>& rows) {
  if (!isIdle()) {
    return;
  }
  ++refreshes;
  for (auto row = rows.rbegin(); row != rows.rend(); ++row) {
    roots.erase(roots.begin() + static_cast<std::ptrdiff_t>(*row));
  }
}

void Rules::start() {
  if (isIdle()) {
    state = State::kAsking;
  }
}

void Rules::cancel() {
  if (state == State::kAsking) {
    state = State::kIdle;
    ++cancels;
  }
}

bool Rules::ok(const std::string& userName, const std::string& password) {
  if (state != State::kAsking) {
    return false;
  }
  bar = 0;
  if (userName.empty() || password.empty()) {
    state = State::kRefused;
    alertText = "You'v entered invalid password.";
    return true;
  }
  state = State::kRunning;
  ++runs;
  rootsOfRun = roots;
  inRun.clear();
  for (auto& player : players) {
    if (player.ticked) {
      inRun.push_back(player.device);
      player.wasInRun = true;
    }
  }
  return true;
}

void Rules::report(Machine& machine) {
  std::size_t nodes = 0;
  for (const auto& root : rootsOfRun) {
    nodes += root.isFolder ? root.content.size() : 1;
  }
  alertText = "Process Completed.";
  int sum = 0;
  bool reported = false;
  for (const auto& device : inRun) {
    const TaskFacts& facts = machine.factsOf(device->node);
    const bool isComplete =
        facts.openAsked && (facts.opened ? facts.proven && facts.complete : nodes == 0);
    if (!isComplete) {
      alertText += "\nPlayer " + device->node + " Failed in process";
    }
    // Whoever failed before the copy, or has copied all there is, is done; without files nobody
    // ever says so.
    const bool isDone = !facts.openAsked || nodes > 0;
    sum += isDone ? 100 : 0;
    reported = reported || isDone;
  }
  bar = reported ? sum / static_cast<int>(inRun.size()) : 0;
  state = State::kReporting;
  ++summaries;
}

void Rules::dismiss() { state = State::kIdle; }

void Rules::relaunch() { *this = Rules(); }

std::int64_t Rules::totalSize() const {
  return std::accumulate(roots.begin(), roots.end(), std::int64_t{0},
                         [](std::int64_t sum, const Root& root) { return sum + root.size; });
}

bool Rules::contentOfRun(std::map<std::string, std::string>& content) const {
  bool completable = true;
  for (const auto& root : rootsOfRun) {
    // A single file has no place of its own.
    completable = completable && root.isFolder;
    for (const auto& [path, source] : root.content) {
      const auto [place, isNew] = content.emplace(path, source);
      completable = completable && (isNew || source.empty());
    }
  }
  return completable;
}

}  // namespace fillstation::explore
