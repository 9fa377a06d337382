#include "Rules.h"

#include <strings.h>

#include <algorithm>
#include <numeric>
#include <utility>

namespace fillstation::explore {

namespace {

// A device is looked for a hundred times.
constexpr std::size_t kSearches = 100;

constexpr std::int64_t kFolder = -1;

// Path and size, in the order of the walks.
const std::vector<std::pair<std::string, std::int64_t>> kEverything{
    {"/audio/Book", kFolder},        {"/audio/Book/1.mp3", 1000},
    {"/audio/Book/Part 2", kFolder}, {"/audio/Book/Part 2/1.mp3", 70'000'000},
    {"/audio/Book/Part 2/2.txt", 5}, {"/audio/Book/note.txt", 77},
    {"/audio/Empty", kFolder},       {"/audio/Other", kFolder},
    {"/audio/Other/2.mp3", 0},       {"/audio/Other/3%20x.MP3", 3'000'000'000},
    {"/audio/Same", kFolder},        {"/audio/Same/1.mp3", 12345},
    {"/audio/single.mp3", 500},      {"/audio/single.txt", 600},
};

bool isOfType(const std::string& path, const std::string& fileType) {
  return ::strcasecmp(path.c_str() + path.rfind('.') + 1, fileType.c_str()) == 0;
}

std::optional<std::int64_t> sizeOf(const std::string& path) {
  const auto found = std::find_if(kEverything.begin(), kEverything.end(),
                                  [&](const auto& entry) { return entry.first == path; });
  return found != kEverything.end() ? std::optional(found->second) : std::nullopt;
}

// The expected root for a choice with this file type; none for a file of another type.
std::optional<Root> rootOf(const std::string& path, const std::string& fileType) {
  Root root{path, 0, sizeOf(path) == kFolder, {}};
  if (!root.isFolder) {
    root.size = sizeOf(path).value_or(0);
    return isOfType(path, fileType) ? std::optional(root) : std::nullopt;
  }
  for (const auto& [below, size] : kEverything) {
    if (!below.starts_with(path + "/")) {
      continue;
    }
    const std::string relative = below.substr(path.size() + 1);
    if (size == kFolder) {
      root.content[relative] = "";
    } else if (isOfType(below, fileType)) {
      root.content[relative] = below;
      root.size += size;
    }
  }
  return root;
}

bool isNamedAsPlayer(const Device& device) {
  const std::string& product = device.medium->product;
  return product == "HS USB FlashDisk" || product == "IOUSBDevice";
}

bool isPlayer(const Device& device) {
  const auto& look = device.firstLook;
  return isNamedAsPlayer(device) && device.searchesInVain < kSearches && look &&
         look->deviceVendor == "ACTIONS";
}

}  // namespace

const std::vector<std::string>& audioChoices() {
  static const std::vector<std::string> all{"/audio/Book",       "/audio/Empty",
                                            "/audio/Other",      "/audio/Same",
                                            "/audio/single.mp3", "/audio/single.txt"};
  return all;
}

void addAudio(test::TestFileManager& files) {
  for (const auto& [path, size] : kEverything) {
    if (size != kFolder) {
      files.addFile(path, size);
      continue;
    }
    std::vector<test::WalkStep> steps;
    for (const auto& [below, bytes] : kEverything) {
      if (below.starts_with(path + "/")) {
        steps.push_back(bytes == kFolder ? test::folderStep(below) : test::fileStep(below, bytes));
      }
    }
    files.addFolder(path, std::move(steps));
  }
}

void Rules::told(const std::shared_ptr<Device>& device, bool inserted) {
  const auto hasNode = [&](const Player& player) { return player.device->node == device->node; };
  if (inserted ? !isPlayer(*device) : !isNamedAsPlayer(*device)) {
    return;
  }
  ++records;
  ++refreshes;
  if (!inserted) {
    std::erase_if(players, hasNode);
  } else if (std::none_of(players.begin(), players.end(), hasNode)) {
    players.push_back({device, device->medium->size, false, false});
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
  const auto root = path.empty() ? std::nullopt : rootOf(path, fileType);
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

void Rules::ok(const std::string& userName, const std::string& password) {
  if (state != State::kAsking) {
    return;
  }
  bar = 0;
  if (userName.empty() || password.empty()) {
    state = State::kRefused;
    alertText = "You'v entered invalid password.";
    return;
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
    const bool isComplete = facts.openAsked && (facts.opened ? facts.complete : nodes == 0);
    if (!isComplete) {
      alertText += "\nPlayer " + device->node + " Failed in process";
    }
    // A task that failed before the copy, or has copied everything, is done; without files there is
    // no report of that.
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
    // A single file has no destination.
    completable = completable && root.isFolder;
    for (const auto& [path, source] : root.content) {
      const auto [place, isNew] = content.emplace(path, source);
      completable = completable && (isNew || source.empty());
    }
  }
  return completable;
}

}  // namespace fillstation::explore
