// The order of names beside what Qt knows of Unicode.

#include <gtest/gtest.h>

#include <QString>
#include <string>

#include "DeepWalk.h"

namespace fillstation {
namespace {

// The key without the name behind it.
std::string lettersOf(const QString& text) {
  const std::string name = text.toStdString();
  std::string key;
  appendSortKey(name, key);
  return key.substr(0, key.size() - name.size());
}

bool isOfAScriptWithAccents(char16_t letter) {
  const auto script = QChar(letter).script();
  return script == QChar::Script_Latin || script == QChar::Script_Greek ||
         script == QChar::Script_Cyrillic;
}

TEST(NameAccents, EveryLetterCountsAsItselfWithoutAccents) {
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

TEST(NameAccents, EveryCapitalCountsAsItsSmallLetter) {
  for (char16_t letter = 0; letter < 0x1F00; ++letter) {
    const QString small = QChar(letter).isUpper() ? QString(QChar(letter).toLower()) : QString();
    if (isOfAScriptWithAccents(letter) && !small.isEmpty()) {
      EXPECT_EQ(lettersOf(QString(letter)), lettersOf(small)) << qUtf8Printable(small);
    }
  }
}

}  // namespace
}  // namespace fillstation
