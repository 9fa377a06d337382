#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace fillstation {

// The code points of a text, none when it is not well-formed UTF-8 (overlong forms, surrogates and
// values above U+10FFFF are not).
std::optional<std::u32string> decodeUtf8(std::string_view text);

// The text with "_" in place of each byte that belongs to no well-formed sequence.
std::string withoutBadUtf8(std::string_view text);

// True when the text is pure ASCII.
bool isAscii(std::string_view text);

// The lower-case letter of an upper-case ASCII letter; any other byte unchanged.
inline char lowerAscii(char byte) {
  return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
}

// The text with ASCII letters in lower case.
std::string asciiLowerCase(std::string text);

// The lower-case form of a capital letter of any script, the same in every locale; any other code
// point unchanged.
char32_t lowerCase(char32_t point);

// True when both texts are UTF-8 and differ only in case. Letters of every script are compared,
// code point by code point, independent of the locale: "Ä" equals "ä", "ß" does not equal "SS".
bool equalIgnoringCase(std::string_view left, std::string_view right);

}  // namespace fillstation
