#include <gtest/gtest.h>

#include <QString>
#include <clocale>
#include <map>
#include <string>
#include <vector>

#include "DeepWalk.h"

namespace fillstation {
namespace {

std::string keyOf(const std::string& name) {
  std::string key;
  appendSortKey(name, key);
  return key;
}

// Each name comes before all that follow it, and none before itself.
void expectOrder(const std::vector<std::string>& names) {
  for (std::size_t left = 0; left < names.size(); ++left) {
    for (std::size_t right = 0; right < names.size(); ++right) {
      EXPECT_EQ(keyOf(names[left]) < keyOf(names[right]), left < right)
          << names[left] << " and " << names[right];
    }
  }
}

TEST(NameOrder, NumbersCountByValueAndLeadingZerosDecideATie) {
  expectOrder({"0", "1", "2", "9", "10", "11", "99", "100"});
  expectOrder({"a1b", "a2a", "a2b", "a10a", "b1"});
  expectOrder({"1.2.10", "1.10.2", "1.10.3"});
  expectOrder({"99999999999999999999998", "99999999999999999999999", "100000000000000000000000"});
  expectOrder({std::string(254, '9'), std::string(255, '1')});
  expectOrder({"0", "00", "007", "07", "7", "008", "8", "010", "10"});
  expectOrder({"01 a", "1 a", "01 b", "1 b", "02 a"});
  // After other scripts, and each at the place of its digits.
  expectOrder({"Übung 2", "übung 2", "Übung 10"});
  expectOrder({"第2回", "第10回", "第10部"});
  expectOrder({"", " 1", "-1", "/", "0", "5", ":", "A", "a", "a/", "a5", "a:"});
  expectOrder({"a", "a ", "a0", "a00b", "a0b", "aa", "ab"});
}

TEST(NameOrder, CaseAndAccentsCountOnlyBetweenNamesThatAreAlikeOtherwise) {
  expectOrder({"TRACK 1", "Track 1", "track 1", "Track 2", "track 10"});
  expectOrder({"a.mp3", "B.mp3", "b.mp3", "C.mp3"});
  expectOrder({"Мир", "мир", "Песня", "песня"});
  expectOrder({"Ubar", "Über", "Uhr"});
  expectOrder({"Elan", "elan", "Élan", "élan", "Elba"});
  expectOrder({"Ngo", "Nguyễn", "Nha"});
  expectOrder({"Łódź", "Log", "Lotus"});
  expectOrder({"Άλφα", "αλφα", "Βήτα"});
  expectOrder({"еж", "ёж", "ель", "иод", "йод"});
  // An accent may be a separate character after its letter.
  expectOrder({"Ubar", "U\u0308ber 1", "Über 1", "U\u0308ber 2", "Über 2", "Uhr"});
  expectOrder({"a\u0300a", "a\u036Fa", "ab", "a\u02FFa", "a\u0370a"});
}

TEST(NameOrder, OtherScriptsFollowAsciiAndInvalidUtf8CountsAsLatin1) {
  expectOrder({"~", "\u0080", "\u0081", "ө", "ա", "א", "あ", "ア", "音", "\uFFFD", "\U0001F3B5"});
  expectOrder({"Ubar", "Über", "\xDC\x62\x65r", "Uhr", "\x80"});
  expectOrder({"\xf0\x9f\x8e", "\xff\xfe", "Z"});
}

TEST(NameOrder, NoLocaleChangesIt) {
  for (const char* locale : {"C.UTF-8", "C"}) {
    std::setlocale(LC_ALL, locale);
    expectOrder({"a", "ä", "B", "b"});
  }
}

// Keys are compared as texts, so all that is left to show is that no two names share one.
TEST(NameOrder, NoTwoNamesHaveTheSameKey) {
  const std::vector<std::string> pieces = {"a",  "A",    "ä",    "a\u0308", "1",  "01", "10",
                                           "00", "\xe4", "\xff", "б",       "ア", ".",  "\x01"};
  std::vector<std::string> names = {""};
  for (int length = 1; length <= 2; ++length) {
    for (std::size_t index = 0, end = names.size(); index < end; ++index) {
      for (const auto& piece : pieces) {
        names.push_back(names[index] + piece);
      }
    }
  }
  std::map<std::string, std::string> nameOf;
  for (const auto& name : names) {
    EXPECT_EQ(nameOf.emplace(keyOf(name), name).first->second, name);
  }
}

// The key without the name behind it, of a text as Qt knows it.
std::string lettersOf(const QString& text) {
  const std::string name = text.toStdString();
  const std::string key = keyOf(name);
  return key.substr(0, key.size() - name.size());
}

bool isOfAScriptWithAccents(char16_t letter) {
  const auto script = QChar(letter).script();
  return script == QChar::Script_Latin || script == QChar::Script_Greek ||
         script == QChar::Script_Cyrillic;
}

TEST(NameOrder, EveryLetterCountsAsItselfWithoutAccents) {
  int accented = 0;
  for (char16_t letter = 0x80; letter < 0x1F00; ++letter) {
    const QString whole(letter);
    const QString apart = whole.normalized(QString::NormalizationForm_D);
    if (isOfAScriptWithAccents(letter) && apart.size() > 1) {
      ++accented;
      EXPECT_EQ(lettersOf(whole), lettersOf(apart.left(1).toLower())) << qUtf8Printable(whole);
      EXPECT_EQ(lettersOf(whole), lettersOf(apart)) << qUtf8Printable(whole);
    }
  }
  EXPECT_GT(accented, 500);
}

TEST(NameOrder, EveryCapitalCountsAsItsSmallLetter) {
  for (char16_t letter = 0; letter < 0x1F00; ++letter) {
    const QString small = QChar(letter).isUpper() ? QString(QChar(letter).toLower()) : QString();
    if (isOfAScriptWithAccents(letter) && !small.isEmpty()) {
      EXPECT_EQ(lettersOf(QString(letter)), lettersOf(small)) << qUtf8Printable(small);
    }
  }
}

}  // namespace
}  // namespace fillstation
