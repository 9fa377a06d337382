#include "FatNames.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <optional>
#include <utility>

#include "Format.h"
#include "Utf8.h"

namespace fillstation {
namespace {

constexpr std::size_t kLongestName = 255;  // UTF-16 units
constexpr std::size_t kUnitsPerSlot = 13;
constexpr std::size_t kLongestBase = 8;  // of a short name
constexpr std::size_t kLongestExtension = 3;

// The characters above ASCII that short names can hold: code page 437, the kernel's default.
constexpr std::u32string_view kCodePage =
    U"ÇüéâäàåçêëèïîìÄÅÉæÆôöòûùÿÖÜ¢£¥₧ƒáíóúñÑªº¿⌐¬½¼¡«»░▒▓│┤╡╢╖╕╣║╗╝╜╛┐└┴┬├─┼╞╟╚╔╩╦╠═╬╧╨╤╥╙╘╒╓╫╪┘┌█▄"
    U"▌▐▀"
    U"αßΓπΣσµτΦΘΩδ∞φε∩≡±≥≤⌠⌡÷≈°∙·√ⁿ²■\u00A0";
// Those of them that have an upper and a lower case.
constexpr std::array<std::array<std::string_view, 2>, 10> kCases{{{"Ü", "ü"},
                                                                  {"É", "é"},
                                                                  {"Ä", "ä"},
                                                                  {"Å", "å"},
                                                                  {"Ç", "ç"},
                                                                  {"Æ", "æ"},
                                                                  {"Ö", "ö"},
                                                                  {"Ñ", "ñ"},
                                                                  {"Σ", "σ"},
                                                                  {"Φ", "φ"}}};

bool isForbidden(char32_t point) {
  switch (point) {
    case U':':
    case U'?':
    case U'*':
    case U'<':
    case U'>':
    case U'|':
    case U'"':
    case U'\\':
      return true;
    default:
      return point < 0x20;
  }
}

std::size_t unitsOf(std::u32string_view points) {
  return points.size() +
         static_cast<std::size_t>(std::count_if(points.begin(), points.end(),
                                                [](char32_t point) { return point > 0xFFFF; }));
}

bool isOfShortNames(char32_t point) {
  return (point < 0x80 && std::isalnum(static_cast<int>(point)) != 0) ||
         std::u32string_view(U"!#$%&'()-@^_`{}~\x7F").find(point) != std::u32string_view::npos ||
         kCodePage.find(point) != std::u32string_view::npos;
}

bool isShortPart(std::u32string_view part, std::size_t longest) {
  return !part.empty() && part.size() <= longest && std::ranges::all_of(part, isOfShortNames);
}

// Whether the short name equals the name, ignoring case.
bool isShort(std::u32string_view name) {
  const auto dot = std::min(name.rfind(U'.'), name.size());
  return isShortPart(name.substr(0, dot), kLongestBase) &&
         (dot == name.size() || isShortPart(name.substr(dot + 1), kLongestExtension));
}

}  // namespace

std::string_view fatName(std::string_view name) {
  return name.substr(0, name.find_last_not_of('.') + 1);
}

int fatNameError(std::string_view name) {
  const std::string_view kept = fatName(name);
  const auto points = decodeUtf8(std::string(kept));
  if (kept.empty()) {
    return ENOENT;
  }
  if (!points) {
    return EINVAL;
  }
  if (unitsOf(*points) > kLongestName) {
    return ENAMETOOLONG;
  }
  const bool isBad = kept.back() == ' ' || std::any_of(points->begin(), points->end(), isForbidden);
  return isBad ? EINVAL : 0;
}

std::string fatFolded(std::string_view name) {
  std::string same = asciiLowerCase(std::string(fatName(name)));
  const auto points = isAscii(same) ? std::nullopt : decodeUtf8(same);
  if (points && isShort(*points)) {
    for (const auto& [large, small] : kCases) {
      same = replaced(std::move(same), large, small);
    }
  }
  return same;
}

std::int64_t fatSlots(std::string_view name) {
  const std::string kept(fatName(name));
  const auto points = decodeUtf8(kept).value_or(U"");
  const bool isLarge = isAscii(kept) && std::ranges::none_of(kept, [](char letter) {
                         return letter >= 'a' && letter <= 'z';
                       });
  if (isLarge && isShort(points)) {
    return 1;
  }
  return static_cast<std::int64_t>((unitsOf(points) + kUnitsPerSlot - 1) / kUnitsPerSlot + 1);
}

}  // namespace fillstation
