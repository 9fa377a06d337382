#include <QStyleOptionButton>

#include "ProbeWidget.h"
#include "WindowTest.h"

namespace fillstation::test {
namespace {

class PlayerViewTest : public WindowTest {
 protected:
  PlayerViewTest() { launch(); }

  const QList<PlayerItem*>& items() const { return ui().viewPlayers->items(); }
  QLabel* hint() const {
    return ui().viewPlayers->findChild<QLabel*>(QString(), Qt::FindDirectChildrenOnly);
  }
  // A tool tip without the places where its lines may break.
  static QString tip(const QWidget* widget) { return widget->toolTip().remove(QChar(0x200B)); }
  ElidedLabel* facts(int row) const { return items().at(row)->findChild<ElidedLabel*>(); }
};

TEST_F(PlayerViewTest, AnEmptyListSaysWhatToDo) {
  EXPECT_TRUE(hint()->isVisible());
  EXPECT_EQ(hint()->text(), QStringLiteral("Plug in a player"));
  const auto player = addPlayer("sdb");
  EXPECT_FALSE(hint()->isVisible());
  windows->players()->removeObject(*player);
  EXPECT_TRUE(hint()->isVisible());
}

TEST_F(PlayerViewTest, ThereIsOneItemPerPlayerInListOrder) {
  const auto b = addPlayer("sdb");
  const auto c = addPlayer("sdc");
  const auto d = addPlayer("sdd", 4096, true);
  const PlayerItem* const itemOfD = items().at(2);
  windows->players()->removeObject(*c);
  const auto e = addPlayer("sde");
  settle();
  ASSERT_EQ(items().size(), 3);
  EXPECT_EQ(items().at(0)->player(), b);
  EXPECT_EQ(items().at(1)->player(), d);
  EXPECT_EQ(items().at(1), itemOfD);
  EXPECT_TRUE(tick(1)->isChecked());
  EXPECT_FALSE(tick(2)->isChecked());
  EXPECT_EQ(items().at(2)->player(), e);
  EXPECT_TRUE(items().at(2)->isVisible());
  EXPECT_LT(items().at(0)->y(), items().at(1)->y());
  EXPECT_LT(items().at(1)->y(), items().at(2)->y());
  EXPECT_EQ(ui().viewPlayers->findChildren<PlayerItem*>().size(), 3);
}

TEST_F(PlayerViewTest, TheSecondLineShowsNodePortAndSize) {
  bus.ports = {{0x10002, "1-2.4"}, {0xFFFF007FU, "<b>\n"}};
  addPlayer("sdb");
  settle();
  EXPECT_EQ(tick(0)->shownText(), QStringLiteral("/dev/sdb (SONGS)"));
  EXPECT_EQ(facts(0)->shownText(), facts(0)->text());
  EXPECT_EQ(facts(0)->text(), QString::fromUtf8("/dev/sdb · USB 1-2.4 · 7580 MB"));
  EXPECT_EQ(facts(0)->textFormat(), Qt::PlainText);
  deliver("/dev/sdc", true, "SONGS", "x", 1024, 0xFFFF007FU);
  EXPECT_EQ(facts(1)->text(), QString::fromUtf8("/dev/sdc · USB <b>\uFFFD · 1 KB"));
}

TEST_F(PlayerViewTest, ClickingATickSelectsThePlayerAndUpdatesTheSizes) {
  const auto player = addPlayer("sdb", 7948206080);
  ports.log.clear();
  QTest::mouseClick(tick(0), Qt::LeftButton, {}, QPoint(8, tick(0)->height() / 2));
  EXPECT_EQ(player->selected().value(), 1);
  EXPECT_EQ(logTexts(), (Texts{"\nLog P Size 7948206080\n", "\nLog xxxP Size 7948206080\n"}));
  EXPECT_EQ(ui().lblMaxCapSize->text(), QStringLiteral("7580 MB"));
  QTest::mouseClick(tick(0), Qt::LeftButton, {}, QPoint(8, tick(0)->height() / 2));
  ASSERT_TRUE(player->selected());
  EXPECT_EQ(player->selected().value(), 0);
  EXPECT_EQ(ui().lblMaxCapSize->text(), QStringLiteral("0 KB"));
}

TEST_F(PlayerViewTest, AClickOnTheSecondLineTicks) {
  const auto player = addPlayer("sdb");
  settle();
  ports.log.clear();
  QTest::mouseClick(facts(0), Qt::RightButton);
  EXPECT_FALSE(player->selected().isTrue());
  QTest::mouseClick(facts(0), Qt::LeftButton);
  EXPECT_TRUE(player->selected().isTrue());
  EXPECT_TRUE(tick(0)->isChecked());
  EXPECT_EQ(logTexts(), (Texts{"\nLog P Size 7948206080\n", "\nLog xxxP Size 7948206080\n"}));
  controller().enableView(false);
  QTest::mouseClick(facts(0), Qt::LeftButton);
  EXPECT_TRUE(player->selected().isTrue());
}

TEST_F(PlayerViewTest, ShowingATickFromTheListChangesNothing) {
  const auto player = addPlayer("sdb");
  ports.log.clear();
  player->setSelected(Number(5));
  windows->players()->objectsChanged();
  EXPECT_TRUE(tick(0)->isChecked());
  EXPECT_EQ(player->selected().value(), 5);
  EXPECT_TRUE(logTexts().empty());
}

TEST_F(PlayerViewTest, AnItemMadeWhileTheControlsAreOffStartsOff) {
  addPlayer("sdb");
  controller().enableView(false);
  addPlayer("sdc");
  EXPECT_FALSE(tick(1)->isEnabled());
  controller().enableView(true);
  EXPECT_TRUE(tick(0)->isEnabled());
  EXPECT_TRUE(tick(1)->isEnabled());
  addPlayer("sdd");
  EXPECT_TRUE(tick(2)->isEnabled());
}

TEST_F(PlayerViewTest, ALongNameIsCutAndWholeInItsToolTip) {
  windows->window().resize(720, 480);
  const std::string name(200, 'W');
  const auto player = addPlayer(name);
  player->setName(name);
  windows->players()->objectsChanged();
  settle();
  EXPECT_LE(items().at(0)->width(), ui().deviceScrollbar->viewport()->width());
  EXPECT_LE(tick(0)->geometry().right(), ui().deviceScrollbar->viewport()->width());
  for (const QString& shown : {tick(0)->shownText(), facts(0)->shownText()}) {
    EXPECT_TRUE(shown.contains(QChar(0x2026))) << shown.toStdString();
    EXPECT_LE(tick(0)->fontMetrics().horizontalAdvance(shown),
              tick(0)->width() - tick(0)->textIndent());
  }
  EXPECT_TRUE(tip(tick(0)).contains(QString::fromStdString(name)));
  EXPECT_TRUE(tip(facts(0)).contains(QString::fromStdString(name)));
  EXPECT_EQ(windows->window().size(), QSize(720, 480));
}

TEST_F(PlayerViewTest, TheNameAndTheSecondLineArePaintedAlignedAndFollowTheText) {
  const auto player = addPlayer("sdb");
  settle();
  const QImage before = items().at(0)->grab().toImage();
  EXPECT_EQ(facts(0)->indent(), tick(0)->textIndent());
  QStyleOptionButton option;
  option.initFrom(tick(0));
  EXPECT_EQ(tick(0)->textIndent(),
            tick(0)->style()->subElementRect(QStyle::SE_CheckBoxContents, &option, tick(0)).x());
  EXPECT_GT(tick(0)->textIndent(), tick(0)->style()->pixelMetric(QStyle::PM_IndicatorWidth));
  player->setName("other");
  windows->players()->objectsChanged();
  settle();
  const QImage named = items().at(0)->grab().toImage();
  EXPECT_NE(before, named);
  const auto other = addPlayer("sdc", 1);
  other->setName("other");
  windows->players()->objectsChanged();
  settle();
  EXPECT_NE(named, items().at(1)->grab().toImage());
}

// What is written in that part of the picture, without the empty space around it.
QImage writingIn(const QImage& image, const QRect& part) {
  QRect written;
  for (int y = part.top(); y <= part.bottom(); ++y) {
    for (int x = part.left(); x <= part.right(); ++x) {
      if (image.pixelColor(x, y).lightness() < 128) {
        written |= QRect(x, y, 1, 1);
      }
    }
  }
  return written.isNull() ? QImage() : image.copy(written);
}

// A slash has its foot at the left, and nothing above it.
bool beginsWithSlash(const QImage& writing) {
  bool begins = writing.pixelColor(0, writing.height() - 1).lightness() < 128;
  for (int y = 0; y < writing.height() * 6 / 10; ++y) {
    begins = begins && writing.pixelColor(0, y).lightness() >= 128;
  }
  return begins;
}

TEST_F(PlayerViewTest, AMirroredPlayersTextsAreWrittenAsEver) {
  addPlayer("sdb");
  for (const auto direction : {Qt::RightToLeft, Qt::LeftToRight}) {
    QGuiApplication::setLayoutDirection(direction);
    settle();
    for (QWidget* line : {static_cast<QWidget*>(tick(0)), static_cast<QWidget*>(facts(0))}) {
      const int indent = tick(0)->textIndent();
      const QImage shown = line->grab().toImage();
      const bool mirrored = direction == Qt::RightToLeft;
      const QRect texts =
          line->rect().adjusted(mirrored ? 0 : indent, 0, mirrored ? -indent : 0, 0);
      EXPECT_TRUE(beginsWithSlash(writingIn(shown, texts))) << line->metaObject()->className();
      // It begins where the tick is.
      const QRect far(mirrored ? 0 : line->width() - 40, 0, 40, line->height());
      EXPECT_TRUE(writingIn(shown, far).isNull()) << line->metaObject()->className();
    }
  }
}

TEST_F(PlayerViewTest, SixtyPlayersScrollInsteadOfGrowingTheWindow) {
  windows->window().resize(720, 480);
  for (int number = 0; number < 60; ++number) {
    addPlayer("sd" + std::to_string(number), number + 1, true);
  }
  settle();
  EXPECT_EQ(items().size(), 60);
  EXPECT_EQ(windows->window().size(), QSize(720, 480));
  EXPECT_GT(ui().viewPlayers->height(), ui().deviceScrollbar->viewport()->height());
  EXPECT_EQ(ui().deviceScrollbar->horizontalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
  tick(59)->setFocus(Qt::TabFocusReason);
  ui().deviceScrollbar->ensureWidgetVisible(tick(59));
  QTest::mouseClick(tick(59), Qt::LeftButton, {}, QPoint(8, tick(59)->height() / 2));
  EXPECT_FALSE(windows->players()->listed().at(59)->selected().isTrue());
}

class EnableViewTest : public WindowTest {
 protected:
  // Writes down which control changes its enabled state, in order.
  struct Watcher : QObject {
    bool eventFilter(QObject* receiver, QEvent* event) override {
      const QString name = receiver->objectName();
      const bool isOurs = name.startsWith(QStringLiteral("btn")) ||
                          name == QStringLiteral("lstFiles") || name == QStringLiteral("tick");
      if (event->type() == QEvent::EnabledChange && isOurs) {
        changes.append(name);
      }
      return false;
    }
    QStringList changes;
  };

  QString changesOf(bool enabled) {
    Watcher watcher;
    qApp->installEventFilter(&watcher);
    controller().enableView(enabled);
    qApp->removeEventFilter(&watcher);
    return watcher.changes.join(QLatin1Char(' '));
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

TEST_F(EnableViewTest, DrillsChildrenBeforeTheirParentInTheirOrderAndNotTheViewItself) {
  QStringList calls;
  ProbeWidget view(QStringLiteral("view"), calls, nullptr);
  const QObject notAView(&view);
  ProbeWidget first(QStringLiteral("first"), calls, &view);
  ProbeWidget firstChild(QStringLiteral("first.child"), calls, &first);
  ProbeWidget grandChild(QStringLiteral("first.child.child"), calls, &firstChild);
  ProbeWidget second(QStringLiteral("second"), calls, &view);
  for (const char* state : {"off", "on"}) {
    calls.clear();
    controller().drillSubViews(&view, state == std::string("on"));
    EXPECT_EQ(calls.join(QLatin1Char(' ')),
              QStringLiteral("first.child.child %1 first.child %1 first %1 second %1")
                  .arg(QLatin1String(state)));
  }
}

}  // namespace
}  // namespace fillstation::test
