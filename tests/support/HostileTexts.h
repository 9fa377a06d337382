#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace fillstation::test {

// A hostile text for a device, a label or a file name, and its purpose. It may contain null bytes,
// but no "/".
struct HostileText {
  std::string name;  // letters only
  std::string bytes;
};

// For messages of failing tests the name is enough.
inline void PrintTo(const HostileText& text, std::ostream* out) { *out << text.name; }

inline const std::vector<HostileText>& hostileTexts() {
  using namespace std::string_literals;
  static const std::vector<HostileText> all{
      {"Markup",
       "<b>big<\xE2\x88\x95"
       "b><img src=x><a href='y'>z&lt;&amp;<table><!--"},
      {"Mnemonics", "&A&&B&&&C&"},
      {"TurnedAround", "\u202Egpm.kcart\u202C \u2066a\u2069 \u200Fb\u200E \u061Cc \u202Bd\u202D"},
      {"Controls", "\x01\x07\x08\x1B[31mred\x1B]0;title\x07\x7F\u0085\u009B"},
      {"Lines", "one\ntwo\rthree\r\nfour\vfive\fsix\u2028seven\u2029eight"},
      {"Tabs", "\ta\t\tb\t"},
      {"Quotes", "'\"`\\'\\\"''\"\""},
      {"Shell", "; touch ran & $(touch ran) `touch ran` | touch ran > ran * ? ~ ! # ${IFS} && ||"},
      {"Options", "--help -rf -i"},
      {"Formats", "%@ %s %n %d %1 %2 %L1 %% {0}"},
      {"NoUtf8", "\xFF\xFE\xC0\x80\xED\xA0\x80\xF8\x88 a\xE2\x82"},
      {"NoCharacters", "\uFFFE\uFFFF\uFEFF\U0010FFFF"},
      {"Stacked",
       "Z\u0300\u0301\u0302\u0303\u0304\u0305\u0306\u0307\u0308\u0309\u030A\u030B\u030C"
       "\u0316\u0317\u0318\u0319\u031A\u031B\u031C\u031D\u031E\u031F\u0320\u0321\u0322"},
      {"Emoji", "\U0001F3B5\U0001F1E9\U0001F1EA\U0001F468\u200D\U0001F469\u200D\U0001F467"},
      {"Blanks", "   a   "},
      {"Wide", std::string(128, 'W')},
      {"Words",
       [] {
         std::string words;
         while (words.size() < 240) {
           words += "word ";
         }
         return words;
       }()},
      {"Cut", "before\0after"s},
  };
  return all;
}

}  // namespace fillstation::test
