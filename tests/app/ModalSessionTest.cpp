#include "ModalSession.h"

#include <QScrollArea>
#include <QScrollBar>

#include "WindowStyle.h"
#include "WindowTest.h"

namespace fillstation::test {
namespace {

class ModalSessionTest : public WindowTest {
 protected:
  ModalSessionTest() { launch(); }

  // Runs an alert; acts while it is up, then dismisses it.
  void duringAlert(const std::function<void(QMessageBox&)>& act, const std::string& text = "Text") {
    bool acted = false;
    whenever([&] {
      QMessageBox* box = alert();
      if (box == nullptr || QApplication::activeWindow() != box) {
        return false;
      }
      act(*box);
      acted = true;
      box->close();
      return true;
    });
    Alert::run(&windows->window(), text);
    EXPECT_TRUE(acted);
  }
};

TEST_F(ModalSessionTest, AnAlertHasItsTextAndOneButton) {
  duringAlert([](const QMessageBox& box) {
    EXPECT_EQ(box.text(), QStringLiteral("Text"));
    EXPECT_EQ(box.textFormat(), Qt::PlainText);
    EXPECT_EQ(box.textInteractionFlags(), Qt::TextSelectableByMouse);
    EXPECT_EQ(box.windowTitle(), QApplication::applicationDisplayName());
    ASSERT_EQ(box.buttons().size(), 1);
    EXPECT_EQ(box.buttons().at(0)->text().remove(QLatin1Char('&')), QStringLiteral("OK"));
    EXPECT_TRUE(box.buttons().at(0)->icon().isNull());
    const int side = box.style()->pixelMetric(QStyle::PM_MessageBoxIconSize);
    EXPECT_EQ(box.iconPixmap().toImage(), programPicture(side, 1).toImage());
  });
}

TEST_F(ModalSessionTest, ALongAlertScrollsByKeysTooSoThatItsButtonStaysOnTheScreen) {
  std::string text = "Process Completed.";
  for (int line = 0; line < 60; ++line) {
    text += "\nPlayer /dev/sd" + std::to_string(line) + " Failed in process";
  }
  const QString twelve = QStringLiteral("a\n").repeated(11) + QLatin1Char('a');
  EXPECT_EQ(Alert(nullptr, twelve).findChild<QScrollArea*>(), nullptr);
  EXPECT_NE(Alert(nullptr, twelve + QStringLiteral("\na")).findChild<QScrollArea*>(), nullptr);
  duringAlert(
      [&](QMessageBox& box) {
        settle();
        EXPECT_LT(box.height(), 480);
        const auto* scroll = box.findChild<QScrollArea*>();
        ASSERT_NE(scroll, nullptr);
        const auto* label = qobject_cast<QLabel*>(scroll->widget());
        ASSERT_NE(label, nullptr);
        EXPECT_EQ(label->text(), QString::fromStdString(text));
        EXPECT_GE(scroll->viewport()->width(), label->minimumSizeHint().width());
        EXPECT_GE(label->height(), 61 * label->fontMetrics().lineSpacing());
        EXPECT_EQ(scroll->height(), 12 * box.fontMetrics().lineSpacing());
        EXPECT_TRUE(label->alignment().testFlag(Qt::AlignTop));
        EXPECT_EQ(scroll->frameShape(), QFrame::NoFrame);
        const int room = label->fontMetrics().lineSpacing() / 4;
        EXPECT_EQ(label->contentsMargins(), QMargins(room, 0, room, 0));
        const auto* bar = scroll->verticalScrollBar();
        waitForActive(box);
        ASSERT_EQ(QApplication::focusWidget(), box.button(QMessageBox::Ok));
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_PageDown);
        EXPECT_EQ(bar->value(), bar->pageStep());
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_PageUp);
        EXPECT_EQ(bar->value(), 0);
      },
      text);
}

TEST_F(ModalSessionTest, AnAlertThatTheDesktopHidesGoesOn) {
  bool hasLooked = false;
  bool isStillUp = false;
  whenever([&] {
    QMessageBox* const box = alert();
    if (box == nullptr) {
      return false;
    }
    QHideEvent hidden;
    QSpontaneKeyEvent::setSpontaneous(&hidden);
    qApp->notify(box, &hidden);
    whenever([&] {
      hasLooked = true;
      isStillUp = alert() != nullptr;
      if (isStillUp) {
        alert()->close();
      }
      return true;
    });
    return true;
  });
  Alert::run(&windows->window(), "Text");
  runUntil([&] { return hasLooked; });
  EXPECT_TRUE(isStillUp);
}

TEST_F(ModalSessionTest, ReturnAndEscapeDismissAnAlert) {
  for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Escape}) {
    duringAlert([=](QMessageBox& box) {
      QTest::keyClick(&box, key);
      EXPECT_FALSE(box.isVisible());
    });
  }
}

TEST_F(ModalSessionTest, InputToOtherWindowsIsSwallowed) {
  const auto player = addPlayer("sdb");
  duringAlert([&](QMessageBox& box) {
    click(ui().btnAll);
    EXPECT_FALSE(player->selected().isTrue());
    QTest::mouseDClick(tick(0), Qt::LeftButton);
    QTest::keyClick(tick(0), Qt::Key_Space);
    EXPECT_FALSE(tick(0)->isChecked());
    QTest::keyClick(ui().cmbFileType->lineEdit(), Qt::Key_X);
    EXPECT_EQ(ui().cmbFileType->currentText(), QStringLiteral("mp3"));
    EXPECT_FALSE(box.isModal());
  });
  click(ui().btnAll);
  EXPECT_TRUE(player->selected().isTrue());
}

TEST_F(ModalSessionTest, AClickOnAnotherWindowBringsTheDialogBackAndAKeyDoesNot) {
  duringAlert([&](const QMessageBox& box) {
    windows->window().activateWindow();
    waitForActive(windows->window());
    QTest::keyClick(ui().btnAll, Qt::Key_Space);
    settle();
    EXPECT_NE(QApplication::activeWindow(), &box);
    click(ui().btnAll);
    waitForActive(box);
  });
}

TEST_F(ModalSessionTest, OpenPopUpsAreClosedAndPopUpsOfTheDialogWork) {
  addRoot("/a", 1);
  settle();
  rightClickRow(0);
  EXPECT_NE(QApplication::activePopupWidget(), nullptr);
  duringAlert([&](QMessageBox& box) {
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
    QMenu menu(&box);
    int triggered = 0;
    QObject::connect(menu.addAction(QStringLiteral("one")), &QAction::triggered,
                     [&] { ++triggered; });
    menu.popup(box.pos());
    QTest::keyClick(&menu, Qt::Key_Down);
    QTest::keyClick(&menu, Qt::Key_Return);
    EXPECT_EQ(triggered, 1);
  });
}

TEST_F(ModalSessionTest, UsbEventsWaitWhileAnAlertIsUpAndHandOversRun) {
  bus.calls.clear();
  const StdCapture out(stdout);
  duringAlert([&](const QMessageBox&) {
    bus.plug(makeStick("sdb", 0x10002));
    bool handedOver = false;
    ports.mainThread.post([&] { handedOver = true; });
    runUntil([&] { return handedOver; });
    settle();
    EXPECT_EQ(bus.calls, Texts{"hold"});
    EXPECT_TRUE(listedDisks().empty());
  });
  EXPECT_EQ(bus.calls, (Texts{"hold", "resume"}));
  runUntil([&] { return listedDisks() == Texts{"/dev/sdb"}; });
}

}  // namespace
}  // namespace fillstation::test
