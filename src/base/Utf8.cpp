#include "Utf8.h"

#include <locale.h>
#include <wctype.h>

#include <algorithm>
#include <array>
#include <bit>

namespace fillstation {
namespace {

// The length in bytes of the sequence that begins with this byte, 0 if none does.
std::size_t sequenceLength(unsigned char lead) {
  constexpr std::array<std::size_t, 9> kByLeadingOnes = {1, 0, 2, 3, 4};
  return kByLeadingOnes[static_cast<std::size_t>(std::countl_one(lead))];
}

bool isInRange(char32_t point, std::size_t length) {
  constexpr std::array<char32_t, 5> kSmallest = {0, 0, 0x80, 0x800, 0x10000};
  const bool isSurrogate = point >= 0xD800 && point <= 0xDFFF;
  return point >= kSmallest[length] && point <= 0x10FFFF && !isSurrogate;
}

// The user's own locale may know only ASCII letters. C.UTF-8 is part of every Debian system.
locale_t unicodeLocale() {
  static const locale_t kLocale = [] {
    const locale_t unicode = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    return unicode != nullptr ? unicode : ::newlocale(LC_CTYPE_MASK, "C", nullptr);
  }();
  return kLocale;
}

std::optional<std::u32string> foldCase(std::string_view text) {
  auto points = decodeUtf8(text);
  if (points) {
    for (char32_t& point : *points) {
      point = lowerCase(point);
    }
  }
  return points;
}

}  // namespace

std::optional<std::u32string> decodeUtf8(std::string_view text) {
  std::u32string points;
  points.reserve(text.size());
  while (!text.empty()) {
    const auto lead = static_cast<unsigned char>(text.front());
    const std::size_t length = sequenceLength(lead);
    if (length == 0 || length > text.size()) {
      return std::nullopt;
    }
    char32_t point = length == 1 ? lead : lead & (0x7FU >> length);
    for (const char next : text.substr(1, length - 1)) {
      const auto byte = static_cast<unsigned char>(next);
      if ((byte & 0xC0U) != 0x80) {
        return std::nullopt;
      }
      point = (point << 6U) | (byte & 0x3FU);
    }
    if (!isInRange(point, length)) {
      return std::nullopt;
    }
    points += point;
    text.remove_prefix(length);
  }
  return points;
}

std::string withoutBadUtf8(std::string_view text) {
  std::string good;
  while (!text.empty()) {
    const auto lead = static_cast<unsigned char>(text.front());
    const std::size_t length = std::max<std::size_t>(sequenceLength(lead), 1);
    const auto sequence = text.substr(0, length);
    const bool isGood = decodeUtf8(sequence).has_value();
    good += isGood ? sequence : "_";
    text.remove_prefix(isGood ? length : 1);
  }
  return good;
}

bool isAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

std::string asciiLowerCase(std::string text) {
  std::ranges::transform(text, text.begin(), lowerAscii);
  return text;
}

char32_t lowerCase(char32_t point) { return ::towlower_l(point, unicodeLocale()); }

bool equalIgnoringCase(std::string_view left, std::string_view right) {
  // A short cut: almost all file types are ASCII.
  if (isAscii(left) && isAscii(right)) {
    return std::ranges::equal(left, right, {}, lowerAscii, lowerAscii);
  }
  const auto folded = foldCase(left);
  return folded && folded == foldCase(right);
}

}  // namespace fillstation
