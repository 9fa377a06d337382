#include "Languages.h"

#include <QDir>
#include <cstdlib>
#include <set>

#include "Room.h"
#include "Spoken.h"
#include "TRFileCopyTask.h"
#include "WindowTest.h"

namespace fillstation::test {
namespace {

std::string startText() {
  return QCoreApplication::translate("MainWindow", "&Start").toStdString();
}

TEST(LanguagesTest, TheFirstLanguageThatHasACatalogueIsSpoken) {
  for (const auto& [languages, expected] : std::initializer_list<std::pair<QString, std::string>>{
           {{}, "&Start"},
           {QStringLiteral("C"), "&Start"},
           {QStringLiteral("en-US en-Latn-US en"), "&Start"},
           {QStringLiteral("en-GB en-Latn-GB"), "&Start"},
           {QStringLiteral("en-GB de-DE"), "&Start"},
           {QStringLiteral("de-AT"), "&Starten"},
           {QStringLiteral("eo fr-CA en"), "&Démarrer"},
           {QStringLiteral("pt-BR"), "&Iniciar"},
           {QStringLiteral("pt-PT"), "&Start"},
           {QStringLiteral("zh-CN"), "开始(&S)"},
           {QStringLiteral("zh-TW"), "&Start"}}) {
    speak(languages.split(QLatin1Char(' ')));
    EXPECT_EQ(startText(), expected) << languages.toStdString();
  }
  speak({});
}

TEST(LanguagesTest, NoVariableMakesTheCLocaleAskForOne) {
  const QByteArray before = qgetenv("LC_ALL");
  ::setenv("LANGUAGE", "de", 1);
  for (const char* locale : {"C", "C.UTF-8", "POSIX"}) {
    ::setenv("LC_ALL", locale, 1);
    EXPECT_EQ(desktopLanguages(), QStringList()) << locale;
  }
  ::setenv("LC_ALL", "de_AT.UTF-8", 1);
  EXPECT_NE(desktopLanguages(), QStringList());
  ::unsetenv("LANGUAGE");
  before.isNull() ? qunsetenv("LC_ALL") : qputenv("LC_ALL", before);
}

// The window in each language that has a catalogue.
class EveryLanguageTest : public ::testing::WithParamInterface<std::string>,
                          private Spoken,
                          public WindowTest {
 protected:
  EveryLanguageTest() : Spoken(QString::fromStdString(GetParam())) {}

  // What Alt presses or reaches in a window.
  static QStringList textsWithMnemonics(const QWidget& window) {
    QStringList texts;
    for (const auto* button : window.findChildren<QPushButton*>()) {
      texts << button->text();
    }
    for (const auto* label : window.findChildren<QLabel*>()) {
      texts << (label->buddy() != nullptr ? label->text() : QString());
    }
    return texts;
  }

  static void expectEachMnemonicOnce(const QWidget& window) {
    std::set<QString> letters;
    for (const QString& text : textsWithMnemonics(window)) {
      const auto mark = text.indexOf(QLatin1Char('&'));
      EXPECT_TRUE(mark < 0 || letters.insert(text.mid(mark + 1, 1).toUpper()).second)
          << text.toStdString();
    }
    EXPECT_GE(letters.size(), 4U);
  }

  static bool areJoined(const QString& text, qsizetype first, qsizetype second) {
    const auto kind = [&text](qsizetype at) { return text.at(at).joiningType(); };
    return first >= 0 && second < text.size() && kind(first) == QChar::Joining_Dual &&
           (kind(second) == QChar::Joining_Dual || kind(second) == QChar::Joining_Right);
  }

  // Qt draws the letter with the line apart from the others, and measures them as one.
  static void expectNoWordTornApart(const QWidget& window) {
    for (const QString& text : textsWithMnemonics(window)) {
      const auto mark = text.indexOf(QLatin1Char('&'));
      EXPECT_FALSE(mark >= 0 &&
                   (areJoined(text, mark - 1, mark + 1) || areJoined(text, mark + 1, mark + 2)))
          << text.toStdString();
    }
  }
};

TEST_P(EveryLanguageTest, TheAlertsAndFiguresAreTheSame) {
  launch();
  const auto player = addPlayer("sdb", 7948206080, true);
  controller().updateFilesSize();
  EXPECT_EQ(ui().lblMaxCapSize->text(), QStringLiteral("7580 MB"));
  EXPECT_EQ(ui().lblFreeDiskSpaceLeft->text(), QStringLiteral("7580 MB"));
  ui().pbProgressBar->setValue(42);
  EXPECT_TRUE(ui().pbProgressBar->text().contains(QStringLiteral("42")));

  const auto hasItsButton = [](const QMessageBox& box) {
    EXPECT_EQ(box.button(QMessageBox::Ok)->text(), QStringLiteral("OK"));
  };
  answerAlert(hasItsButton);
  controller().btnPassOk(nullptr);
  EXPECT_EQ(message, "You'v entered invalid password.");
  const auto run = std::make_shared<TRFileCopyTaskCollection>(windows->songs()->list(), "a", "b");
  run->addPlayer(player);
  run->tasks().back()->setError(true);
  answerAlert(hasItsButton);
  controller().onCopyResult(run);
  EXPECT_EQ(message, "Process Completed.\nPlayer /dev/sdb Failed in process");
}

TEST_P(EveryLanguageTest, NothingIsCutInTheSmallestWindow) {
  launch();
  windows->window().resize(windows->window().minimumSize());
  expectRoomForEverything(windows->window());
  addPlayer("sdb", 7948206080, true);
  addRoot("/m/Book", std::int64_t{9} << 30, true, 24);
  controller().updateFilesSize();
  EXPECT_EQ(ui().lblFreeDiskSpaceLeft->text().size(), 20 + 3);
  ui().btnFailed->show();
  ui().ejectLabel->setText(
      MainWindow::tr("%1 of %n players can be unplugged.", nullptr, 12).arg(9));
  ui().ejectLabel->show();
  settle();
  expectRoomForEverything(windows->window());
  windows->window().beginRun(12);
  windows->window().close();
  expectRoomForEverything(windows->window());
  click(ui().btnStart);
  waitForActive(windows->panel());
  expectRoomForEverything(windows->panel());
}

TEST_P(EveryLanguageTest, NoTwoControlsOfAWindowHaveTheSameMnemonic) {
  expectEachMnemonicOnce(*ui().centralWidget);
  expectEachMnemonicOnce(windows->panel());
}

TEST_P(EveryLanguageTest, NoMnemonicTearsAWordApart) {
  expectNoWordTornApart(*ui().centralWidget);
  expectNoWordTornApart(windows->panel());
}

TEST_P(EveryLanguageTest, OnlyArabicIsMirrored) {
  launch();
  const bool isMirrored = ui().btnStart->x() < ui().pbProgressBar->x();
  EXPECT_EQ(isMirrored, GetParam() == "ar");
}

std::vector<std::string> spokenLanguages() {
  std::vector<std::string> languages;
  for (const QString& name : QDir(QStringLiteral(":/languages")).entryList()) {
    languages.push_back(
        name.section(QLatin1Char('_'), 1).section(QLatin1Char('.'), 0, 0).toStdString());
  }
  return languages;
}

INSTANTIATE_TEST_SUITE_P(Each, EveryLanguageTest, ::testing::ValuesIn(spokenLanguages()),
                         [](const auto& language) { return language.param; });

}  // namespace
}  // namespace fillstation::test
