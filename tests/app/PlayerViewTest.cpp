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
  ElidedLabel* facts(int row) const { return items().at(row)->findChild<ElidedLabel*>(); }
};

TEST_F(PlayerViewTest, AnEmptyListShowsAHint) {
  EXPECT_TRUE(hint()->isVisible());
  EXPECT_EQ(hint()->text(), QStringLiteral("Plug in a player"));
  EXPECT_EQ(hint()->alignment(), Qt::AlignCenter);
  EXPECT_EQ(hint()->foregroundRole(), QPalette::PlaceholderText);
  settle();
  EXPECT_NEAR(hint()->geometry().center().y(), ui().viewPlayers->rect().center().y(), 1);
  EXPECT_EQ(ui().viewPlayers->backgroundRole(), QPalette::Base);
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

TEST_F(PlayerViewTest, ThePlayersFillTheListFromItsTopWithoutGaps) {
  addPlayer("sdb");
  addPlayer("sdc");
  settle();
  const QWidget& first = *items().at(0);
  EXPECT_EQ(first.geometry(), QRect(QPoint(), QSize(ui().viewPlayers->width(), first.height())));
  EXPECT_EQ(items().at(1)->pos(), QPoint(0, first.height()));
  // Each is as high as its two lines and a little room.
  EXPECT_EQ(first.height(), tick(0)->height() + facts(0)->height() + 2 * 4);
  EXPECT_EQ(tick(0)->geometry().left(), 6);
  EXPECT_EQ(tick(0)->geometry().right(), first.rect().right() - 6);
  EXPECT_EQ(facts(0)->geometry().right(), tick(0)->geometry().right());
}

TEST_F(PlayerViewTest, TheSecondLineShowsNodePortAndSize) {
  bus.places = {{0x10002, {"1-2.4", "", "480"}}, {0xFFFF007FU, {"<b>\n", "", "480"}}};
  addPlayer("sdb");
  settle();
  EXPECT_EQ(tick(0)->shownText(), QStringLiteral("/dev/sdb (SONGS)"));
  EXPECT_EQ(facts(0)->shownText(), facts(0)->text());
  EXPECT_EQ(facts(0)->text(), QString::fromUtf8("USB 1-2.4 · 7580 MB"));
  EXPECT_EQ(facts(0)->textFormat(), Qt::PlainText);
  deliver("/dev/sdc", true, "SONGS", "x", 1024, 0xFFFF007FU);
  EXPECT_EQ(facts(1)->text(), QString::fromUtf8("USB <b>\uFFFD · 1 KB"));
}

TEST_F(PlayerViewTest, ANodeThatTheNameDoesNotSayASlotAndASlowLinkAreSaid) {
  bus.places = {{0x10002, {"1-2.4", "7", "12"}}};
  const auto player = addPlayer("sdb");
  EXPECT_EQ(tick(0)->wholeText(), QString::fromUtf8("Slot 7 · /dev/sdb (SONGS)"));
  EXPECT_EQ(facts(0)->text(), QString::fromUtf8("USB 1-2.4 · 7580 MB · slow: 12 Mbit/s"));
  player->setName("NO NAME");
  windows->players()->objectsChanged();
  EXPECT_EQ(tick(0)->wholeText(), QString::fromUtf8("Slot 7 · NO NAME"));
  EXPECT_TRUE(facts(0)->text().startsWith(QString::fromUtf8("/dev/sdb · USB")));
  player->setName(std::nullopt);
  windows->players()->objectsChanged();
  EXPECT_EQ(tick(0)->wholeText(), QStringLiteral("Slot 7"));
}

TEST_F(PlayerViewTest, AVolumeWithoutANameIsBlank) {
  deliver("/dev/sdb", true, nullptr);
  EXPECT_EQ(tick(0)->wholeText(), QStringLiteral("/dev/sdb (blank)"));
}

TEST_F(PlayerViewTest, AClickOnTheTickOrTheSecondLineSelectsThePlayerAndUpdatesTheSizes) {
  const auto player = addPlayer("sdb", 7948206080);
  settle();
  QTest::mouseClick(facts(0), Qt::RightButton);
  EXPECT_FALSE(player->selected().isTrue());
  for (QWidget* line : {static_cast<QWidget*>(tick(0)), static_cast<QWidget*>(facts(0))}) {
    for (const bool selected : {true, false}) {
      ports.log.clear();
      QTest::mouseClick(line, Qt::LeftButton, {}, QPoint(8, line->height() / 2));
      EXPECT_EQ(player->selected().value(), selected ? 1 : 0);
      EXPECT_EQ(tick(0)->isChecked(), selected);
      EXPECT_EQ(logTexts(),
                (Texts{"\nLog P Size 7948206080\n",
                       selected ? "\nLog xxxP Size 7948206080\n" : "\nLog xxxP Size -1\n"}));
      EXPECT_EQ(ui().lblMaxCapSize->text(), QLatin1String(selected ? "7580 MB" : "0 KB"));
    }
  }
  controller().enableView(false);
  QTest::mouseClick(facts(0), Qt::LeftButton);
  EXPECT_FALSE(player->selected().isTrue());
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
  for (const bool enabled : {true, false, true}) {
    controller().enableView(enabled);
    addPlayer("sdb");
    for (const PlayerItem* item : items()) {
      EXPECT_EQ(item->tick()->isEnabled(), enabled);
    }
  }
}

TEST_F(PlayerViewTest, TheNameAndTheSecondLineArePaintedAlignedAndFollowTheText) {
  addPlayer("sdb");
  addPlayer("sdc");
  settle();
  const auto painted = [this](int row) { return items().at(row)->grab().toImage(); };
  EXPECT_EQ(facts(0)->indent(), tick(0)->textIndent());
  EXPECT_GT(tick(0)->textIndent(), tick(0)->style()->pixelMetric(QStyle::PM_IndicatorWidth));
  const QImage before = painted(0);
  for (const auto& player : windows->players()->listed()) {
    player->setName("other");
  }
  windows->players()->objectsChanged();
  EXPECT_NE(painted(0), before);
  EXPECT_NE(painted(0), painted(1)) << "the device's name is on the second line";
}

// The second line is dimmed.
constexpr int kDark = 170;

// The text in that part of the picture, without the space around it.
QImage writingIn(const QImage& image, const QRect& part) {
  QRect written;
  for (int y = part.top(); y <= part.bottom(); ++y) {
    for (int x = part.left(); x <= part.right(); ++x) {
      if (image.pixelColor(x, y).lightness() < kDark) {
        written |= QRect(x, y, 1, 1);
      }
    }
  }
  return written.isNull() ? QImage() : image.copy(written);
}

// A slash has its foot at the left, and nothing above it.
bool beginsWithSlash(const QImage& writing) {
  bool begins = writing.pixelColor(0, writing.height() - 1).lightness() < kDark;
  for (int y = 0; y < writing.height() * 6 / 10; ++y) {
    begins = begins && writing.pixelColor(0, y).lightness() >= kDark;
  }
  return begins;
}

TEST_F(PlayerViewTest, AMirroredPlayersTextsKeepTheirDirection) {
  addPlayer("sdb")->setName("/SONGS");
  windows->players()->objectsChanged();
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

TEST_F(PlayerViewTest, TheSecondLineIsDimmedAndTheFirstIsNot) {
  addPlayer("sdb");
  settle();
  const auto darkest = [](QWidget& line) {
    const QImage image = line.grab().toImage();
    int lightness = 255;
    for (int y = 0; y < image.height(); ++y) {
      for (int x = 0; x < image.width(); ++x) {
        lightness = std::min(lightness, image.pixelColor(x, y).lightness());
      }
    }
    return lightness;
  };
  EXPECT_LT(darkest(*tick(0)), 30);
  EXPECT_GT(darkest(*facts(0)), 90);
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

  static QString changesDuring(const std::function<void()>& act) {
    Watcher watcher;
    qApp->installEventFilter(&watcher);
    act();
    qApp->removeEventFilter(&watcher);
    return watcher.changes.join(QLatin1Char(' '));
  }
};

TEST_F(EnableViewTest, SwitchesInTheGivenOrderAndTheViewLast) {
  launch();
  addPlayer("sdb");
  tick(0)->setObjectName(QStringLiteral("tick"));
  for (const bool enabled : {false, true}) {
    EXPECT_EQ(changesDuring([&] { controller().enableView(enabled); }),
              QStringLiteral("btnStart btnBrowse lstFiles btnAll btnNone btnEject tick"));
  }
}

TEST_F(EnableViewTest, DrillsChildrenBeforeTheirParentInTheirOrderAndNotTheViewItself) {
  QWidget view;
  const QObject notAView(&view);
  QWidget one(&view);
  QWidget oneOne(&one);
  QWidget oneOneOne(&oneOne);
  QWidget two(&view);
  for (const auto& [widget, name] : {std::pair(&view, "btn"),
                                     {&one, "btn1"},
                                     {&oneOne, "btn11"},
                                     {&oneOneOne, "btn111"},
                                     {&two, "btn2"}}) {
    widget->setObjectName(QLatin1String(name));
  }
  EXPECT_EQ(changesDuring([&] { controller().drillSubViews(&view, false); }),
            QStringLiteral("btn111 btn11 btn1 btn2"));
  controller().drillSubViews(&view, true);
  EXPECT_TRUE(oneOneOne.isEnabled() && two.isEnabled());
}

}  // namespace
}  // namespace fillstation::test
