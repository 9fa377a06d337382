#include "Look.h"

#include <QDir>
#include <QStyle>
#include <algorithm>
#include <map>

#include "Contrast.h"
#include "ElidedLabel.h"
#include "Layout.h"
#include "TRFileCopyTask.h"
#include "WindowTest.h"

namespace fillstation::test {
namespace {

constexpr int kLongest = 200;
// The same for all, so that the pictures show the same at each run: which of several sizes counts
// depends on where they lie in memory.
constexpr std::int64_t kSize = 7948206080;
const std::vector<std::string> kLabels = {"KITCHEN", "GARAGE", "NO NAME", "ATTIC"};

// With its 256 most frequent colours, which hardly anybody sees; in a third of the bytes.
QImage inFewColours(const QImage& picture) {
  std::map<QRgb, int> counts;
  for (int y = 0; y < picture.height(); ++y) {
    for (int x = 0; x < picture.width(); ++x) {
      ++counts[picture.pixel(x, y)];
    }
  }
  QList<QRgb> colours;
  for (const auto& [colour, count] : counts) {
    colours.append(colour);
  }
  std::sort(colours.begin(), colours.end(),
            [&](QRgb one, QRgb other) { return counts[one] > counts[other]; });
  colours.resize(std::min<qsizetype>(colours.size(), 256));
  return picture.convertToFormat(QImage::Format_Indexed8, colours, Qt::ThresholdDither);
}

// The window in each of its states, as each desktop wants it. With FILLSTATION_PICTURES set to a
// folder it is also drawn there.
class LooksTest : public WindowTest, public ::testing::WithParamInterface<Look> {
 protected:
  LooksTest() {
    useColours(GetParam().colours);
    QGuiApplication::setLayoutDirection(GetParam().direction);
    launch();
    windows->window().resize(GetParam().size);
    for (int number = 0; number < GetParam().players; ++number) {
      plugIn(number);
    }
    addFolders();
    settle();
  }
  ~LooksTest() override {
    useColours(lightColours());
    QGuiApplication::setLayoutDirection(Qt::LeftToRight);
  }

  // As the desktop's colours reach the window: through its style.
  static void useColours(QPalette colours) {
    QApplication::style()->polish(colours);
    QApplication::setPalette(colours);
  }

  static std::string named(const std::string& name) {
    std::string whole = name;
    while (GetParam().longNames && whole.size() + 1 + name.size() <= kLongest) {
      whole += ' ' + name;
    }
    return whole;
  }

  void plugIn(int number) {
    const auto handle = static_cast<std::uint32_t>(0x10002 + number);
    bus.ports[handle] =
        "1-" + std::to_string(1 + number / 8) + "." + std::to_string(1 + number % 8);
    std::string disk = "/dev/sd";
    if (number >= 25) {
      disk += static_cast<char>('a' + (number - 25) / 26);
    }
    disk += static_cast<char>('a' + (number + 1) % 26);
    const auto& label = kLabels[static_cast<std::size_t>(number) % kLabels.size()];
    deliver(disk.c_str(), true, named(label).c_str(), "file:///media/x/", kSize, handle);
  }

  void addFolders() {
    if (GetParam().players > 0) {
      addRoot("/home/player/Music/" + named("The Time Machine"), 287 << 20);
      addRoot("/home/player/Music/" + named("Tales of the Sea"), 141 << 20);
    }
  }

  // Nothing in it is cut or covered; takes its picture if there is to be one.
  static void look(QWidget& top, const char* state) {
    expectRoomForEverything(top);
    const QPixmap picture = top.grab();
    const QString folder = qEnvironmentVariable("FILLSTATION_PICTURES");
    if (!folder.isEmpty()) {
      const QString name = QStringLiteral("%1-%2-%3.png")
                               .arg(QString::fromStdString(GetParam().name), QLatin1String(state))
                               .arg(qRound(picture.devicePixelRatio() * 100));
      EXPECT_TRUE(inFewColours(picture.toImage()).save(QDir(folder).filePath(name)));
    }
  }

  QRect mirrored(const QRect& place) const {
    return {windows->window().width() - place.x() - place.width(), place.y(), place.width(),
            place.height()};
  }
  void expectLinkReadable() const {
    const auto painted = ui().tirellLinkBtn->formats().at(0).format.foreground().color();
    EXPECT_GE(contrast(painted, ui().tirellLinkBtn->palette().color(QPalette::Window)), 4.5);
  }
};

TEST_P(LooksTest, Ready) {
  click(ui().btnAll);
  settle();
  look(windows->window(), "ready");
}

TEST_P(LooksTest, TheWindowIsNoLargerThanItIsWanted) {
  EXPECT_EQ(windows->window().size(), GetParam().size);
  EXPECT_LE(windows->window().minimumSizeHint().width(), 720);
  EXPECT_LE(windows->window().minimumSizeHint().height(), 480);
}

TEST_P(LooksTest, APlayerIsAsWideAsItsListAndItsTextsFitIn) {
  for (const PlayerItem* item : ui().viewPlayers->items()) {
    const auto* const facts = item->findChild<ElidedLabel*>();
    EXPECT_EQ(item->width(), ui().deviceScrollbar->viewport()->width());
    EXPECT_TRUE(item->rect().contains(item->tick()->geometry()));
    EXPECT_TRUE(item->rect().contains(facts->geometry()));
    const QFontMetrics metrics = facts->fontMetrics();
    EXPECT_LE(metrics.horizontalAdvance(facts->shownText()), facts->textRect().width());
    EXPECT_LE(metrics.horizontalAdvance(item->tick()->shownText()),
              item->tick()->width() - item->tick()->textIndent());
  }
}

TEST_P(LooksTest, TheOtherDirectionIsTheMirrorImage) {
  std::map<QWidget*, QRect> places;
  for (QWidget* control : controlsOf(windows->window())) {
    places[control] = placeOf(*control);
  }
  const bool reversed = GetParam().direction == Qt::RightToLeft;
  QGuiApplication::setLayoutDirection(reversed ? Qt::LeftToRight : Qt::RightToLeft);
  settle();
  EXPECT_GT(places.size(), 10U);
  for (const auto& [control, place] : places) {
    EXPECT_EQ(placeOf(*control), mirrored(place)) << control->objectName().toStdString();
  }
  if (GetParam().players > 0) {
    const PlayerItem* item = ui().viewPlayers->items().at(0);
    const auto* const facts = item->findChild<ElidedLabel*>();
    EXPECT_EQ(facts->textRect().left() == 0, !reversed);
  }
}

TEST_P(LooksTest, TheLinkCanBeReadAlsoWhenTheColoursChange) {
  expectLinkReadable();
  for (const auto& colours : {darkColours(), strongColours(), lightColours()}) {
    useColours(colours);
    settle();
    EXPECT_EQ(ui().tirellLinkBtn->palette().color(QPalette::Window),
              colours.color(QPalette::Window));
    expectLinkReadable();
  }
}

TEST_P(LooksTest, Asking) {
  click(ui().btnAll);
  click(ui().btnStart);
  waitForActive(windows->panel());
  QTest::keyClicks(panelUi().userNameField, "admin");
  QTest::keyClicks(panelUi().passwordField, "open sesame");
  look(windows->panel(), "asking");
  look(windows->window(), "asked");
}

TEST_P(LooksTest, Running) {
  click(ui().btnAll);
  click(ui().btnStart);
  windows->panel().hide();
  waitForActive(windows->window());
  ui().pbCircle->startAnimation();
  ui().pbProgressBar->setRange(0, 100);
  ui().pbProgressBar->setValue(42);
  settle();
  look(windows->window(), "running");
}

TEST_P(LooksTest, Summary) {
  const auto run = std::make_shared<TRFileCopyTaskCollection>(windows->songs()->list(), "a", "b");
  for (const auto& player : windows->players()->listed()) {
    run->addPlayer(player);
    run->tasks().back()->setError(run->tasks().size() % 2 == 0);
  }
  bool looked = false;
  whenever([&] {
    QMessageBox* const box = alert();
    if (box == nullptr) {
      return false;
    }
    look(*box, "summary");
    click(box->button(QMessageBox::Ok));
    looked = true;
    return true;
  });
  controller().onCopyResult(run);
  EXPECT_TRUE(looked);
}

INSTANTIATE_TEST_SUITE_P(Every, LooksTest, ::testing::ValuesIn(looks()),
                         [](const auto& look) { return look.param.name; });

}  // namespace
}  // namespace fillstation::test
