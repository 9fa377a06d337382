#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "FatCheck.h"
#include "FatNames.h"
#include "FileHandle.h"
#include "Format.h"

// Compares the prediction about names before a run with the kernel's FAT32. The argument is the
// path of a mounted, empty volume; tests/vm/scenarios_contract.py provides one.

namespace fillstation {
namespace {

constexpr int kFolders = 100;
constexpr std::size_t kNamesOfAFolder = 100;
constexpr std::uint64_t kSeed = 2026;
constexpr int kMostTold = 20;

std::string& volume() {
  static std::string path;
  return path;
}

// Makes it; 0 or the errno. A file isn't opened for writing, since closing that would sleep.
int errorOfMaking(const std::string& path, bool isDirectory) {
  const std::string whole = volume() + '/' + path;
  if (isDirectory) {
    return ::mkdir(whole.c_str(), 0777) == 0 ? 0 : errno;
  }
  const FileHandle file(::open(whole.c_str(), O_RDONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
  return file ? 0 : errno;
}

std::shared_ptr<TRFile> nodeOf(const std::string& path, bool isDirectory) {
  auto node = std::make_shared<TRFile>();
  node->setIsDir(isDirectory);
  node->setSize(Number(0));
  const std::string address = Url::fromPath('/' + path, isDirectory).absoluteString();
  node->setDestRelativeUrl(Url::withString(address.substr(std::string("file:///").size())));
  return node;
}

// The errno with which the kernel should refuse it.
int errorOf(const FatRefusal& refused) {
  switch (refused.reason) {
    case FatReason::kName:
      return fatNameError(refused.path.substr(refused.path.rfind('/') + 1));
    case FatReason::kSamePlace:
      return EEXIST;
    default:
      return ENOSPC;
  }
}

// A folder of the volume and the names in it, each once, in the order in which they are made.
class Folder {
 public:
  explicit Folder(std::string name) : path_(std::move(name)) { addNode(path_, true); }

  // False when it has that name already.
  bool add(const std::string& name) {
    if (std::find(paths_.begin(), paths_.end(), path_ + '/' + name) != paths_.end()) {
      return false;
    }
    addNode(path_ + '/' + name, false);
    return true;
  }

  // The folder itself is the first one.
  const std::vector<std::string>& paths() const { return paths_; }

  // The errno of each, 0 for success: predicted, and from the kernel.
  std::vector<int> predicted() const {
    auto root = std::make_shared<TRFile>();
    root->setIsDir(true);
    root->setFiles(nodes_);
    std::map<std::string, int> errors;
    for (const auto& refused : refusedByFat({root}, [] { return false; })) {
      errors[refused.path] = errorOf(refused);
    }
    std::vector<int> all;
    for (const auto& path : paths_) {
      const auto found = errors.find(path);
      all.push_back(found == errors.end() ? 0 : found->second);
    }
    return all;
  }
  std::vector<int> seen() const {
    std::vector<int> all;
    for (const auto& path : paths_) {
      all.push_back(errorOfMaking(path, all.empty()));
    }
    return all;
  }

 private:
  void addNode(const std::string& path, bool isDirectory) {
    paths_.push_back(path);
    nodes_->push_back(nodeOf(path, isDirectory));
  }

  std::string path_;
  std::vector<std::string> paths_;
  std::shared_ptr<TRFileList> nodes_ = std::make_shared<TRFileList>();
};

using Texts = std::vector<std::string>;
using Pairs = std::vector<std::pair<std::string, std::string>>;

const Texts kLetters{"a", "B", "z", "1", "0", " ", "-", "_", "ß", "ü", "é", "á", "σ", "я", "語"};
const Texts kEndings{"", ".mp3", ".MP3", ".Mp3", ".jpeg", ".a.b", ".", " ", ".mp3 .", "..x"};
const Texts kTails{"", ".", "..", "...", " ", "  ", ". ", " .", ".a"};
const Texts kPieces{"a", "Z", "ü", "語", "🎵", "𝄞", "\x7F", "\u00A0"};
// Truncated and overlong sequences, surrogates, code points beyond the last one, and invalid first
// bytes.
const Texts kBad{"\xC3",
                 "\xE8\xAA",
                 "\xF0\x9F\x8E",
                 "\xC0\xAF",
                 "\xE0\x80\x80",
                 "\xF0\x80\x80\x80",
                 "\xED\xA0\x80",
                 "\xED\xBF\xBF",
                 "\xF4\x90\x80\x80",
                 "\xF8\x88\x80\x80\x80",
                 "\x80",
                 "\xFE",
                 "\xFF"};

// Names of every kind, the same ones in each run.
class Names {
 public:
  // One that a folder can store; paths: the existing entries.
  std::string next(const std::vector<std::string>& paths) {
    std::string name = any(paths);
    std::erase(name, '/');
    // A file with a long name has a short one, too ("TRACK0~1.MP3"), which isn't predicted.
    for (std::size_t at = 0; at + 1 < name.size(); ++at) {
      if (name[at] == '~' && name[at + 1] >= '0' && name[at + 1] <= '9') {
        name[at] = '-';
      }
    }
    return name.empty() || name == "." || name == ".." ? "..." : name;
  }

 private:
  std::size_t below(std::size_t end) { return static_cast<std::size_t>(random_() % end); }
  std::size_t between(std::size_t least, std::size_t most) {
    return least + below(most - least + 1);
  }
  const std::string& oneOf(const Texts& texts) { return texts[below(texts.size())]; }

  std::string any(const Texts& paths) {
    switch (below(10)) {
      case 0:  // ordinary
        return letters(1, 12) + oneOf(kEndings);
      case 1:  // all that is printable
        return signs(' ', '~', 1, 20);
      case 2:  // control characters
        return letters(0, 4) + signs('\x01', '\x1F', 0, 1) + oneOf(kPieces) + letters(0, 4);
      case 3:  // dots and blanks at the end
        return letters(0, 6) + signs(' ', '.', 0, 2) + oneOf(kTails);
      case 4:
        return longOne() + oneOf(kTails);
      case 5:
        return letters(0, 3) + oneOf(kPieces) + oneOf(kPieces) + letters(0, 3);
      case 6:
        return letters(0, 4) + oneOf(kBad) + letters(0, 4);
      case 7:
        return inOtherCase(oneOf(paths));
      case 8:  // nothing is left of it
        return std::string(between(3, 40), '.');
      default:  // short
        return signs('A', 'Z', 1, 9) + oneOf(kEndings);
    }
  }

  std::string letters(std::size_t least, std::size_t most) {
    std::string text;
    for (std::size_t left = between(least, most); left > 0; --left) {
      text += oneOf(kLetters);
    }
    return text;
  }
  std::string signs(char first, char last, std::size_t least, std::size_t most) {
    std::string text;
    for (std::size_t left = between(least, most); left > 0; --left) {
      text += static_cast<char>(
          between(static_cast<std::size_t>(first), static_cast<std::size_t>(last)));
    }
    return text;
  }
  // Of 250 to 260 units of UTF-16.
  std::string longOne() {
    const std::string& piece = oneOf(kPieces);
    const std::size_t units = piece.size() > 3 ? 2 : 1;
    std::string text;
    for (std::size_t left = between(250, 260); left >= units; left -= units) {
      text += piece;
    }
    return text;
  }
  static std::string inOtherCase(const std::string& path) {
    std::string name = path.substr(path.rfind('/') + 1);
    for (char& letter : name) {
      if ((letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z')) {
        letter = static_cast<char>(letter ^ 0x20);
      }
    }
    for (const auto& [small, large] :
         Pairs{{"ü", "Ü"}, {"é", "É"}, {"á", "Á"}, {"σ", "Σ"}, {"я", "Я"}}) {
      name = replaced(std::move(name), small, large);
    }
    return name;
  }

  std::mt19937_64 random_{kSeed};
};

TEST(Vfat, RefusesTheNamesThatArePredicted) {
  Names names;
  std::map<int, int> counts;
  int different = 0;
  for (int number = 0; number < kFolders; ++number) {
    Folder folder("Folder " + std::to_string(number));
    while (folder.paths().size() <= kNamesOfAFolder) {
      folder.add(names.next(folder.paths()));
    }
    const auto predicted = folder.predicted();
    const auto seen = folder.seen();
    for (std::size_t at = 1; at < seen.size(); ++at) {
      ++counts[seen[at]];
      if (predicted[at] != seen[at] && ++different <= kMostTold) {
        ADD_FAILURE() << "predicted " << predicted[at] << ", seen " << seen[at] << ": "
                      << testing::PrintToString(folder.paths()[at]);
      }
    }
  }
  EXPECT_EQ(different, 0);
  for (const int error : {0, EINVAL, ENOENT, ENAMETOOLONG, EEXIST}) {
    EXPECT_GT(counts[error], 100) << "errno " << error;
    std::printf("vfat: errno %d for %d names\n", error, counts[error]);
  }
}

TEST(Vfat, AFolderIsFullWhenThatIsPredicted) {
  Folder folder("Full");
  std::int64_t slots = 2;  // its own
  const auto add = [&](const std::string& name) {
    slots += fatSlots(name);
    ASSERT_TRUE(folder.add(name)) << name;
  };
  // Names that need one slot, two, three and more, distinguished by their first letter and a
  // number.
  for (int number = 0; number < 50; ++number) {
    const std::string digits = std::to_string(number);
    for (const auto& name :
         {"A" + digits, "b" + digits, "C" + digits + ".MP3", "d" + digits + ".mp3",
          "E" + digits + ".JPEG", ".F" + digits, "G " + digits, "H+" + digits, "ü" + digits,
          "I" + digits + "🎵🎵🎵🎵🎵", digits + std::string(13 - digits.size(), 'J'),
          digits + std::string(14 - digits.size(), 'K')}) {
      add(name);
    }
  }
  // Then the longest ones, as many as fit, and one more.
  constexpr std::int64_t kLongest = 21;
  for (int number = 0; slots <= kFatMostSlots; ++number) {
    const std::string digits = std::to_string(number);
    add(digits + std::string(255 - digits.size(), 'x'));
  }
  // Then names of one slot, into the rest.
  for (std::int64_t number = 0; number <= kLongest; ++number) {
    add("Z" + std::to_string(number));
  }
  const auto predicted = folder.predicted();
  const auto seen = folder.seen();
  EXPECT_EQ(seen.front(), 0);
  EXPECT_EQ(seen.back(), ENOSPC);
  int different = 0;
  for (std::size_t at = 0; at < seen.size(); ++at) {
    if (predicted[at] != seen[at] && ++different <= kMostTold) {
      ADD_FAILURE() << "predicted " << predicted[at] << ", seen " << seen[at] << ": name " << at
                    << " of " << seen.size();
    }
  }
  std::printf("vfat: a folder took %td of %zu names\n", std::count(seen.begin(), seen.end(), 0) - 1,
              seen.size() - 1);
}

}  // namespace
}  // namespace fillstation

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  if (argc != 2) {
    std::fprintf(stderr, "Usage: %s VOLUME\n", argv[0]);
    return 2;
  }
  fillstation::volume() = argv[1];
  return RUN_ALL_TESTS();
}
