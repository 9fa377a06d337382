#include <QProgressBar>

#include "TRFileCopyTask.h"
#include "WindowTest.h"

namespace fillstation::test {
namespace {

// What the window shows of a run in addition to the described controls.
class RunDisplayTest : public WindowTest {
 protected:
  RunDisplayTest() {
    launch();
    for (const char* disk : {"sdb", "sdc", "sdd"}) {
      addPlayer(disk, 4096, true);
    }
  }

  // A run of all players has begun.
  std::shared_ptr<TRFileCopyTaskCollection> begin() {
    auto run = std::make_shared<TRFileCopyTaskCollection>(windows->songs()->list(), "a", "b");
    for (const auto& player : windows->players()->listed()) {
      run->addPlayer(player);
    }
    emit controller().runBegan(run->tasks());
    return run;
  }
  void end(const std::shared_ptr<TRFileCopyTaskCollection>& run) {
    answerAlert();
    controller().onCopyResult(run);
  }
  PlayerItem* item(int row) const { return ui().viewPlayers->items().at(row); }
  // The text at the end of the second line; empty for none.
  std::string stateOf(int row) const {
    for (const auto* label : item(row)->findChildren<QLabel*>()) {
      if (qobject_cast<const ElidedLabel*>(label) == nullptr && !label->isHidden()) {
        return label->text().toStdString();
      }
    }
    return {};
  }
  QProgressBar* barOf(int row) const { return item(row)->findChild<QProgressBar*>(); }
  std::string title() const { return windows->window().windowTitle().toStdString(); }
  std::string barText() const { return ui().pbProgressBar->text().toStdString(); }
  void pass(std::chrono::seconds time) { ports.clock.passed = ports.clock.passed.load() + time; }
};

TEST_F(RunDisplayTest, ARowFollowsItsTask) {
  const auto run = begin();
  EXPECT_EQ(stateOf(1), "waiting");
  EXPECT_FALSE(barOf(1)->isHidden());
  const auto task = run->tasks().at(1);
  task->setCurrentProgress(42);
  for (const auto& [step, word] : {std::pair(Step::kUnmount, "formatting"),
                                   {Step::kWipe, "formatting"},
                                   {Step::kFormat, "formatting"},
                                   {Step::kMount, "formatting"},
                                   {Step::kCopy, "42 %"},
                                   {Step::kFlush, "42 %"},
                                   {Step::kCheck, "checking"},
                                   {Step::kDone, "done"}}) {
    task->begin(step);
    runUntil([&, expected = word] { return stateOf(1) == expected; });
    EXPECT_EQ(barOf(1)->value(), 42);
    EXPECT_EQ(stateOf(0), "waiting");
  }
}

TEST_F(RunDisplayTest, AFormatsNewNameIsShownByTheRow) {
  begin();
  windows->players()->listed().at(0)->setName("PLAYER");
  runUntil([this] { return tick(0)->wholeText() == QStringLiteral("PLAYER"); });
  EXPECT_TRUE(item(0)->findChild<ElidedLabel*>()->text().startsWith(QStringLiteral("/dev/sdb")));
}

TEST_F(RunDisplayTest, TheSummarysVerdictStaysUntilTheNextRun) {
  const auto run = begin();
  run->tasks().at(1)->setError(true);
  EXPECT_EQ(stateOf(1), "waiting");
  end(run);
  EXPECT_EQ(stateOf(0), "✓ Filled");
  EXPECT_EQ(stateOf(1), "✗ Failed");
  EXPECT_TRUE(barOf(1)->isHidden());
  EXPECT_TRUE(tick(1)->accessibleDescription().startsWith(QString::fromUtf8("✗ Failed, ")));
  click(ui().btnStart);
  EXPECT_EQ(stateOf(1), "✗ Failed");
  answerAlert();
  controller().btnPassOk(nullptr);  // without a password
  EXPECT_EQ(stateOf(1), "✗ Failed");
  emit controller().runBegan({run->tasks().at(1)});
  EXPECT_EQ(stateOf(0), "");
  EXPECT_FALSE(tick(0)->accessibleDescription().contains(QStringLiteral("Filled")));
  EXPECT_EQ(stateOf(1), "waiting");
  EXPECT_TRUE(ui().btnFailed->isHidden());
}

TEST_F(RunDisplayTest, APlayerThatIsPluggedInAgainHasNoVerdict) {
  end(begin());
  windows->players()->removeObject(*windows->players()->listed().at(0));
  addPlayer("sdb");
  EXPECT_EQ(stateOf(2), "");
  EXPECT_EQ(stateOf(0), "✓ Filled");
}

TEST_F(RunDisplayTest, TheFailedAreTickedByOneClickAndNoOthers) {
  EXPECT_TRUE(ui().btnFailed->isHidden());
  const auto run = begin();
  run->tasks().at(1)->setError(true);
  end(run);
  EXPECT_FALSE(ui().btnFailed->isHidden());
  ports.log.clear();
  click(ui().btnFailed);
  EXPECT_FALSE(tick(0)->isChecked());
  EXPECT_TRUE(tick(1)->isChecked());
  EXPECT_FALSE(tick(2)->isChecked());
  const auto texts = logTexts();
  EXPECT_EQ(std::count_if(texts.begin(), texts.end(),
                          [](const auto& text) { return text.starts_with("\nLog xxxP"); }),
            1);
  EXPECT_TRUE(ui().viewPlayers->actions().contains(ui().viewPlayers->tickFailed()));
  click(ui().btnStart);
  EXPECT_FALSE(ui().btnFailed->isEnabled());
  windows->players()->removeObject(*windows->players()->listed().at(1));
  EXPECT_TRUE(ui().btnFailed->isHidden());
}

TEST_F(RunDisplayTest, TheBoxSaysHowManyAreTicked) {
  EXPECT_EQ(ui().playersSelectionBox->title(), QStringLiteral("Players (3 of 3 ticked)"));
  click(tick(0));
  EXPECT_EQ(ui().playersSelectionBox->title(), QStringLiteral("Players (2 of 3 ticked)"));
  click(ui().btnNone);
  EXPECT_EQ(ui().playersSelectionBox->title(), QStringLiteral("Players (0 of 3 ticked)"));
  windows->players()->setArrangedObjects({});
  EXPECT_EQ(ui().playersSelectionBox->title(), QStringLiteral("Players"));
}

TEST_F(RunDisplayTest, TitleAndTaskBarFollowTheBar) {
  EXPECT_EQ(title(), "Fillstation");
  const auto run = begin();
  EXPECT_EQ(title(), "0 % – Fillstation");
  pass(std::chrono::minutes(8));
  ui().pbProgressBar->setValue(40);
  EXPECT_EQ(title(), "40 %, about 12 min left – Fillstation");
  EXPECT_EQ(ports.workspace.shares.back(), 0.4);
  end(run);
  EXPECT_EQ(title(), "Fillstation");
  EXPECT_EQ(ports.workspace.shares.back(), std::nullopt);
  EXPECT_EQ(barText(), "Last run: 40 %");
}

TEST_F(RunDisplayTest, AUserOfAnotherWindowIsNotified) {
  end(begin());
  EXPECT_TRUE(ports.workspace.notifications.empty());
  for (const bool isBad : {false, true}) {
    const auto run = begin();
    run->tasks().at(0)->setError(isBad);
    windows->window().showMinimized();
    runUntil([] { return QApplication::activeWindow() == nullptr; });
    end(run);
    ASSERT_FALSE(ports.workspace.notifications.empty());
    EXPECT_EQ(ports.workspace.notifications.back(), std::pair(message, isBad));
  }
}

TEST_F(RunDisplayTest, TheFirstCloseOfARunSaysHowToStopIt) {
  const auto run = begin();
  windows->window().close();
  EXPECT_EQ(endings, 0);
  EXPECT_EQ(barText(), "Filling 3 players. Close again to stop.");
  windows->window().close();
  EXPECT_EQ(endings, 1);
}

TEST_F(RunDisplayTest, TheLineBelowTheListFollowsAnEject) {
  ports.disks.byName["sdb"] = std::make_shared<TestDisk>();
  bool isHeld = true;
  std::vector<std::function<void()>> completions;
  ports.disks.complete = [&](const TestDisks::Request&, std::function<void()> completion) {
    completions.push_back(std::move(completion));
  };
  const auto completeAll = [&] {
    while (!completions.empty()) {
      for (const auto& completion : std::exchange(completions, {})) {
        completion();
      }
    }
    isHeld = false;
  };
  click(tick(2));
  click(ui().btnEject);
  EXPECT_TRUE(isHeld);
  EXPECT_EQ(ui().ejectLabel->text(), QStringLiteral("Ejecting 2 players…"));
  completeAll();
  runUntil(
      [this] { return ui().ejectLabel->text() == QStringLiteral("2 players can be unplugged."); });
}

TEST_F(RunDisplayTest, ThePanelShowsWhatOkWillDo) {
  const auto said = [this] { return panelUi().taskLabel->text().toStdString(); };
  EXPECT_EQ(said(), "The file list is empty: 3 players will be erased and left empty.");
  addRoot("/music/Book", 563200, true, 2);
  controller().updateFilesSize();
  EXPECT_EQ(said(), "3 players will be erased and filled from 1 folder (2 files, 550 KB).");
  const auto gone = windows->players()->listed().front();
  windows->players()->removeObject(*gone);
  EXPECT_EQ(said(), "2 players will be erased and filled from 1 folder (2 files, 550 KB).");
  addRoot("/music/Song.mp3", 1024, false);
  controller().updateFilesSize();
  EXPECT_EQ(said(), "2 players will be erased and filled from 2 folders (3 files, 551 KB).");
  click(ui().btnNone);
  EXPECT_EQ(said(), "No player is ticked.");
}

TEST_F(RunDisplayTest, ThePasswordCanBeShownAndCapsLockIsReported) {
  click(ui().btnStart);
  waitForActive(windows->panel());
  panelUi().passwordField->setFocus();
  QTest::keyClick(panelUi().passwordField, Qt::Key_A, Qt::NoModifier);
  EXPECT_TRUE(panelUi().capsLabel->isHidden());
  QTest::sendKeyEvent(QTest::Click, panelUi().passwordField, Qt::Key_A, QStringLiteral("A"),
                      Qt::NoModifier);
  EXPECT_FALSE(panelUi().capsLabel->isHidden());
  QTest::sendKeyEvent(QTest::Click, panelUi().passwordField, Qt::Key_A, QStringLiteral("A"),
                      Qt::ShiftModifier);
  EXPECT_TRUE(panelUi().capsLabel->isHidden());
  QAction* const look = panelUi().passwordField->actions().constFirst();
  EXPECT_FALSE(look->icon().isNull());
  look->trigger();
  EXPECT_EQ(panelUi().passwordField->echoMode(), QLineEdit::Normal);
  look->trigger();
  EXPECT_EQ(panelUi().passwordField->echoMode(), QLineEdit::Password);
}

}  // namespace
}  // namespace fillstation::test
