#include <QShowEvent>
#include <algorithm>

#include "TRFileCopyTask.h"
#include "WindowTest.h"

namespace fillstation::test {
namespace {

class RunFlowTest : public WindowTest {
 protected:
  RunFlowTest() {
    launch();
    ports.log.clear();
  }

  // Closes the alert with a click, and records the window under it.
  void answerAlertAndLook() {
    answerAlert([this](const QMessageBox& box) {
      iconOfAlert = box.icon();
      enabledUnderAlert = ui().btnStart->isEnabled();
      panelUnderAlert = windows->panel().isVisible();
      animatingUnderAlert = ui().pbCircle->isAnimating();
    });
  }
  std::shared_ptr<TRFileCopyTaskCollection> collectionOf(const Texts& disks, const Texts& failing) {
    auto made =
        std::make_shared<TRFileCopyTaskCollection>(windows->songs()->list(), "admin", "secret");
    for (const std::string& disk : disks) {
      auto player = std::make_shared<TRPlayer>();
      player->setDiskName(disk);
      made->addPlayer(player);
      const auto task = made->tasks().back();
      task->setError(std::find(failing.begin(), failing.end(), disk) != failing.end());
    }
    return made;
  }
  void bringWindowToFront() {
    windows->window().activateWindow();
    waitForActive(windows->window());
  }
  std::string summaryOf(const Texts& disks, const Texts& failing) {
    answerAlertAndLook();
    controller().onCopyResult(collectionOf(disks, failing));
    return message;
  }
  void expectWorkingControls(bool enabled) const {
    for (const QWidget* control :
         std::initializer_list<QWidget*>{ui().btnStart, ui().btnBrowse, ui().lstFiles, ui().btnAll,
                                         ui().btnNone, ui().btnEject}) {
      EXPECT_EQ(control->isEnabled(), enabled) << control->objectName().toStdString();
    }
    for (const PlayerItem* item : ui().viewPlayers->items()) {
      EXPECT_EQ(item->tick()->isEnabled(), enabled);
    }
    EXPECT_TRUE(ui().cmbFileType->isEnabled());
    EXPECT_TRUE(ui().tirellLinkBtn->isEnabled());
    EXPECT_TRUE(ui().viewPlayers->isEnabled());
  }

  QMessageBox::Icon iconOfAlert = QMessageBox::Question;
  bool enabledUnderAlert = true;
  bool panelUnderAlert = true;
  bool animatingUnderAlert = true;
};

TEST_F(RunFlowTest, CancelEscapeAndTheCloseButtonEnableWhatStartDisabledAndLogIt) {
  addPlayer("sdb");
  const std::vector<std::function<void()>> ways = {
      [this] { click(panelUi().btnPassCancel); },
      [this] { QTest::keyClick(panelUi().userNameField, Qt::Key_Escape); },
      [this] { windows->panel().close(); }};
  for (const auto& leave : ways) {
    ports.log.clear();
    click(ui().btnStart);
    expectWorkingControls(false);
    EXPECT_TRUE(windows->panel().isVisible());
    EXPECT_FALSE(windows->panel().isModal());
    EXPECT_TRUE(logTexts().empty());
    leave();
    expectWorkingControls(true);
    EXPECT_FALSE(windows->panel().isVisible());
    EXPECT_EQ(logTexts(), Texts{"\nSelection !\n"});
  }
  EXPECT_EQ(endings, 0);
}

TEST_F(RunFlowTest, AnEmptyNameOrPasswordIsRefusedAndTheBarReset) {
  for (const auto& [name, password] : {std::pair("admin", ""), {"", "secret"}}) {
    ui().pbProgressBar->setRange(0, 7);
    ui().pbProgressBar->setValue(5);
    click(ui().btnStart);
    EXPECT_EQ(ui().pbProgressBar->value(), 5);
    enter(name, password);
    answerAlertAndLook();
    QTest::keyClick(panelUi().passwordField, Qt::Key_Return);
    EXPECT_EQ(message, "You'v entered invalid password.");
    EXPECT_FALSE(enabledUnderAlert);
    EXPECT_FALSE(panelUnderAlert);
    EXPECT_FALSE(ui().pbCircle->isAnimating());
    EXPECT_EQ(ports.workers.spawned(), 0U);
    EXPECT_TRUE(logTexts().empty());
    expectWorkingControls(true);
    EXPECT_EQ(ui().pbProgressBar->minimum(), 0);
    EXPECT_EQ(ui().pbProgressBar->maximum(), 100);
    EXPECT_EQ(ui().pbProgressBar->value(), 0);
  }
}

TEST_F(RunFlowTest, TheBarIsDrawnAgainEvenIfItsFigureIsTheSame) {
  ui().pbProgressBar->setRange(0, 100);
  ui().pbProgressBar->setValue(0);
  settle();
  PaintCount count(ui().pbProgressBar);
  windows->panel().hide();
  settle();
  count.paints = 0;
  answerAlert();
  controller().btnPassOk(nullptr);
  settle();
  EXPECT_GE(count.paints, 1);
}

TEST_F(RunFlowTest, AReportMovesTheBarAndNothingElse) {
  addPlayer("sdb")->setName("PLAYER");
  const auto collection = collectionOf({}, {});
  collection->setProgress(Number(37));
  controller().updateProgress(collection);
  EXPECT_EQ(ui().pbProgressBar->value(), 37);
  EXPECT_NE(tick(0)->wholeText(), QStringLiteral("PLAYER"));
}

TEST_F(RunFlowTest, TheSummaryNamesTheFailedPlayersInTaskOrder) {
  EXPECT_EQ(summaryOf({"/dev/sdd", "/dev/sdb", "/dev/sdc"}, {"/dev/sdc", "/dev/sdd"}),
            "Process Completed.\nPlayer /dev/sdd Failed in process\n"
            "Player /dev/sdc Failed in process");
  EXPECT_EQ(iconOfAlert, QMessageBox::Warning);
  EXPECT_EQ(summaryOf({"/dev/sdb", "/dev/sdc"}, {}), "Process Completed.");
  EXPECT_EQ(iconOfAlert, QMessageBox::NoIcon);
}

TEST_F(RunFlowTest, TheResultStopsTheIndicatorAndEnablesTheControlsAfterTheSummary) {
  const auto player = addPlayer("sdb");
  controller().enableView(false);
  ui().pbCircle->startAnimation();
  ui().pbProgressBar->setValue(80);
  player->setName("PLAYER");
  summaryOf({}, {});
  EXPECT_FALSE(animatingUnderAlert);
  EXPECT_FALSE(ui().pbCircle->isVisible());
  EXPECT_FALSE(enabledUnderAlert);
  expectWorkingControls(true);
  EXPECT_EQ(ui().pbProgressBar->value(), 80);
  EXPECT_EQ(tick(0)->wholeText(), QStringLiteral("PLAYER"));
  EXPECT_TRUE(logTexts().empty());
}

TEST_F(RunFlowTest, AMediumThatChangesAfterStartIsTakenWhenTheControlsAreBack) {
  const auto player = addPlayer("sdb", 4096);
  const auto sizeAfterStartWith = [&](std::int64_t size) {
    click(ui().btnStart);
    bus.changeMedium("/dev/sdb", size);
    settle();
    return player->size().value();
  };
  EXPECT_EQ(sizeAfterStartWith(8192), 4096);
  click(panelUi().btnPassCancel);
  EXPECT_EQ(player->size().value(), 8192);
  EXPECT_EQ(sizeAfterStartWith(4096), 8192);
  answerAlert();
  click(panelUi().btnPassOk);
  EXPECT_EQ(player->size().value(), 4096);
  EXPECT_EQ(sizeAfterStartWith(1024), 4096);
  summaryOf({"/dev/sdb"}, {"/dev/sdb"});
  EXPECT_EQ(player->size().value(), 1024);
}

TEST_F(RunFlowTest, WithoutATickedPlayerTheRunCompletesAtOnceAndTheFieldsAreKept) {
  addPlayer("sdb");
  enter("admin", "secret");
  for (int time = 0; time < 2; ++time) {
    ui().pbProgressBar->setValue(55);
    ports.log.clear();
    click(ui().btnStart);
    EXPECT_EQ(ui().pbProgressBar->value(), 55);
    answerAlert();
    click(panelUi().btnPassOk);
    EXPECT_EQ(ui().pbProgressBar->value(), 0);
    EXPECT_TRUE(ui().pbCircle->isAnimating());
    EXPECT_EQ(logTexts(), Texts{"\nafter task call!!!!\n"});
    expectWorkingControls(false);
    runUntil([&] { return ui().btnStart->isEnabled(); });
    EXPECT_EQ(message, "Process Completed.");
    EXPECT_TRUE(ports.disks.kinds().empty());
  }
  EXPECT_EQ(panelUi().userNameField->text(), QStringLiteral("admin"));
  EXPECT_EQ(panelUi().passwordField->text(), QStringLiteral("secret"));
}

TEST_F(RunFlowTest, TheFocusReturns) {
  const std::vector<std::function<void()>> ways = {[this] { click(panelUi().btnPassCancel); },
                                                   [this] {
                                                     answerAlert();
                                                     click(panelUi().btnPassOk);
                                                   },
                                                   [this] {
                                                     windows->panel().hide();
                                                     summaryOf({}, {});
                                                   }};
  for (const auto& leave : ways) {
    for (QWidget* before : std::initializer_list<QWidget*>{ui().cmbFileType, ui().btnStart}) {
      before->setFocus();
      controller().btnStartClick(nullptr);
      EXPECT_EQ(windows->window().focusWidget(), ui().pbProgressBar);
      leave();
      bringWindowToFront();
      EXPECT_EQ(QApplication::focusWidget(), before);
    }
  }
}

TEST_F(RunFlowTest, StartGetsTheFocusOfAPlayerThatIsGone) {
  const auto player = addPlayer("sdb");
  tick(0)->setFocus();
  controller().btnStartClick(nullptr);
  windows->players()->removeObject(*player);
  click(panelUi().btnPassCancel);
  bringWindowToFront();
  EXPECT_EQ(QApplication::focusWidget(), ui().btnStart);
}

TEST_F(RunFlowTest, TheProgressBarHasTheFocusWhileTheControlsAreOff) {
  ui().btnStart->setFocus();
  QTest::keyClick(ui().btnStart, Qt::Key_Space);
  windows->panel().hide();
  bringWindowToFront();
  EXPECT_EQ(QApplication::focusWidget(), ui().pbProgressBar);
  click(ui().tirellLinkBtn);
  EXPECT_EQ(QApplication::focusWidget(), ui().pbProgressBar);
  // By Tab it can be reached then, and only then.
  EXPECT_EQ(ui().pbProgressBar->focusPolicy(), Qt::TabFocus);
  summaryOf({}, {});
  EXPECT_EQ(ui().pbProgressBar->focusPolicy(), Qt::NoFocus);
}

TEST_F(RunFlowTest, ThePanelOpensInTheFieldThatIsToBeFilledIn) {
  EXPECT_EQ(panelUi().passwordField->echoMode(), QLineEdit::Password);
  EXPECT_EQ(panelUi().userNameField->echoMode(), QLineEdit::Normal);
  click(ui().btnStart);
  waitForActive(windows->panel());
  EXPECT_EQ(QApplication::focusWidget(), panelUi().userNameField);
  enter("admin", "secret");
  panelUi().btnPassCancel->setFocus();
  click(panelUi().btnPassCancel);
  bringWindowToFront();
  click(ui().btnStart);
  waitForActive(windows->panel());
  EXPECT_EQ(QApplication::focusWidget(), panelUi().passwordField);
  EXPECT_EQ(panelUi().passwordField->selectedText().size(), 6);
  // It comes back from the task bar as it was left.
  panelUi().userNameField->setFocus();
  QShowEvent shown;
  QSpontaneKeyEvent::setSpontaneous(&shown);
  qApp->notify(&windows->panel(), &shown);
  EXPECT_EQ(QApplication::focusWidget(), panelUi().userNameField);
}

TEST_F(RunFlowTest, ThePanelOpensOverTheMiddleOfTheWindowEveryTime) {
  for (const QPoint at : {QPoint(10, 20), QPoint(40, 70)}) {
    windows->window().move(at);
    settle();
    click(ui().btnStart);
    EXPECT_EQ(windows->panel().geometry().center(), windows->window().geometry().center());
    click(panelUi().btnPassCancel);
  }
}

TEST_F(RunFlowTest, ThePanelTakesTheKeyboardBackAndTheWindowStillGetsClicks) {
  click(ui().btnStart);
  waitForActive(windows->panel());
  windows->window().activateWindow();
  settle();
  waitForActive(windows->panel());
  click(ui().tirellLinkBtn);
  EXPECT_EQ(ports.workspace.opened.size(), 1U);
  click(panelUi().btnPassCancel);
  bringWindowToFront();
  settle();
  EXPECT_EQ(QApplication::activeWindow(), &windows->window());
}

// A run from plugging in to the summary, through the window's own controls.
class WholeRunTest : public WindowTest {
 protected:
  WholeRunTest() {
    launch();
    files.volumes.onRequest = [this](const std::string& request) {
      const std::scoped_lock guard(lock);
      requests.push_back(request);
    };
  }

  // A folder with one file is chosen; of two players the first is ticked.
  void prepare() {
    plugStick("sdb", 0x10002);
    plugStick("sdc", 0x10003);
    click(ui().btnAll);
    QTest::mouseClick(tick(1), Qt::LeftButton, {}, QPoint(8, tick(1)->height() / 2));
    const auto root = addRoot("/music", 4);
    auto file = std::make_shared<TRFile>();
    file->setPath("/music/01.mp3");
    file->setUrl(Url::fromPath("/music/01.mp3", false), false);
    file->setDestRelativeUrl(Url::withString("01.mp3"));
    file->setSize(Number(4));
    root->files()->push_back(file);
  }

  std::mutex lock;
  Texts requests;
};

// The link works all the while, and changes nothing in it.
TEST_F(WholeRunTest, APlayerThatIsTickedIsFormattedAndFilledWithTheCredentialsAsTheyWereTyped) {
  prepare();
  EXPECT_EQ(tick(0)->wholeText(), QStringLiteral("/dev/sdb (SONGS)"));
  ports.scripts.answer = [this](std::size_t, const TestScriptRunner::Call&) {
    ports.mainThread.post([this] {
      EXPECT_FALSE(ui().btnStart->isEnabled());
      click(ui().tirellLinkBtn);
    });
    return ScriptOutcome{"", {}, {}};
  };
  int barUnderAlert = -1;
  answerAlert([&](QMessageBox&) { barUnderAlert = ui().pbProgressBar->value(); });
  click(ui().btnStart);
  enter("  the  boss ", " pass  word  ");
  click(panelUi().btnPassOk);
  runUntil([&] { return ui().btnStart->isEnabled(); });
  ports.workers.join();
  EXPECT_EQ(tick(0)->wholeText(), QStringLiteral("SONGS"));
  EXPECT_EQ(message, "Process Completed.");
  EXPECT_EQ(barUnderAlert, 100);
  EXPECT_EQ(ports.workspace.opened.size(), 2U);
  EXPECT_EQ(ports.disks.kinds(), (Texts{"unmount", "mount"}));
  for (const auto& request : ports.disks.requests) {
    EXPECT_EQ(request.expected.node, "/dev/sdb");
  }
  ASSERT_EQ(ports.scripts.calls().size(), 2U);
  EXPECT_EQ(ports.scripts.calls().at(0).source,
            "do shell script \"dd if=/dev/zero of=/dev/sdb bs=4k count=10\" user name "
            "\"  the  boss \" password \" pass  word  \" with administrator privileges");
  EXPECT_NE(std::find(requests.begin(), requests.end(), "copy /music/01.mp3 -> /media/sdb/01.mp3"),
            requests.end());
  const Texts log = logTexts();
  EXPECT_EQ(std::count(log.begin(), log.end(), "\nafter task call!!!!\n"), 1);
}

// Counts the requests to stay awake.
class TestWakefulness : public Wakefulness {
 public:
  std::shared_ptr<void> keepAwake(const std::string& why) override {
    reasons.push_back(why);
    ++held;
    return {nullptr, [this](void*) { --held; }};
  }

  Texts reasons;
  int held = 0;
};

TEST_F(WholeRunTest, TheMachineIsKeptAwakeForAsLongAsItLasts) {
  TestWakefulness wakefulness;
  platform().wakefulness = &wakefulness;
  int heldInSummary = -1;
  const auto answer = [&](const char* userName) {
    click(ui().btnStart);
    enter(userName, "secret");
    answerAlert([&](QMessageBox&) { heldInSummary = wakefulness.held; });
    EXPECT_EQ(wakefulness.held, 0);
    click(panelUi().btnPassOk);
  };
  answer("");
  EXPECT_TRUE(wakefulness.reasons.empty());
  answer("admin");
  EXPECT_EQ(wakefulness.held, 1);
  EXPECT_EQ(wakefulness.reasons, Texts{"Players are being filled"});
  runUntil([&] { return ui().btnStart->isEnabled(); });
  EXPECT_EQ(heldInSummary, 0);
}

}  // namespace
}  // namespace fillstation::test
