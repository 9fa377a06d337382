#include "ProbeWidget.h"
#include "WindowTest.h"

namespace fillstation::test {
namespace {

class EnableViewTest : public WindowTest {
 protected:
  // Writes down which object changes its enabled state, in order.
  QStringList changes;

  struct Watcher : QObject {
    explicit Watcher(EnableViewTest& test) : test_(test) {}
    bool eventFilter(QObject* receiver, QEvent* event) override {
      if (event->type() == QEvent::EnabledChange && !receiver->objectName().isEmpty()) {
        test_.changes.append(receiver->objectName());
      }
      return false;
    }
    EnableViewTest& test_;
  };

  QString changesOf(bool enabled) {
    Watcher watcher(*this);
    changes.clear();
    qApp->installEventFilter(&watcher);
    controller().enableView(enabled);
    qApp->removeEventFilter(&watcher);
    QStringList ours;
    for (const QString& name : changes) {
      if (name.startsWith(QStringLiteral("btn")) || name == QStringLiteral("lstFiles") ||
          name == QStringLiteral("tick")) {
        ours.append(name);
      }
    }
    return ours.join(QLatin1Char(' '));
  }
};

TEST_F(EnableViewTest, SwitchesInTheGivenOrderAndTheViewLast) {
  launch();
  addPlayer("sdb");
  tick(0)->setObjectName(QStringLiteral("tick"));
  const QString order = QStringLiteral("btnStart btnBrowse lstFiles btnAll btnNone btnEject tick");
  EXPECT_EQ(changesOf(false), order);
  EXPECT_EQ(changesOf(true), order);
}

TEST_F(EnableViewTest, DrillsChildrenBeforeTheirParentInTheirOrder) {
  QWidget view;
  QStringList calls;
  ProbeWidget first(QStringLiteral("first"), calls, &view);
  ProbeWidget firstChild(QStringLiteral("first.child"), calls, &first);
  ProbeWidget grandChild(QStringLiteral("first.child.child"), calls, &firstChild);
  ProbeWidget second(QStringLiteral("second"), calls, &view);
  controller().drillSubViews(&view, false);
  EXPECT_EQ(calls.join(QLatin1Char(',')),
            QStringLiteral("first.child.child off,first.child off,first off,second off"));
  calls.clear();
  controller().drillSubViews(&view, true);
  EXPECT_EQ(calls.join(QLatin1Char(',')),
            QStringLiteral("first.child.child on,first.child on,first on,second on"));
}

TEST_F(EnableViewTest, DoesntSwitchTheViewItself) {
  QStringList calls;
  ProbeWidget view(QStringLiteral("view"), calls, nullptr);
  QObject notAView(&view);
  controller().drillSubViews(&view, false);
  EXPECT_TRUE(calls.isEmpty());
}

TEST_F(EnableViewTest, EveryControlInsideTakesTheState) {
  launch();
  addPlayer("sdb");
  for (const bool enabled : {false, true}) {
    controller().enableView(enabled);
    for (const QWidget* inside : ui().viewPlayers->findChildren<QWidget*>()) {
      EXPECT_EQ(inside->isEnabled(), enabled);
    }
    EXPECT_TRUE(ui().viewPlayers->isEnabled());
  }
}

TEST_F(EnableViewTest, ShortcutsFollowTheStateOfTheirControl) {
  launch();
  controller().enableView(false);
  QTest::keyClick(&windows->window(), Qt::Key_S, Qt::AltModifier);
  EXPECT_FALSE(ui().btnStart->isDown());
  controller().enableView(true);
  QTest::keyClick(&windows->window(), Qt::Key_S, Qt::AltModifier);
  EXPECT_TRUE(ui().btnStart->isDown());
}

}  // namespace
}  // namespace fillstation::test
