#include <QFileDialog>
#include <QWindow>

#include "WindowTest.h"

namespace fillstation::test {
namespace {

class StartUpTest : public WindowTest {
 protected:
  // A player that is present, but whose disk is only found at the third look: the registration
  // pauses.
  void plugSlowStick() {
    const auto stick = makeStick("sdb", 0x10005);
    stick->search = [](std::size_t look) {
      return look > 2 ? std::optional<std::string>("sdb") : std::nullopt;
    };
    bus.plug(stick);
  }
};

TEST_F(StartUpTest, TheControlsAreSetUpBeforeTheRegistrationPauses) {
  TRAttributedString title = ui().tirellLinkBtn->attributedTitle();
  EXPECT_EQ(title.text, QStringLiteral("Home page"));
  title.attributes.setProperty(QTextFormat::UserProperty, 7);
  ui().tirellLinkBtn->setAttributedTitle(title);
  title.attributes.setForeground(QColor(Qt::blue));
  title.attributes.setFontUnderline(true);
  EXPECT_TRUE(ui().pbCircle->isDisplayedWhenStopped());
  EXPECT_NE(ui().deviceScrollbar->verticalScrollBarPolicy(), Qt::ScrollBarAlwaysOn);
  EXPECT_FALSE(ui().tirellLinkBtn->isEnabled());
  EXPECT_EQ(ui().cmbFileType->currentIndex(), -1);
  std::size_t pauses = 0;
  ports.clock.onSleep = [&](std::size_t) {
    ++pauses;
    EXPECT_FALSE(ui().pbCircle->isDisplayedWhenStopped());
    EXPECT_FALSE(ui().pbCircle->isVisible());
    EXPECT_EQ(ui().deviceScrollbar->verticalScrollBarPolicy(), Qt::ScrollBarAlwaysOn);
    EXPECT_EQ(ui().tirellLinkBtn->attributedTitle(), title);
    EXPECT_TRUE(ui().tirellLinkBtn->isEnabled());
    EXPECT_EQ(ui().cmbFileType->currentIndex(), 0);
    EXPECT_EQ(ui().cmbFileType->currentText(), QStringLiteral("mp3"));
  };
  plugSlowStick();
  launch();
  EXPECT_EQ(pauses, 2U);
}

TEST_F(StartUpTest, TheFileTypesAreOfferedInTheirOrder) {
  QStringList types;
  for (int at = 0; at < ui().cmbFileType->count(); ++at) {
    types.append(ui().cmbFileType->itemText(at));
  }
  EXPECT_EQ(types.join(QLatin1Char(' ')), QStringLiteral("mp3 wma wav m4a aac flac ogg opus"));
  EXPECT_TRUE(ui().cmbFileType->isEditable());
  EXPECT_EQ(ui().cmbFileType->completer(), nullptr);
}

TEST_F(StartUpTest, PlayersAreListedFromTheLaunchUntilTheyLeave) {
  bus.plug(makeStick("sdb", 0x10005));
  bus.plug(makeStick("sdc", 0x10006));
  launch();
  EXPECT_EQ(listedDisks(), (Texts{"/dev/sdb", "/dev/sdc"}));
  const auto stick = plugStick("sdd");
  EXPECT_EQ(listedDisks(), (Texts{"/dev/sdb", "/dev/sdc", "/dev/sdd"}));
  const StdCapture out(stdout);
  bus.unplug(stick);
  runUntil([&] { return listedDisks().size() == 2; });
}

TEST_F(StartUpTest, TheModulesFileViewIsTheTableOfTheFileList) {
  EXPECT_EQ(fileView, nullptr);
  EXPECT_EQ(clickedRow, -1);
  launch();
  EXPECT_EQ(fileView.get(), ui().lstFiles);
  windows.reset();
  EXPECT_EQ(fileView, nullptr);
}

TEST_F(StartUpTest, TheWindowIsAliveDuringAPauseAndARightClickFindsNoRow) {
  addRoot("/music/a", 5);
  showWindow();
  std::size_t clicks = 0;
  Texts shown{"not asked"};
  ports.clock.onSleep = [&](std::size_t number) {
    if (number == 1) {
      ++clicks;
      rightClickRow(0);
      shown = menuTexts();
    }
    click(ui().tirellLinkBtn);
  };
  plugSlowStick();
  launchQuietly();
  EXPECT_EQ(clicks, 1U);
  EXPECT_EQ(clickedRow, -1);
  EXPECT_EQ(shown, Texts{});
  EXPECT_EQ(ports.workspace.opened.size(), ports.clock.sleeps().size());
  rightClickRow(0);
  EXPECT_EQ(clickedRow, 0);
}

TEST_F(StartUpTest, TheLinkOpensTheHomePage) {
  launch();
  click(ui().tirellLinkBtn);
  EXPECT_EQ(ports.workspace.opened, Texts{kHomePage});
  EXPECT_EQ(std::string(kHomePage).substr(0, 8), "https://");
}

TEST_F(StartUpTest, EveryOutletIsConnected) {
  const TRAppDelegate& fields = controller();
  EXPECT_EQ(fields.playerController(), windows->players());
  EXPECT_EQ(fields.filesController(), windows->roots());
  EXPECT_EQ(fields.songsTVC(), windows->songs());
  EXPECT_EQ(fields.window(), &windows->window());
  EXPECT_EQ(fields.wndPasswordDialog(), &windows->panel());
  EXPECT_EQ(fields.userNameField(), panelUi().userNameField);
  EXPECT_EQ(fields.passwordField(), panelUi().passwordField);
  EXPECT_EQ(fields.fileView(), ui().viewPlayers);
  EXPECT_EQ(fields.playersSelectionBox(), ui().playersSelectionBox);
  EXPECT_EQ(fields.viewPlayers(), ui().viewPlayers);
  EXPECT_EQ(ui().deviceScrollbar->widget(), ui().viewPlayers);
  EXPECT_TRUE(ui().playersSelectionBox->isAncestorOf(ui().viewPlayers));
  EXPECT_FALSE(fields.minPlayerSize());
  EXPECT_NE(windows->players()->arrangedObjects(), nullptr);
  EXPECT_NE(windows->roots()->arrangedObjects(), nullptr);
  // They don't hold the window.
  const auto kept = windows->delegate();
  windows.reset();
  EXPECT_EQ(kept->playerController(), nullptr);
  EXPECT_EQ(kept->filesController(), nullptr);
  EXPECT_EQ(kept->songsTVC(), nullptr);
  EXPECT_EQ(kept->btnStart(), nullptr);
  EXPECT_EQ(kept->songsTVCContextMenu(), nullptr);
}

class ClosingTest : public WindowTest {
 protected:
  ClosingTest() { launch(); }

  // As the desktop closes a window.
  void closeWindow() {
    visibleAtTheEnd = -1;
    platform().endProgram = [this] {
      ++endings;
      visibleAtTheEnd = 0;
      for (const QWidget* window : QApplication::topLevelWidgets()) {
        visibleAtTheEnd += window->isVisible() ? 1 : 0;
      }
      ports.end();
    };
    windows->window().windowHandle()->close();
    runUntil([this] { return visibleAtTheEnd >= 0; });
  }
  void expectEnded() {
    EXPECT_EQ(endings, 1);
    EXPECT_EQ(visibleAtTheEnd, 0);
    EXPECT_FALSE(windows->window().isVisible());
  }

  int visibleAtTheEnd = -1;
};

TEST_F(ClosingTest, AMinimisedWindowComesBackToTheFront) {
  windows->window().showMinimized();
  windows->window().comeToFront();
  EXPECT_FALSE(windows->window().isMinimized());
  waitForActive(windows->window());
}

TEST_F(ClosingTest, TheDialogThatIsOpenComesToTheFrontWithItsWindow) {
  click(ui().btnStart);
  QWidget other;
  other.show();
  other.activateWindow();
  waitForActive(other);
  windows->window().comeToFront();
  waitForActive(windows->panel());
}

TEST_F(ClosingTest, DuringAWaitForAVolume) {
  auto stick = makeStick("sdb", 0x10002);
  ports.disks.byName["sdb"]->describe = [](std::size_t) {
    return describedAs(std::nullopt, std::nullopt);
  };
  ports.clock.onSleep = [this](std::size_t number) {
    if (number == 1) {
      closeWindow();
    }
  };
  {
    const StdCapture out(stdout);
    bus.plug(stick);
    runUntil([&] { return endings == 1; });
  }
  expectEnded();
  // The next pause returned at once and ended the lookup.
  EXPECT_EQ(ports.clock.sleeps().size(), 2U);
}

TEST_F(ClosingTest, UnderTheOpenPanel) {
  whenever([this] {
    const auto* dialog = windows->window().findChild<QFileDialog*>();
    if (dialog == nullptr || !dialog->isVisible()) {
      return false;
    }
    closeWindow();
    return true;
  });
  click(ui().btnBrowse);
  expectEnded();
}

}  // namespace
}  // namespace fillstation::test
