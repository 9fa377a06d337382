#include "ImageWriter.h"

#include <sys/stat.h>
#include <unistd.h>

#include <QTemporaryDir>
#include <algorithm>
#include <utility>

#include "Tools.h"

namespace fillstation {

namespace {

// Private-use characters, for which mtools writes a long name however short it is.
constexpr char16_t kFirstPrivate = 0xE000;
constexpr std::uint32_t kPrivate = 0x1900;
// Of as many code units every name is a long one.
constexpr std::size_t kLong = 13;

// Names in one command line; the kernel takes 128 KiB for one word, and a shell's command is one.
constexpr std::size_t kMostNames = 200;

std::string parentOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "" : path.substr(0, slash);
}

std::string nameOf(const std::string& path) {
  return std::string(fatName(path).substr(path.rfind('/') + 1));
}

// None when the directory has no entry of this name.
const FatEntry* find(const std::optional<FatDirectory>& directory, const std::string& name) {
  if (!directory) {
    return nullptr;
  }
  const auto found = std::find_if(directory->entries.begin(), directory->entries.end(),
                                  [&name](const FatEntry& entry) { return entry.name == name; });
  return found != directory->entries.end() ? &*found : nullptr;
}

}  // namespace

// Neighbours in one directory.
struct ImageWriter::Group {
  std::string parent;
  std::vector<NewEntry> entries;
};

ImageWriter::ImageWriter(int image, std::string folder)
    : image_(image), folder_(std::move(folder)) {}

bool ImageWriter::write(const std::vector<NewEntry>& entries) {
  std::vector<Group> groups;
  for (const auto& entry : entries) {
    const std::string parent = parentOf(entry.path);
    if (groups.empty() || groups.back().parent != parent ||
        groups.back().entries.size() == kMostNames) {
      groups.push_back({parent, {}});
    }
    groups.back().entries.push_back(entry);
  }
  return std::all_of(groups.begin(), groups.end(),
                     [this](const Group& group) { return writeGroup(group); }) &&
         ::fsync(image_) == 0;
}

bool ImageWriter::writeGroup(const Group& group) {
  const Place* parent = place(group.parent);
  const auto image = FatImage::open(image_);
  const QTemporaryDir links;
  if (parent == nullptr || !image || !links.isValid()) {
    return false;
  }
  const std::string device = kHandedImage + ("@@" + std::to_string(image->offset()));
  std::vector<std::string> words{"mcopy", "-D", "s", "-m", "-s", "-i", device};
  std::vector<std::string> standIns;
  for (const auto& entry : group.entries) {
    standIns.push_back(nextStandIn(nameOf(entry.path)));
    words.push_back(links.filePath(QString::fromStdString(standIns.back())).toStdString());
    const std::string source = folder_ + "/" + entry.path;
    if ((entry.isDirectory ? ::mkdir(words.back().c_str(), 0700)
                           : ::symlink(source.c_str(), words.back().c_str())) != 0) {
      return false;
    }
  }
  words.push_back(parent->toolPath);
  // For a long name mtools lets a directory grow by one cluster and may need two: the second time
  // it skips what is there and finds one more.
  if (runTool(words, image_)) {
    runTool(words, image_);
  }
  return replaceStandIns(*image, image->list(parent->cluster), group, standIns);
}

bool ImageWriter::replaceStandIns(const FatImage& image, const std::optional<FatDirectory>& written,
                                  const Group& group,
                                  const std::vector<std::string>& standIns) const {
  for (std::size_t at = 0; at < standIns.size(); ++at) {
    const NewEntry& made = group.entries[at];
    const FatEntry* const entry = find(written, standIns[at]);
    struct stat source {};
    if (entry == nullptr || entry->isDirectory != made.isDirectory ||
        ::stat((folder_ + "/" + made.path).c_str(), &source) != 0 ||
        (!made.isDirectory && entry->size != source.st_size) ||
        !image.rename(*entry, nameOf(made.path))) {
      return false;
    }
  }
  return true;
}

std::string ImageWriter::nextStandIn(const std::string& name) {
  const std::uint32_t number = standIns_++;
  const std::size_t units = utf16Of(name)->size();
  std::u16string standIn(1, static_cast<char16_t>(kFirstPrivate + number % kPrivate));
  if (units >= kLong) {
    // A private-use character takes more bytes, and a link's name has at most 255.
    const std::string digits = std::to_string(number);
    standIn.assign(digits.begin(), digits.end());
  }
  standIn.resize(units, u'x');
  return utf8Of(standIn);
}

const ImageWriter::Place* ImageWriter::place(const std::string& directory) {
  if (const auto known = places_.find(directory); known != places_.end()) {
    return &known->second;
  }
  const auto image = FatImage::open(image_);
  if (!image) {
    return nullptr;
  }
  if (directory.empty()) {
    return &places_.emplace("", Place{"::/", image->rootCluster()}).first->second;
  }
  const Place* parent = place(parentOf(directory));
  const auto content = parent != nullptr ? image->list(parent->cluster) : std::nullopt;
  const FatEntry* const entry = find(content, nameOf(directory));
  if (entry == nullptr || !entry->isDirectory) {
    return nullptr;
  }
  const Place found{parent->toolPath + entry->shortName + "/", entry->firstCluster};
  return &places_.emplace(directory, found).first->second;
}

}  // namespace fillstation
