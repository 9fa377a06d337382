#include <QProgressBar>

#include "TRFileCopyTask.h"
#include "WindowStyle.h"
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
  QLabel* stateLabel(int row) const {
    for (auto* label : item(row)->findChildren<QLabel*>()) {
      if (qobject_cast<const ElidedLabel*>(label) == nullptr) {
        return label;
      }
    }
    return nullptr;
  }
  QColor stateColour(int row) const {
    return stateLabel(row)->palette().color(QPalette::WindowText);
  }
  // The text at the end of the second line; empty for none.
  std::string stateOf(int row) const {
    return stateLabel(row)->isHidden() ? std::string() : stateLabel(row)->text().toStdString();
  }
  QProgressBar* barOf(int row) const { return item(row)->findChild<QProgressBar*>(); }
  std::string title() const { return windows->window().windowTitle().toStdString(); }
  std::string barText() const { return ui().pbProgressBar->text().toStdString(); }
  void pass(std::chrono::seconds time) { ports.clock.passed = ports.clock.passed.load() + time; }
};

TEST_F(RunDisplayTest, ARowFollowsItsTask) {
  EXPECT_TRUE(barOf(1)->isHidden());
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

TEST_F(RunDisplayTest, TheBarsOfAllRowsBeginAtOnePlace) {
  const auto run = begin();
  run->tasks().at(0)->begin(Step::kFormat);
  runUntil([this] { return stateOf(0) == "formatting"; });
  settle();
  EXPECT_EQ(barOf(0)->geometry(), barOf(1)->geometry());
  EXPECT_EQ(barOf(0)->size(), QSize(64, 6));
  EXPECT_FALSE(barOf(0)->isTextVisible());
  EXPECT_EQ(stateLabel(1)->geometry().right(), tick(1)->geometry().right());
  EXPECT_TRUE(stateLabel(1)->alignment().testFlag(Qt::AlignRight));
}

TEST_F(RunDisplayTest, AVerdictHasRoomAndAColourThatCanBeRead) {
  const auto run = begin();
  const QColor text = item(0)->palette().color(QPalette::Text);
  EXPECT_EQ(stateColour(1), text);
  run->tasks().at(1)->setError(true);
  end(run);
  settle();
  EXPECT_GT(stateColour(1).red(), 2 * stateColour(1).green());
  EXPECT_GT(stateColour(0).green(), 2 * stateColour(0).red());
  EXPECT_FALSE(stateLabel(0)->font().bold());
  EXPECT_TRUE(stateLabel(1)->font().bold());
  for (const int row : {0, 1}) {
    const QLabel& label = *stateLabel(row);
    EXPECT_EQ(label.palette().color(QPalette::Text), stateColour(row));
    EXPECT_GE(label.width(), label.fontMetrics().horizontalAdvance(label.text()));
    EXPECT_LT(label.width(), 2 * label.fontMetrics().horizontalAdvance(label.text()));
  }
  QPalette dark = item(1)->palette();
  dark.setColor(QPalette::Base, Qt::black);
  item(1)->setPalette(dark);
  EXPECT_GE(contrast(stateColour(1), Qt::black), kReadableText);
  item(1)->setPalette(QPalette());
  emit controller().runBegan(run->tasks());
  EXPECT_EQ(stateColour(1), text);
  EXPECT_FALSE(stateLabel(1)->font().bold());
}

TEST_F(RunDisplayTest, AFormatsNewNameIsShownByTheRow) {
  begin();
  windows->players()->listed().at(0)->setName("PLAYER");
  runUntil([this] { return tick(0)->wholeText() == QStringLiteral("PLAYER"); });
  EXPECT_TRUE(item(0)->findChild<ElidedLabel*>()->text().startsWith(QStringLiteral("/dev/sdb")));
  EXPECT_EQ(barOf(0)->accessibleName(), QStringLiteral("PLAYER"));
  EXPECT_FALSE(tick(0)->accessibleDescription().contains(QStringLiteral("waiting")));
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
  EXPECT_EQ(windows->players()->listed().at(0)->selected().value(), 0);
  EXPECT_EQ(windows->players()->listed().at(1)->selected().value(), 1);
  EXPECT_EQ(ui().btnFailed->text(), QStringLiteral("Tick the &Failed"));
  EXPECT_EQ(ui().btnFailed->toolTip(), QStringLiteral("Tick only the failed players"));
  EXPECT_TRUE(ui().viewPlayers->actions().contains(ui().viewPlayers->tickFailed()));
  EXPECT_EQ(ui().viewPlayers->contextMenuPolicy(), Qt::ActionsContextMenu);
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
  ui().pbProgressBar->setValue(99);
  EXPECT_EQ(title(), "99 %, about 1 min left – Fillstation");
  ui().pbProgressBar->setValue(100);
  EXPECT_EQ(title(), "100 % – Fillstation");
  ui().pbProgressBar->setValue(40);
  end(run);
  EXPECT_EQ(title(), "Fillstation");
  EXPECT_EQ(ports.workspace.shares.back(), std::nullopt);
  EXPECT_EQ(barText(), "Last run: 40 %");
  ui().pbProgressBar->setValue(0);
  EXPECT_EQ(title(), "Fillstation");
  emit controller().runBegan({});
  EXPECT_EQ(title(), "0 % – Fillstation");
  EXPECT_EQ(barText(), "0%");
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
  EXPECT_TRUE(windows->window().isVisible());
  windows->window().close();
  EXPECT_EQ(endings, 1);
}

TEST_F(RunDisplayTest, EveryRunHasAFirstCloseOfItsOwnAndNoRunHasNone) {
  const auto run = begin();
  windows->window().close();
  end(run);
  emit controller().runBegan({run->tasks().at(1)});
  windows->window().close();
  EXPECT_EQ(endings, 0);
  EXPECT_EQ(barText(), "Filling 1 player. Close again to stop.");
  end(run);
  emit controller().runBegan({});
  windows->window().close();
  EXPECT_EQ(endings, 0);
  end(run);
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

TEST_F(RunDisplayTest, PlayersAreCountedUntilAllHaveBeenEjected) {
  const auto said = [this] { return ui().ejectLabel->text().toStdString(); };
  const auto players = windows->players()->listed();
  EXPECT_TRUE(ui().ejectLabel->isHidden());
  emit controller().ejected({});
  EXPECT_TRUE(ui().ejectLabel->isHidden());
  emit controller().ejected({players.at(0)});
  EXPECT_EQ(said(), "Ejecting 1 player…");
  EXPECT_FALSE(ui().ejectLabel->isHidden());
  players.at(0)->setIsReleased(true);
  emit controller().ejected({players.at(1)});
  EXPECT_EQ(said(), "Ejecting 2 players…");
  players.at(1)->setIsReleased(false);
  runUntil([&] { return said() == "1 of 2 players can be unplugged."; });
  emit controller().ejected({players.at(2)});
  EXPECT_EQ(said(), "Ejecting 1 player…");
  players.at(2)->setIsReleased(true);
  runUntil([&] { return said() == "1 player can be unplugged."; });
  begin();
  EXPECT_TRUE(ui().ejectLabel->isHidden());
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
  windows->songs()->removeAllTRFiles();
  addRoot("/music/Short", 1024, true, 1);
  click(tick(0));
  EXPECT_EQ(said(), "1 player will be erased and filled from 1 folder (1 file, 1 KB).");
  click(ui().btnNone);
  EXPECT_EQ(said(), "No player is ticked.");
}

TEST_F(RunDisplayTest, ThePasswordCanBeShownAndCapsLockIsReported) {
  click(ui().btnStart);
  waitForActive(windows->panel());
  panelUi().passwordField->setFocus();
  EXPECT_TRUE(panelUi().capsLabel->isHidden());
  QTest::keyClick(panelUi().passwordField, Qt::Key_A, Qt::NoModifier);
  EXPECT_TRUE(panelUi().capsLabel->isHidden());
  QTest::sendKeyEvent(QTest::Click, panelUi().passwordField, Qt::Key_A, QStringLiteral("A"),
                      Qt::NoModifier);
  EXPECT_FALSE(panelUi().capsLabel->isHidden());
  // These say nothing about it.
  for (const char* text : {"1", "a1", "\u3042", ""}) {
    QTest::sendKeyEvent(QTest::Click, panelUi().passwordField, Qt::Key_unknown,
                        QString::fromUtf8(text), Qt::NoModifier);
    EXPECT_FALSE(panelUi().capsLabel->isHidden()) << text;
  }
  QTest::keyClick(panelUi().passwordField, Qt::Key_CapsLock);
  EXPECT_TRUE(panelUi().capsLabel->isHidden());
  QTest::sendKeyEvent(QTest::Click, panelUi().passwordField, Qt::Key_A, QStringLiteral("a"),
                      Qt::ShiftModifier);
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
  EXPECT_EQ(look->toolTip(), QStringLiteral("Show the password"));
  // It is hidden again the next time.
  look->trigger();
  click(panelUi().btnPassCancel);
  click(ui().btnStart);
  EXPECT_EQ(panelUi().passwordField->echoMode(), QLineEdit::Password);
}

}  // namespace
}  // namespace fillstation::test
