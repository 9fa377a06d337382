#include "Explorer.h"

#include <unistd.h>

#include <QApplication>
#include <QTimer>
#include <chrono>
#include <cstdlib>
#include <utility>

#include "OpenPanel.h"
#include "TempFolder.h"
#include "UsbUtil.h"
#include "WindowStyle.h"

namespace fillstation::explore {

namespace {

constexpr std::int64_t kMiB = 1024 * 1024;
// How often the window is used while the main thread pauses, and how deep.
constexpr std::size_t kPausesPerStep = 60;
constexpr int kDeepest = 3;

}  // namespace

Explorer::Explorer(std::uint64_t seed) : random_(seed) {
  // Qt's messages about the offscreen platform don't come from the program.
  qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
  const auto add = [this](std::int64_t size, const char* label) -> Medium& {
    Medium& added = *media_.emplace_back(std::make_shared<Medium>());
    added.number = static_cast<int>(media_.size()) - 1;
    added.size = size;
    added.label = label;
    return added;
  };
  for (const std::int64_t size : {std::int64_t{0}, std::int64_t{1023}, kMiB, 64 * kMiB, 2048 * kMiB,
                                  std::int64_t{7948206080}}) {
    add(size, "SONGS");
  }
  add(4096 * kMiB, "2DAYS").product = "IOUSBDevice";
  add(512 * kMiB, "BLANK").formatted = false;
  add(500'000 * kMiB, "BACKUP").vendor = "OTHER";
  add(500'000 * kMiB, "PHOTOS").product = "Another Disk";
  launch();
}

Explorer::~Explorer() {
  endLaunch();
  qInstallMessageHandler(nullptr);
}

void Explorer::launch() {
  isLaunching_ = true;
  rules_.relaunch();
  logged_.clear();
  machine_.setEnding(false);
  machine_.beginRun({}, {}, true);
  hookLaunch();
  windows_ = std::make_unique<WindowSet>();
  windows_->delegate()->setOpenPanel([this](const std::string&) {
    const bool isFolder = !chosen_.ends_with(".mp3") && !chosen_.ends_with(".txt");
    return chosen_.empty() ? std::nullopt
                           : std::optional(std::vector{Url::fromPath(chosen_, isFolder)});
  });
  windows_->window().show();
  windows_->delegate()->applicationDidFinishLaunching();
  for (const auto& device : machine_.present()) {
    rules_.told(device, true);
  }
  isLaunching_ = false;
  isClosed_ = false;
  endings_ = 0;
  ++explored_.launches;
  launch_->settle();
}

void Explorer::hookLaunch() {
  launch_ = std::make_unique<Launch>(machine_);
  platform().endProgram = [this] {
    ++endings_;
    isClosed_ = true;
    machine_.setEnding(true);
    launch_->stop();
  };
  launch_->onLog = [this](const std::string& text) {
    ++logged_[text.starts_with("\nLog xxxP Size") ? "labels" : text];
  };
  launch_->onPause = [this] { stepInPause(); };
  launch_->onTold = [this](const std::shared_ptr<Device>& device, bool inserted) {
    expect(!rules_.hasAlert(), "no event of the bus while an alert is open");
    rules_.told(device, inserted);
  };
  for (const auto& device : machine_.present()) {
    device->firstLook.reset();
    launch_->plug(device);
  }
}

void Explorer::endLaunch() {
  explored_.runs += rules_.runs;
  explored_.summaries += rules_.summaries;
  machine_.setEnding(true);
  launch_->end();
  // The process keeps the last run's report targets: leave none that belong to this window.
  std::make_shared<TRFileCopyTaskCollection>(std::make_shared<TRFileList>(), "", "")
      ->startAsyncCopyWithCallBack(nullptr, nullptr, nullptr, nullptr);
  launch_->end();
  windows_.reset();
  session.reset();
  clickedRow = -1;
  launch_.reset();
  machine_.forgetLeft();
}

bool Explorer::goesOn() const { return stepsToGo_ > 0 && !explored_.broken; }

Explored Explorer::explore(std::uint64_t count) {
  stepsToGo_ = count;
  while (goesOn()) {
    step();
    if (isClosed_) {
      expect(endings_ == 1, "the program ends once");
      for (const QWidget* window : QApplication::topLevelWidgets()) {
        expect(!window->isVisible(), "no window is left when the program ends");
      }
      endLaunch();
      for (const auto& violation : machine_.takeViolations()) {
        expect(false, violation);
      }
      launch();
      check();
    }
  }
  explored_.runs += std::exchange(rules_.runs, 0);
  explored_.summaries += std::exchange(rules_.summaries, 0);
  return explored_;
}

void Explorer::step() {
  int total = 0;
  for (const auto& choice : kChoices) {
    total += choice.weight;
  }
  auto at = static_cast<int>(pick(static_cast<std::size_t>(total)));
  for (const auto& choice : kChoices) {
    at -= choice.weight;
    if (at < 0) {
      lastStep_ = choice.name;
      if (steps != nullptr) {
        std::fprintf(steps, "%8llu %*s%s\n", static_cast<unsigned long long>(explored_.steps),
                     2 * depth_, "", choice.name);
      }
      choice.act(*this);
      break;
    }
  }
  ++explored_.steps;
  stepsToGo_ -= stepsToGo_ > 0 ? 1 : 0;
  if (std::exchange(isJustDismissed_, false)) {
    return;  // the window continues when the alert's loop has ended
  }
  if (!isClosed_) {
    ++depth_;  // pending work may pause
    launch_->settle();
    --depth_;
  }
  if (!isClosed_) {
    check();
  }
}

void Explorer::stepInPause() {
  if (isLaunching_ || isClosed_ || depth_ >= kDeepest || !goesOn() || !oneOf(kPausesPerStep)) {
    return;
  }
  ++depth_;
  step();
  --depth_;
}

void Explorer::expectAlert() {
  isDismissed_ = false;
  QTimer::singleShot(0, [this] { stepsUnderAlert(); });
}

void Explorer::stepsUnderAlert() {
  ++depth_;
  while (!isDismissed_ && !isClosed_) {
    if (!goesOn()) {
      dismiss();
    } else {
      step();
    }
  }
  --depth_;
}

namespace {

int exploreAndPrint(std::uint64_t seed, std::uint64_t steps, bool isVerbose, std::FILE* out) {
  const auto begin = std::chrono::steady_clock::now();
  Explorer explorer(seed);
  explorer.steps = isVerbose ? out : nullptr;
  const auto seen = explorer.explore(steps);
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
  std::fprintf(out,
               "seed %llu: %llu steps in %.1f s, %zu launches, %zu runs, %zu summaries, "
               "%zu players filled, %zu failed\n",
               static_cast<unsigned long long>(seed), static_cast<unsigned long long>(seen.steps),
               seconds.count(), seen.launches, seen.runs, seen.summaries, seen.filledPlayers,
               seen.failedPlayers);
  if (seen.broken) {
    std::fprintf(out, "BROKEN at %s\nAgain: tests/explore/explorer %llu %llu\n",
                 seen.broken->c_str(), static_cast<unsigned long long>(seed),
                 static_cast<unsigned long long>(seen.steps));
  }
  std::fflush(out);
  return seen.broken ? 1 : 0;
}

}  // namespace

}  // namespace fillstation::explore

// explorer SEED STEPS [verbose]: one exploration. The exit status is 1 if a rule was broken; the
// output then tells how to repeat it. Verbose, each step is a line.
int main(int argc, char** argv) {
  using namespace fillstation;
  const test::TempFolder home;
  ::setenv("HOME", home.path().c_str(), 1);
  ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
  OpenPanel::keepSettingsAway();
  // The program's own lines would be millions. A sanitizer's report goes to the descriptor.
  std::FILE* const out = ::fdopen(::dup(STDOUT_FILENO), "w");
  std::FILE* const nowhere = std::fopen("/dev/null", "w");
  if (out == nullptr || nowhere == nullptr || argc < 3) {
    return 2;
  }
  const auto seed = std::stoull(argv[1]);
  const auto steps = std::stoull(argv[2]);
  stdout = nowhere;
  stderr = nowhere;
  QApplication application(argc, argv);
  QApplication::setStyle(new WindowStyle);
  QApplication::setQuitOnLastWindowClosed(false);
  return explore::exploreAndPrint(seed, steps, argc > 3, out);
}
