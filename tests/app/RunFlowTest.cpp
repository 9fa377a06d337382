#include <QEvent>
#include <QShowEvent>

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

  void enter(const char* userName, const char* password) {
    panelUi().userNameField->setText(QString::fromLatin1(userName));
    panelUi().passwordField->setText(QString::fromLatin1(password));
  }
  // Clicks the alert away and keeps its text.
  void answerAlert() {
    whenever([this] {
      QMessageBox* box = alert();
      if (box == nullptr) {
        return false;
      }
      message = box->text().toStdString();
      enabledUnderAlert = ui().btnStart->isEnabled();
      panelUnderAlert = windows->panel().isVisible();
      animatingUnderAlert = ui().pbCircle->isAnimating();
      click(box->button(QMessageBox::Ok));
      return true;
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
    answerAlert();
    controller().onCopyResult(collectionOf(disks, failing));
    return message;
  }
  std::vector<QWidget*> workingControls() const {
    return {ui().btnStart, ui().btnBrowse, ui().lstFiles, ui().btnAll, ui().btnNone, ui().btnEject};
  }
  void expectWorkingControls(bool enabled) const {
    for (const QWidget* control : workingControls()) {
      EXPECT_EQ(control->isEnabled(), enabled) << control->objectName().toStdString();
    }
    for (const PlayerItem* item : ui().viewPlayers->items()) {
      EXPECT_EQ(item->tick()->isEnabled(), enabled);
    }
    EXPECT_TRUE(ui().cmbFileType->isEnabled());
    EXPECT_TRUE(ui().tirellLinkBtn->isEnabled());
    EXPECT_TRUE(ui().viewPlayers->isEnabled());
  }

  std::string message;
  bool enabledUnderAlert = true;
  bool panelUnderAlert = true;
  bool animatingUnderAlert = true;
};

TEST_F(RunFlowTest, StartDisablesTheWorkingControlsAndShowsThePanel) {
  addPlayer("sdb");
  expectWorkingControls(true);
  click(ui().btnStart);
  expectWorkingControls(false);
  EXPECT_TRUE(windows->panel().isVisible());
  waitForActive(windows->panel());
  EXPECT_FALSE(windows->panel().isModal());
  EXPECT_TRUE(logTexts().empty());
}

TEST_F(RunFlowTest, StartWorksWithoutPlayersAndFiles) {
  click(ui().btnStart);
  EXPECT_TRUE(windows->panel().isVisible());
}

TEST_F(RunFlowTest, CancelEnablesExactlyWhatStartDisabledAndSaysSo) {
  addPlayer("sdb");
  click(ui().btnStart);
  click(panelUi().btnPassCancel);
  expectWorkingControls(true);
  EXPECT_FALSE(windows->panel().isVisible());
  EXPECT_EQ(logTexts(), Texts{"\nSelection !\n"});
}

TEST_F(RunFlowTest, EscapeInThePanelIsCancel) {
  click(ui().btnStart);
  QTest::keyClick(panelUi().userNameField, Qt::Key_Escape);
  expectWorkingControls(true);
  EXPECT_FALSE(windows->panel().isVisible());
  EXPECT_EQ(logTexts(), Texts{"\nSelection !\n"});
}

TEST_F(RunFlowTest, ThePanelsCloseButtonIsCancel) {
  click(ui().btnStart);
  windows->panel().close();
  expectWorkingControls(true);
  EXPECT_FALSE(windows->panel().isVisible());
  EXPECT_EQ(logTexts(), Texts{"\nSelection !\n"});
  EXPECT_EQ(endings, 0);
}

TEST_F(RunFlowTest, AnEmptyPasswordIsRefused) {
  click(ui().btnStart);
  enter("admin", "");
  answerAlert();
  click(panelUi().btnPassOk);
  EXPECT_EQ(message, "You'v entered invalid password.");
  EXPECT_FALSE(enabledUnderAlert);
  EXPECT_FALSE(panelUnderAlert);
  EXPECT_FALSE(ui().pbCircle->isAnimating());
  EXPECT_EQ(ports.workers.spawned(), 0U);
  EXPECT_TRUE(logTexts().empty());
  expectWorkingControls(true);
}

TEST_F(RunFlowTest, AnEmptyUserNameIsRefusedWithTheSameWords) {
  click(ui().btnStart);
  enter("", "secret");
  answerAlert();
  click(panelUi().btnPassOk);
  EXPECT_EQ(message, "You'v entered invalid password.");
  EXPECT_EQ(ports.workers.spawned(), 0U);
  expectWorkingControls(true);
}

TEST_F(RunFlowTest, TheBarIsResetWhenOkIsPressedAndNotBefore) {
  ui().pbProgressBar->setRange(0, 7);
  ui().pbProgressBar->setValue(5);
  click(ui().btnStart);
  EXPECT_EQ(ui().pbProgressBar->value(), 5);
  answerAlert();
  click(panelUi().btnPassOk);
  EXPECT_EQ(ui().pbProgressBar->minimum(), 0);
  EXPECT_EQ(ui().pbProgressBar->maximum(), 100);
  EXPECT_EQ(ui().pbProgressBar->value(), 0);
}

TEST_F(RunFlowTest, TheBarIsDrawnAnewEvenWhenItsFigureIsTheSame) {
  ui().pbProgressBar->setRange(0, 100);
  ui().pbProgressBar->setValue(0);
  settle();
  struct PaintCounter : QObject {
    bool eventFilter(QObject* /*receiver*/, QEvent* event) override {
      paints += event->type() == QEvent::Paint ? 1 : 0;
      return false;
    }
    int paints = 0;
  } counter;
  ui().pbProgressBar->installEventFilter(&counter);
  windows->panel().hide();
  settle();
  counter.paints = 0;
  answerAlert();
  controller().btnPassOk(nullptr);
  settle();
  EXPECT_GE(counter.paints, 1);
}

TEST_F(RunFlowTest, ProgressMovesTheBarAndReadsTheNamesAnew) {
  const auto player = addPlayer("sdb");
  const auto collection = collectionOf({}, {});
  collection->setProgress(Number(37));
  player->setName("PLAYER");
  controller().updateProgress(collection);
  EXPECT_EQ(ui().pbProgressBar->value(), 37);
  EXPECT_EQ(tick(0)->wholeText(), QStringLiteral("PLAYER"));
}

TEST_F(RunFlowTest, AReportOfTheFigureThatIsShownTouchesNothing) {
  const auto player = addPlayer("sdb");
  const auto collection = collectionOf({}, {});
  collection->setProgress(Number(37));
  controller().updateProgress(collection);
  player->setName("PLAYER");
  controller().updateProgress(collection);
  EXPECT_NE(tick(0)->wholeText(), QStringLiteral("PLAYER"));
  collection->setProgress(Number(38));
  controller().updateProgress(collection);
  EXPECT_EQ(tick(0)->wholeText(), QStringLiteral("PLAYER"));
  EXPECT_EQ(ui().pbProgressBar->value(), 38);
}

TEST_F(RunFlowTest, TwoOfThreeFailedAreNamedInTaskOrder) {
  EXPECT_EQ(summaryOf({"/dev/sdd", "/dev/sdb", "/dev/sdc"}, {"/dev/sdc", "/dev/sdd"}),
            "Process Completed.\nPlayer /dev/sdd Failed in process\n"
            "Player /dev/sdc Failed in process");
}

TEST_F(RunFlowTest, WhenAllSucceedTheOpeningLineStandsAlone) {
  EXPECT_EQ(summaryOf({"/dev/sdb", "/dev/sdc"}, {}), "Process Completed.");
}

TEST_F(RunFlowTest, WhenAllFailTheOpeningLineStays) {
  EXPECT_EQ(summaryOf({"/dev/sdb"}, {"/dev/sdb"}),
            "Process Completed.\nPlayer /dev/sdb Failed in process");
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

TEST_F(RunFlowTest, TheFieldsAreNotClearedBetweenRuns) {
  enter("admin", "secret");
  click(ui().btnStart);
  answerAlert();
  click(panelUi().btnPassOk);
  runUntil([&] { return ui().btnStart->isEnabled(); });
  EXPECT_EQ(panelUi().userNameField->text(), QStringLiteral("admin"));
  EXPECT_EQ(panelUi().passwordField->text(), QStringLiteral("secret"));
  ui().pbProgressBar->setValue(55);
  click(ui().btnStart);
  EXPECT_EQ(ui().pbProgressBar->value(), 55);
  message.clear();
  answerAlert();
  click(panelUi().btnPassOk);
  EXPECT_EQ(ui().pbProgressBar->value(), 0);
  runUntil([&] { return ui().btnStart->isEnabled(); });
  EXPECT_EQ(message, "Process Completed.");
}

TEST_F(RunFlowTest, WithoutATickedPlayerTheRunCompletesAtOnce) {
  addPlayer("sdb");
  enter("admin", "secret");
  click(ui().btnStart);
  answerAlert();
  click(panelUi().btnPassOk);
  EXPECT_TRUE(ui().pbCircle->isAnimating());
  EXPECT_EQ(logTexts(), Texts{"\nafter task call!!!!\n"});
  expectWorkingControls(false);
  runUntil([&] { return ui().btnStart->isEnabled(); });
  EXPECT_EQ(message, "Process Completed.");
  EXPECT_TRUE(ports.disks.kinds().empty());
}

TEST_F(RunFlowTest, ReturnInThePanelIsOk) {
  click(ui().btnStart);
  answerAlert();
  QTest::keyClick(panelUi().passwordField, Qt::Key_Return);
  EXPECT_EQ(message, "You'v entered invalid password.");
}

TEST_F(RunFlowTest, CancelGivesTheFocusBack) {
  ui().btnStart->setFocus();
  QTest::keyClick(ui().btnStart, Qt::Key_Space);
  click(panelUi().btnPassCancel);
  bringWindowToFront();
  EXPECT_EQ(QApplication::focusWidget(), ui().btnStart);
  ui().cmbFileType->setFocus();
  click(ui().btnStart);
  EXPECT_EQ(windows->window().focusWidget(), ui().pbProgressBar);
}

TEST_F(RunFlowTest, RefusedCredentialsGiveTheFocusBackToWhereItWas) {
  ui().cmbFileType->setFocus();
  controller().btnStartClick(nullptr);
  answerAlert();
  click(panelUi().btnPassOk);
  bringWindowToFront();
  EXPECT_EQ(QApplication::focusWidget(), ui().cmbFileType);
}

TEST_F(RunFlowTest, TheSummaryGivesTheFocusBack) {
  ui().lstFiles->setFocus();
  controller().btnStartClick(nullptr);
  windows->panel().hide();
  summaryOf({}, {});
  bringWindowToFront();
  EXPECT_EQ(QApplication::focusWidget(), ui().lstFiles);
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
}

TEST_F(RunFlowTest, ThePanelComesBackFromTheTaskBarAsItWasLeft) {
  enter("admin", "secret");
  click(ui().btnStart);
  waitForActive(windows->panel());
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

TEST_F(RunFlowTest, ThePasswordIsHidden) {
  EXPECT_EQ(panelUi().passwordField->echoMode(), QLineEdit::Password);
  EXPECT_EQ(panelUi().userNameField->echoMode(), QLineEdit::Normal);
}

}  // namespace
}  // namespace fillstation::test
