#include "FaultRig.h"

#include <QEventLoop>
#include <QTest>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <filesystem>
#include <random>
#include <sstream>
#include <stdexcept>

#include "ModalSession.h"
#include "OpenDialog.h"
#include "TRFileCopyTaskCollection.h"
#include "UsbUtil.h"
#include "ui_CredentialsPanel.h"
#include "ui_MainWindow.h"

namespace fillstation::faults {

namespace {

constexpr std::chrono::seconds kLongestWait(60);

// Bytes that no other seed gives, and that don't occur by chance; no two blocks are equal.
std::string noise(std::uint32_t seed, std::int64_t count) {
  constexpr std::int64_t kBlock = 64 * 1024;
  std::mt19937 random(seed);
  std::string block(static_cast<std::size_t>(std::min(count, kBlock)), '\0');
  for (auto& byte : block) {
    byte = static_cast<char>(random() & 0xFFU);
  }
  std::string bytes;
  while (static_cast<std::int64_t>(bytes.size()) < count) {
    bytes += block;
    bytes[bytes.size() - block.size()] = static_cast<char>(random() & 0xFFU);
  }
  bytes.resize(static_cast<std::size_t>(count));
  return bytes;
}

void require(bool done, const std::string& what) {
  if (!done) {
    throw std::runtime_error(what);
  }
}

}  // namespace

FaultRig::FaultRig(const std::vector<BenchPlayerPlan>& players) {
  // Qt's messages about the offscreen platform don't come from the program.
  qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
  bench_.installInto(platform());
  platform().workspace = &workspace;
  platform().endProgram = [this] { stop.request(); };
  hooked_ = test::installHooks(hooks, platform());
  windows = std::make_unique<WindowSet>();
  windows->delegate()->setOpenPanel(
      [this](const std::string&) { return std::vector{Url::fromPath(folder.path("book"), true)}; });
  for (const auto& player : players) {
    make(player);
    require(plugPlayer(benchFolder, player.name), "no " + player.name);
  }
  windows->window().show();
  windows->delegate()->applicationDidFinishLaunching();
  require(await([&] { return listed().size() == players.size(); }), "not all players are listed");
}

FaultRig::~FaultRig() {
  stop.request();
  workers_.joinAll();
  // The process keeps the last run's report targets: leave none that belong to this rig.
  std::make_shared<TRFileCopyTaskCollection>(std::make_shared<TRFileList>(), "", "")
      ->startAsyncCopyWithCallBack(nullptr, nullptr, nullptr, nullptr);
  workers_.joinAll();
  windows.reset();
  session.reset();
  hooked_.reset();
  platform() = Platform();
  qInstallMessageHandler(nullptr);
}

std::string FaultRig::make(const BenchPlayerPlan& player) const {
  const auto problem = createPlayer(benchFolder, player);
  require(!problem, problem.value_or(""));
  return pulledImage(benchFolder, player.name);
}

std::string FaultRig::imageOf(const std::string& name) const {
  const std::string plugged = pluggedImage(benchFolder, name);
  return std::filesystem::exists(plugged) ? plugged : pulledImage(benchFolder, name);
}

void FaultRig::pull(const std::string& name, const std::string& node) {
  require(unplugPlayer(benchFolder, name), name + " isn't plugged in");
  require(await([&] { return platform().createDiskSession()->diskFromName(node) == nullptr; }),
          node + " stays");
}

void FaultRig::plug(const std::string& name, const std::string& node) {
  require(plugPlayer(benchFolder, name), name + " is plugged in already");
  require(await([&] { return platform().createDiskSession()->diskFromName(node) != nullptr; }),
          node + " doesn't come");
}

bool FaultRig::await(const std::function<bool()>& seen) {
  const auto end = std::chrono::steady_clock::now() + kLongestWait;
  const auto isLate = [&] { return std::chrono::steady_clock::now() > end; };
  bool done = false;
  if (!mainThread.isHere()) {
    while (!done && !isLate() && mainThread.runAndWait([&] { done = seen(); })) {
    }
    return done;
  }
  QEventLoop loop;
  QTimer look;
  QObject::connect(&look, &QTimer::timeout, [&] {
    done = done || seen();
    if (done || isLate()) {
      loop.quit();
    }
  });
  look.start(1);
  loop.exec();
  return done;
}

void FaultRig::click(QAbstractButton* button) const { QTest::mouseClick(button, Qt::LeftButton); }

void FaultRig::addBook(std::int64_t moreMiB) {
  constexpr int kTracks = 10;
  constexpr int kTracksOfAPart = 4;
  constexpr std::int64_t kLongMiB = 5;
  std::uint32_t seed = 1;
  for (int track = 0; track < kTracks; ++track) {
    folder.write("book/Part " + std::to_string(track / kTracksOfAPart + 1) + "/" +
                     std::to_string(track + 1) + " Überfahrt.mp3",
                 noise(seed++, kTrackBytes));
  }
  folder.write("book/note.txt", "no audio");
  for (std::int64_t number = 0; number < moreMiB; number += kLongMiB) {
    folder.write("book/Long/" + std::to_string(number) + ".mp3",
                 noise(seed++, kLongMiB * 1024 * 1024));
  }
  browse();
}

void FaultRig::browse() { click(windows->window().ui().btnBrowse); }

void FaultRig::tickAll() { click(windows->window().ui().btnAll); }

void FaultRig::ask() { click(windows->window().ui().btnStart); }

void FaultRig::confirm(const char* password) {
  const auto& panel = windows->panel().ui();
  panel.userNameField->setText(QStringLiteral("bench"));
  panel.passwordField->setText(QString::fromLatin1(password));
  click(panel.btnPassOk);
}

std::string FaultRig::readSummary() {
  std::string summary;
  QTimer person;
  QObject::connect(&person, &QTimer::timeout, [&] {
    if (Alert* const alert = test::openDialog<Alert>()) {
      summary = alert->text().toStdString();
      click(alert->button(QMessageBox::Ok));
    }
  });
  person.start(1);
  await([&] { return !summary.empty() && windows->window().ui().btnStart->isEnabled(); });
  return summary;
}

std::optional<std::vector<std::string>> FaultRig::namedIn(const std::string& summary) {
  const std::string before = "Player ";
  const std::string behind = " Failed in process";
  std::istringstream lines(summary);
  std::string line;
  std::getline(lines, line);
  bool isSummary = line == "Process Completed.";
  std::vector<std::string> nodes;
  while (std::getline(lines, line)) {
    isSummary = isSummary && line.starts_with(before) && line.ends_with(behind);
    nodes.push_back(line.substr(before.size(), line.find(behind) - before.size()));
  }
  return isSummary ? std::optional(nodes) : std::nullopt;
}

void FaultRig::ejectTicked() { click(windows->window().ui().btnEject); }

std::vector<std::string> FaultRig::listed() const {
  std::vector<std::string> nodes;
  for (const auto& player : windows->players()->listed()) {
    nodes.push_back(player->diskName().value_or(""));
  }
  return nodes;
}

std::vector<std::string> FaultRig::ticked() const {
  std::vector<std::string> nodes;
  for (const auto& player : windows->players()->listed()) {
    if (player->selected().isTrue()) {
      nodes.push_back(player->diskName().value_or(""));
    }
  }
  return nodes;
}

bool FaultRig::isRunning() const {
  const auto& ui = windows->window().ui();
  return !ui.btnStart->isEnabled() && ui.pbCircle->isAnimating() &&
         test::openDialog<Alert>() == nullptr && !windows->panel().isVisible();
}

std::string joined(const std::vector<std::string>& texts) {
  std::string all;
  for (const auto& text : texts) {
    all += (all.empty() ? "" : ", ") + text;
  }
  return all;
}

}  // namespace fillstation::faults
