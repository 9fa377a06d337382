#include <QStyleOptionButton>

#include "ElidedLabel.h"
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
  const auto d = addPlayer("sdd");
  windows->players()->removeObject(*c);
  const auto e = addPlayer("sde");
  settle();
  ASSERT_EQ(items().size(), 3);
  EXPECT_EQ(items().at(0)->player(), b);
  EXPECT_EQ(items().at(1)->player(), d);
  EXPECT_EQ(items().at(2)->player(), e);
  EXPECT_TRUE(items().at(2)->isVisible());
  EXPECT_LT(items().at(0)->y(), items().at(1)->y());
  EXPECT_LT(items().at(1)->y(), items().at(2)->y());
  EXPECT_EQ(ui().viewPlayers->findChildren<PlayerItem*>().size(), 3);
}

TEST_F(PlayerViewTest, AnItemStaysThatOfItsPlayer) {
  addPlayer("sdb");
  addPlayer("sdc");
  const PlayerItem* second = items().at(1);
  windows->players()->removeObject(*windows->players()->listed().at(0));
  EXPECT_EQ(items().at(0), second);
}

TEST_F(PlayerViewTest, AnItemShowsNameAndTick) {
  addPlayer("sdb", 4096, true);
  addPlayer("sdc", 4096);
  EXPECT_EQ(tick(0)->wholeText(), QStringLiteral("/dev/sdb (SONGS)"));
  EXPECT_TRUE(tick(0)->isChecked());
  EXPECT_FALSE(tick(1)->isChecked());
}

TEST_F(PlayerViewTest, TheSecondLineShowsNodePortAndSize) {
  bus.ports = {{0x10002, "1-2.4"}, {0xFFFF007FU, "<b>\n"}};
  addPlayer("sdb");
  EXPECT_EQ(facts(0)->text(), QString::fromUtf8("/dev/sdb · USB 1-2.4 · 7580 MB"));
  deliver("/dev/sdc", true, "SONGS", "x", 1024, 0xFFFF007FU);
  EXPECT_EQ(facts(1)->text(), QString::fromUtf8("/dev/sdc · USB <b>\uFFFD · 1 KB"));
}

TEST_F(PlayerViewTest, ANullNameShowsEmpty) {
  const auto player = addPlayer("sdb");
  player->setName(std::nullopt);
  windows->players()->objectsChanged();
  EXPECT_EQ(tick(0)->wholeText(), QString());
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

TEST_F(PlayerViewTest, TheSpaceBarTicks) {
  const auto player = addPlayer("sdb");
  tick(0)->setFocus();
  QTest::keyClick(tick(0), Qt::Key_Space);
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

TEST_F(PlayerViewTest, ANameIsPlainTextWhateverItHolds) {
  const auto player = addPlayer("sdb");
  player->setName(
      "<b>A&B</b>\n\xE2\x80\xAE"
      "cba\xFF");
  windows->players()->objectsChanged();
  EXPECT_EQ(tick(0)->wholeText(), QString::fromUtf8("<b>A&B</b>\uFFFD\uFFFDcba\uFFFD"));
  EXPECT_EQ(tick(0)->text(), QString::fromUtf8("<b>A&&B</b>\uFFFD\uFFFDcba\uFFFD"));
  EXPECT_TRUE(tick(0)->shortcut().isEmpty());
  EXPECT_TRUE(tip(tick(0)).contains(QStringLiteral("&lt;b&gt;A&amp;B")));
  addPlayer("<i>x</i>");
  EXPECT_EQ(facts(1)->textFormat(), Qt::PlainText);
  EXPECT_TRUE(facts(1)->text().startsWith(QStringLiteral("/dev/<i>x</i> ")));
  EXPECT_TRUE(tip(facts(1)).contains(QStringLiteral("/dev/&lt;i&gt;x")));
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

TEST_F(PlayerViewTest, AShortNameIsShownWhole) {
  addPlayer("sdb");
  settle();
  EXPECT_EQ(tick(0)->shownText(), QStringLiteral("/dev/sdb (SONGS)"));
  EXPECT_EQ(facts(0)->shownText(), facts(0)->text());
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

// A mirrored window has the tick at the right, and the texts as they are written.
TEST_F(PlayerViewTest, AMirroredPlayerIsTheSameFromTheOtherSide) {
  addPlayer("sdb");
  settle();
  const int width = facts(0)->width();
  EXPECT_EQ(facts(0)->textRect(),
            QRect(QPoint(tick(0)->textIndent(), 0), QPoint(width - 1, facts(0)->height() - 1)));
  const int indent = tick(0)->textIndent();
  const QString shown = facts(0)->shownText();
  items().at(0)->setLayoutDirection(Qt::RightToLeft);
  EXPECT_EQ(tick(0)->textIndent(), indent);
  EXPECT_EQ(facts(0)->textRect(),
            QRect(QPoint(0, 0), QPoint(width - indent - 1, facts(0)->height() - 1)));
  EXPECT_EQ(facts(0)->shownText(), shown);
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

}  // namespace
}  // namespace fillstation::test
