#include "FaultRig.h"

#include <QEventLoop>
#include <QTest>
#include <QTimer>
#include <chrono>
#include <filesystem>
#include <stdexcept>

#include "Alert.h"
#include "TRFileCopyTaskCollection.h"
#include "UsbUtil.h"
#include "ui_CredentialsPanel.h"
#include "ui_MainWindow.h"

namespace fillstation::faults {

namespace {

constexpr std::chrono::seconds kLongestWait(60);

void require(bool done, const std::string& what) {
  if (!done) {
    throw std::runtime_error(what);
  }
}

Alert* shownAlert() {
  for (QWidget* widget : QApplication::topLevelWidgets()) {
    if (auto* const alert = qobject_cast<Alert*>(widget); alert != nullptr && alert->isVisible()) {
      return alert;
    }
  }
  return nullptr;
}

}  // namespace

FaultRig::FaultRig(const std::vector<BenchPlayerPlan>& players) {
  // What Qt says of the platform without a screen is not of the program.
  qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
  bench_.installInto(platform());
  platform().workspace = &workspace;
  platform().endProgram = [this] { stop.request(); };
  hooked_ = installHooks(hooks, platform());
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
  require(await([&] { return bench_.createDiskSession()->diskFromName(node) == nullptr; }),
          node + " stays");
}

void FaultRig::plug(const std::string& name, const std::string& node) {
  require(plugPlayer(benchFolder, name), name + " is plugged in already");
  require(await([&] { return bench_.createDiskSession()->diskFromName(node) != nullptr; }),
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

void FaultRig::addBook() { click(windows->window().ui().btnBrowse); }

void FaultRig::tickAll() { click(windows->window().ui().btnAll); }

void FaultRig::ask() { click(windows->window().ui().btnStart); }

void FaultRig::confirm(const char* password) {
  const auto& panel = windows->panel().ui();
  panel.userNameField->clear();
  panel.passwordField->clear();
  QTest::keyClicks(panel.userNameField, QStringLiteral("bench"));
  QTest::keyClicks(panel.passwordField, QString::fromLatin1(password));
  click(panel.btnPassOk);
}

std::string FaultRig::readSummary() {
  std::string summary;
  QTimer person;
  QObject::connect(&person, &QTimer::timeout, [&] {
    if (Alert* const alert = shownAlert()) {
      summary = alert->text().toStdString();
      click(alert->button(QMessageBox::Ok));
    }
  });
  person.start(1);
  await([&] { return !summary.empty() && windows->window().ui().btnStart->isEnabled(); });
  return summary;
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
  return !ui.btnStart->isEnabled() && ui.pbCircle->isAnimating() && shownAlert() == nullptr &&
         !windows->panel().isVisible();
}

}  // namespace fillstation::faults
