#include "LongDay.h"

#include <QApplication>
#include <QTest>
#include <QTimer>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "Alert.h"
#include "BenchFolder.h"
#include "Figures.h"
#include "UsbUtil.h"
#include "ui_CredentialsPanel.h"
#include "ui_MainWindow.h"

namespace fillstation::endurance {

namespace {

constexpr int kPatienceMs = 60'000;
constexpr int kFiles = 5;

void makeBook(const std::string& folder) {
  std::filesystem::create_directories(folder + "/Part");
  for (int number = 0; number < kFiles; ++number) {
    const std::string name = std::to_string(number) + " chapter.mp3";
    std::ofstream(folder + (number % 2 == 0 ? "/" : "/Part/") + name) << std::string(20'000, 'x');
  }
}

long threadsNow() {
  const std::filesystem::directory_iterator tasks("/proc/self/task");
  return std::distance(begin(tasks), end(tasks));
}

}  // namespace

LongDay::LongDay(const std::string& folder, int players)
    : bench_(folder + "/bench"), book_(folder + "/Book"), players_(players) {
  makeBook(book_);
  std::filesystem::create_directories(bench_);
  for (int player = 0; player < players; ++player) {
    BenchPlayerPlan plan;
    plan.name = name(player);
    if (const auto problem = createPlayer(bench_, plan)) {
      throw std::runtime_error(*problem);
    }
  }
  ports_ =
      std::make_unique<Bench>(bench_, BenchServices{stop_, mainThread_, clock_, workers_, log_});
  ports_->installInto(platform());
  platform().endProgram = [this] { stop_.request(); };
  windows_ = std::make_unique<WindowSet>();
  windows_->delegate()->setOpenPanel(
      [this](const std::string&) { return std::vector{Url::fromPath(book_, true)}; });
  windows_->window().show();
  windows_->delegate()->applicationDidFinishLaunching();
  QTest::qWait(100);
  idleThreads_ = threadsNow();
}

LongDay::~LongDay() {
  stop_.request();
  workers_.joinAll();
  // The process keeps the last run's report targets: leave none that belong to this window.
  std::make_shared<TRFileCopyTaskCollection>(std::make_shared<TRFileList>(), "", "")
      ->startAsyncCopyWithCallBack(nullptr, nullptr, nullptr, nullptr);
  workers_.joinAll();
  windows_.reset();
  session.reset();
}

void LongDay::await(const std::function<bool()>& condition, const char* what) {
  const auto holds = [&] { return condition() && threadsNow() <= idleThreads_; };
  if (!QTest::qWaitFor(holds, kPatienceMs)) {
    throw std::runtime_error(std::string("waited in vain for ") + what);
  }
}

void LongDay::awaitListed(int count) {
  await([&] { return windows_->players()->listed().size() == static_cast<std::size_t>(count); },
        "the players in the list");
}

void LongDay::plugAll() {
  for (int player = 0; player < players_; ++player) {
    plugPlayer(bench_, name(player));
  }
  awaitListed(players_);
}

void LongDay::pullAll() {
  for (int player = 0; player < players_; ++player) {
    unplugPlayer(bench_, name(player));
  }
  awaitListed(0);
}

void LongDay::addAudio() { QTest::mouseClick(windows_->window().ui().btnBrowse, Qt::LeftButton); }

void LongDay::run() {
  const auto& ui = windows_->window().ui();
  const auto& panel = windows_->panel().ui();
  std::string summary;
  QTimer person;
  QObject::connect(&person, &QTimer::timeout, [&] {
    for (QWidget* widget : QApplication::topLevelWidgets()) {
      if (auto* const alert = qobject_cast<Alert*>(widget)) {
        summary = alert->text().toStdString();
        QTest::mouseClick(alert->button(QMessageBox::Ok), Qt::LeftButton);
      }
    }
  });
  person.start(5);
  QTest::mouseClick(ui.btnAll, Qt::LeftButton);
  QTest::mouseClick(ui.btnStart, Qt::LeftButton);
  panel.userNameField->setText("bench");
  panel.passwordField->setText("bench");
  QTest::mouseClick(panel.btnPassOk, Qt::LeftButton);
  await([&] { return !summary.empty() && ui.btnStart->isEnabled(); }, "the summary");
  if (summary != "Process Completed.") {
    throw std::runtime_error(summary);
  }
}

}  // namespace fillstation::endurance
