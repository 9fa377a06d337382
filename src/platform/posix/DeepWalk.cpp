#include "DeepWalk.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <utility>

#include "Utf8.h"

namespace fillstation {

namespace {

// A lower-case letter, followed by the letters that count as it, in the scripts that use accents.
// Blanks separate the groups.
constexpr std::u32string_view kFamilies =
    U"aàáâãäåæāăąǎǟǡǣǻǽȁȃȧḁạảấầẩẫậắằẳẵặ bƀḃḅḇ cçćĉċčḉ dðďđḋḍḏḑḓ eèéêëēĕėęěȅȇȩḕḗḙḛḝẹẻẽếềểễệ fḟ"
    U" gĝğġģǥǧǵḡ hĥħȟḣḥḧḩḫẖ iìíîïĩīĭįıǐȉȋḭḯỉị jĵǰ kķǩḱḳḵ lĺļľłḷḹḻḽ mḿṁṃ nñńņňŋǹṅṇṉṋ"
    U" oòóôõöøōŏőœơǒǫǭǿȍȏȫȭȯȱṍṏṑṓọỏốồổỗộớờởỡợ pṕṗ rŕŗřȑȓṙṛṝṟ sßśŝşšſșṡṣṥṧṩẛ tţťŧțṫṭṯṱẗ"
    U" uùúûüũūŭůűųưǔǖǘǚǜȕȗṳṵṷṹṻụủứừửữự vṽṿ wŵẁẃẅẇẉẘ xẋẍ yýÿŷȳẏẙỳỵỷỹ zźżžƶẑẓẕ ʒǯ αά εέ ηή ιΐίϊ οό"
    U" σς υΰϋύϒϓϔ ωώ аӑӓ гѓ еѐёӗ жӂӝ зӟ ийѝӣӥ кќ оӧ уўӯӱӳ чӵ ыӹ эӭ ії ѵѷ әӛ өӫ";

// By code point: the lower-case letter that it counts as, 0 for itself.
constexpr auto kPlain = [] {
  std::array<char16_t, 0x1F00> plain{};
  char32_t first = U' ';
  for (const char32_t letter : kFamilies) {
    if (first == U' ' || letter == U' ') {
      first = letter;
    } else {
      plain[letter] = static_cast<char16_t>(first);
    }
  }
  return plain;
}();

// They follow their letter, as some file systems write names.
bool isCombiningAccent(char32_t point) { return point >= 0x300 && point <= 0x36F; }

std::u32string pointsOf(std::string_view name) {
  if (auto points = decodeUtf8(name)) {
    return *std::move(points);
  }
  std::u32string points;
  for (const char byte : name) {
    points += static_cast<unsigned char>(byte);
  }
  return points;
}

// The name in small letters without accents.
std::u32string plainLetters(std::string_view name) {
  std::u32string points = pointsOf(name);
  std::erase_if(points, isCombiningAccent);
  for (char32_t& point : points) {
    point = lowerCase(point);
    if (point < kPlain.size() && kPlain[point] != 0) {
      point = kPlain[point];
    }
  }
  return points;
}

bool isDigit(char32_t sign) { return sign >= '0' && sign <= '9'; }

// A run of digits as the sign for a number, the number of digits, and the digits. A name has at
// most 255 bytes. Returns its end.
template <class Sign>
const Sign* appendNumber(const Sign* at, const Sign* end, std::string& keys) {
  const Sign* const last = std::find_if_not(at, end, isDigit);
  at = std::find_if(at, last, [](Sign digit) { return digit != '0'; });
  keys += '0';
  keys += static_cast<char>(last - at);
  keys.append(at, last);
  return last;
}

// Anything except a digit: one byte for ASCII, three higher ones for other code points.
void appendSign(char32_t sign, std::string& keys) {
  if (sign < 0x80) {
    keys += lowerAscii(static_cast<char>(sign));
  } else {
    keys += {static_cast<char>(0x80 | sign >> 16U), static_cast<char>(sign >> 8U),
             static_cast<char>(sign)};
  }
}

template <class Text>
void appendText(const Text& text, std::string& keys) {
  const auto* at = text.data();
  const auto* const end = at + text.size();
  while (at != end) {
    const auto sign = static_cast<char32_t>(*at);
    if (isDigit(sign)) {
      at = appendNumber(at, end, keys);
    } else {
      appendSign(sign, keys);
      ++at;
    }
  }
}

}  // namespace

void appendSortKey(std::string_view name, std::string& keys) {
  if (isAscii(name)) {
    appendText(name, keys);
  } else {
    appendText(plainLetters(name), keys);
  }
  // Sorts below every other first byte in a key.
  keys += '\0';
  keys += name;
}

DeepWalk::DeepWalk(std::string folder, FileManager::WalkErrorHandler onError,
                   std::function<void()> onStep)
    : path_(std::move(folder)), onError_(std::move(onError)), onStep_(std::move(onStep)) {}

std::optional<WalkEntry> DeepWalk::next() {
  if (onStep_) {
    onStep_();
  }
  if (std::exchange(enterNext_, false) && !enter()) {
    levels_.clear();
  }
  while (!levels_.empty() && levels_.back().children.empty()) {
    spare_ = std::move(levels_.back());
    levels_.pop_back();
  }
  if (levels_.empty()) {
    return std::nullopt;
  }
  Level& level = levels_.back();
  const Child& child = level.children.back();
  path_.resize(level.pathLength);
  path_ += level.nameOf(child);
  enterNext_ = child.isDirectory == true;
  WalkEntry entry{path_, child.isDirectory, child.size};
  level.children.pop_back();
  return entry;
}

bool DeepWalk::enter() {
  // The chosen folder may be a link. A folder below it that has become a link meanwhile is left
  // out.
  const int links = levels_.empty() ? 0 : O_NOFOLLOW;
  const FileHandle folder = openLongPath(path_, O_RDONLY | O_DIRECTORY | links);
  if (!folder) {
    return onError_(path_);
  }
  Level level = std::exchange(spare_, {});
  level.keys.clear();
  const bool whole = readFolder(folder, level);
  const std::string folderPath = path_;
  if (!path_.ends_with('/')) {
    path_ += '/';
  }
  level.pathLength = path_.size();
  levels_.push_back(std::move(level));
  return whole || onError_(folderPath);
}

bool DeepWalk::readFolder(const FileHandle& folder, Level& level) {
  ssize_t size = 1;
  while (size > 0) {
    size = ::getdents64(folder.get(), entries_.data(), entries_.size());
    for (ssize_t at = 0; at < size;) {
      const auto* const entry = reinterpret_cast<const dirent64*>(entries_.data() + at);
      const std::string_view name = entry->d_name;
      if (name != "." && name != "..") {
        lookAt(folder.get(), name, level);
      }
      at += entry->d_reclen;
    }
  }
  std::ranges::sort(level.children, std::greater(),
                    [&level](const Child& child) { return level.keyOf(child); });
  return size == 0;
}

void DeepWalk::lookAt(int folder, std::string_view name, Level& level) {
  if (onStep_) {
    onStep_();
  }
  Child child;
  struct stat status {};
  const bool seen = ::fstatat(folder, name.data(), &status, AT_SYMLINK_NOFOLLOW) == 0;
  if (seen && S_ISLNK(status.st_mode) &&
      (::fstatat(folder, name.data(), &status, 0) != 0 || S_ISDIR(status.st_mode))) {
    return;
  }
  if (seen) {
    child.isDirectory = S_ISDIR(status.st_mode);
    child.size = status.st_size;
  }
  child.key = level.keys.size();
  appendSortKey(name, level.keys);
  child.end = level.keys.size();
  child.name = child.end - name.size();
  level.children.push_back(child);
}

}  // namespace fillstation
