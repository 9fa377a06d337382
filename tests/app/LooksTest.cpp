#include <QDir>
#include <QStyle>
#include <algorithm>
#include <map>
#include <ostream>

#include "DarkColours.h"
#include "Room.h"
#include "Spoken.h"
#include "TRFileCopyTask.h"
#include "WindowTest.h"

namespace fillstation::test {
namespace {

// One way in which the desktop can want the window, and how full it is.
struct Look {
  std::string name;
  QPalette colours;
  Qt::LayoutDirection direction;
  QSize size;  // of the window, before the desktop's scaling
  int players;
  bool longNames;
  const char* language = "";
};

constexpr QSize kUsual(1000, 620);
constexpr QSize kSmallest(720, 480);
constexpr QSize kLarge(1400, 900);

QPalette lightColours() {
  QPalette colours(QColor(239, 239, 239), QColor(239, 239, 239));
  colours.setColor(QPalette::Base, Qt::white);
  colours.setColor(QPalette::AlternateBase, QColor(247, 247, 247));
  colours.setColor(QPalette::Highlight, QColor(48, 140, 198));
  colours.setColor(QPalette::HighlightedText, Qt::white);
  setDisabledText(colours, QColor(190, 190, 190));
  return colours;
}

// Black, white and yellow, for people with low vision.
QPalette strongColours() {
  QPalette colours(Qt::white, Qt::black, Qt::white, Qt::gray, Qt::lightGray, Qt::white, Qt::white,
                   Qt::black, Qt::black);
  colours.setColor(QPalette::AlternateBase, QColor(25, 25, 25));
  colours.setColor(QPalette::Highlight, Qt::yellow);
  colours.setColor(QPalette::HighlightedText, Qt::black);
  setDisabledText(colours, QColor(160, 160, 160));
  return colours;
}

// For GoogleTest's messages.
void PrintTo(const Look& look, std::ostream* stream) { *stream << look.name; }

// The appearances in which every state of the window is checked.
std::vector<Look> looks() {
  const auto light = lightColours();
  const auto dark = darkColours();
  const auto strong = strongColours();
  return {
      {"Light", light, Qt::LeftToRight, kUsual, 4, false},
      {"Twelve", light, Qt::LeftToRight, kUsual, 12, false},
      {"Smallest", light, Qt::LeftToRight, kSmallest, 4, false},
      {"Large", light, Qt::LeftToRight, kLarge, 4, false},
      {"Empty", light, Qt::LeftToRight, kSmallest, 0, false},
      {"Dark", dark, Qt::LeftToRight, kUsual, 4, false},
      {"DarkSmallest", dark, Qt::LeftToRight, kSmallest, 60, true},
      {"Strong", strong, Qt::LeftToRight, kUsual, 4, false},
      {"StrongReversed", strong, Qt::RightToLeft, kSmallest, 60, true},
      {"Reversed", light, Qt::RightToLeft, kUsual, 4, false},
      {"ReversedSmallest", light, Qt::RightToLeft, kSmallest, 60, true},
      {"Sixty", light, Qt::LeftToRight, kUsual, 60, false},
      {"SixtyLong", light, Qt::LeftToRight, kSmallest, 60, true},
      {"SixtyLongLarge", light, Qt::LeftToRight, kLarge, 60, true},
      {"Longer", light, Qt::LeftToRight, kUsual, 12, false, "longer"},
      {"LongerSmallest", light, Qt::LeftToRight, kSmallest, 4, false, "longer"},
      {"LongerEmpty", light, Qt::LeftToRight, kSmallest, 0, false, "longer"},
      {"German", light, Qt::LeftToRight, kUsual, 12, false, "de"},
      {"Japanese", light, Qt::LeftToRight, kUsual, 12, false, "ja"},
      {"Arabic", light, Qt::RightToLeft, kUsual, 12, false, "ar"},
  };
}

constexpr int kLongest = 200;
// The same for all, so that the pictures show the same at each run: which of several sizes counts
// depends on where they lie in memory.
constexpr std::int64_t kSize = 7948206080;
constexpr const char* kFormatted = "NO NAME";
const std::vector<std::string> kLabels = {"KITCHEN", "GARAGE", kFormatted, "ATTIC"};

// With its 256 most frequent colours: hardly visible, and a third of the bytes.
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
class LooksTest : public ::testing::WithParamInterface<Look>, private Spoken, public WindowTest {
 protected:
  LooksTest() : Spoken(QString::fromLatin1(GetParam().language)) {
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
    bus.places[handle].port =
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
      addRoot("/home/player/Music/" + named("The Time Machine"), 287 << 20, true, 24);
      addRoot("/home/player/Music/" + named("Tales of the Sea"), 141 << 20, true, 12);
    }
  }

  // Checks that nothing is cut or covered; takes a picture if asked to.
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

  // Every player in another step.
  std::shared_ptr<TRFileCopyTaskCollection> aRun() const {
    auto run = std::make_shared<TRFileCopyTaskCollection>(windows->songs()->list(), "a", "b");
    int number = 0;
    for (const auto& player : windows->players()->listed()) {
      run->addPlayer(player);
      const auto task = run->tasks().back();
      const auto steps = {Step::kCopy, Step::kCopy, Step::kWaiting, Step::kFormat, Step::kCheck};
      const Step step = *(steps.begin() + number % 5);
      task->begin(step);
      if (step > Step::kFormat) {
        player->setName(kFormatted);
      }
      task->setCurrentProgress(number % 5 == 4 ? 100 : number % 5 < 2 ? 17 + 29 * number % 80 : 0);
      ++number;
    }
    return run;
  }

  QRect mirrored(const QRect& place) const {
    return {windows->window().width() - place.x() - place.width(), place.y(), place.width(),
            place.height()};
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
    EXPECT_TRUE(GetParam().longNames || facts->shownText() == facts->text());
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
  emit controller().runBegan(aRun()->tasks());
  ui().pbProgressBar->setRange(0, 100);
  ui().pbProgressBar->setValue(42);
  settle();
  look(windows->window(), "running");
  windows->window().close();
  look(windows->window(), "closing");
}

TEST_P(LooksTest, AfterARun) {
  click(ui().btnAll);
  const auto run = aRun();
  for (std::size_t number = 1; number < run->tasks().size(); number += 6) {
    run->tasks()[number]->setError(true);
  }
  for (const auto& player : windows->players()->listed()) {
    player->setName(kFormatted);
  }
  emit controller().runBegan(run->tasks());
  ui().pbProgressBar->setRange(0, 100);
  ui().pbProgressBar->setValue(100);
  answerAlert();
  controller().onCopyResult(run);
  settle();
  look(windows->window(), "afterARun");
  ui().ejectLabel->setText(
      MainWindow::tr("%1 of %n players can be unplugged.", nullptr, 12).arg(11));
  ui().ejectLabel->show();
  settle();
  look(windows->window(), "ejected");
}

TEST_P(LooksTest, Summary) {
  const auto run = std::make_shared<TRFileCopyTaskCollection>(windows->songs()->list(), "a", "b");
  for (const auto& player : windows->players()->listed()) {
    run->addPlayer(player);
    run->tasks().back()->setError(run->tasks().size() % 2 == 0);
  }
  answerAlert([](QMessageBox& box) { look(box, "summary"); });
  controller().onCopyResult(run);
  EXPECT_NE(message, "");
}

INSTANTIATE_TEST_SUITE_P(Every, LooksTest, ::testing::ValuesIn(looks()),
                         [](const auto& look) { return look.param.name; });

}  // namespace
}  // namespace fillstation::test
