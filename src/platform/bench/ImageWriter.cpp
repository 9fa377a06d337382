#include "ImageWriter.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>

#include "FatNames.h"
#include "FatText.h"
#include "Tools.h"

namespace fillstation {

namespace {

// Private-use characters, which no short name can hold: mtools writes a long name for them.
constexpr char16_t kFirstStandIn = 0xE000;
constexpr std::uint32_t kStandIns = 0x1900;

// Bytes of paths in one command line; the kernel takes 128 KiB for one word, and a shell's command
// is one word. Quoting makes at most four bytes of one.
constexpr std::size_t kMostBytes = 30'000;

std::string parentOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "" : path.substr(0, slash);
}

std::string nameOf(const std::string& path) { return path.substr(path.rfind('/') + 1); }

// Names that an old system keeps for its devices, whatever follows a dot.
bool isDeviceName(const std::string& name) {
  static constexpr std::array<std::string_view, 5> kNames{"con", "prn", "aux", "nul", "clock$"};
  const std::string folded = foldedFatName(name);
  const std::string base = folded.substr(0, folded.find('.'));
  return std::find(kNames.begin(), kNames.end(), base) != kNames.end() ||
         (base.size() == 4 && (base.starts_with("com") || base.starts_with("lpt")));
}

// A folder of symbolic links, for files whose name mtools must not see.
class LinkFolder {
 public:
  LinkFolder() {
    std::string pattern = std::filesystem::temp_directory_path() / "fillstation-XXXXXX";
    path_ = ::mkdtemp(pattern.data()) != nullptr ? pattern : std::string();
  }
  ~LinkFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  LinkFolder(const LinkFolder&) = delete;
  LinkFolder& operator=(const LinkFolder&) = delete;

  // The path of a new link, empty when it can't be made.
  std::string link(const std::string& target, const std::string& name) const {
    const std::string path = path_ + "/" + name;
    return !path_.empty() && ::symlink(target.c_str(), path.c_str()) == 0 ? path : std::string();
  }

 private:
  std::string path_;
};

}  // namespace

// Neighbours of one kind in one directory.
struct ImageWriter::Group {
  std::string parent;
  bool directories = false;
  std::vector<std::string> paths;
  std::size_t bytes = 0;

  bool takes(const NewEntry& entry, std::size_t size) const {
    return directories == entry.isDirectory && parent == parentOf(entry.path) &&
           bytes + size <= kMostBytes;
  }
};

ImageWriter::ImageWriter(int image, std::string folder)
    : image_(image), folder_(std::move(folder)) {}

bool ImageWriter::write(const std::vector<NewEntry>& entries) {
  std::vector<Group> groups;
  for (const auto& entry : entries) {
    const std::size_t bytes = folder_.size() + entry.path.size();
    if (groups.empty() || !groups.back().takes(entry, bytes)) {
      groups.push_back(Group{parentOf(entry.path), entry.isDirectory, {}, 0});
    }
    groups.back().paths.push_back(entry.path);
    groups.back().bytes += bytes;
  }
  return std::all_of(groups.begin(), groups.end(),
                     [this](const Group& group) { return writeGroup(group); }) &&
         ::fsync(image_) == 0;
}

bool ImageWriter::writeGroup(const Group& group) {
  const Place* parent = place(group.parent);
  if (parent == nullptr) {
    return false;
  }
  std::vector<Named> entries;
  for (const auto& path : group.paths) {
    entries.push_back(named(path));
  }
  return (group.directories ? writeDirectories(*parent, entries) : writeFiles(*parent, entries)) &&
         replaceStandIns(*parent, entries);
}

ImageWriter::Named ImageWriter::named(const std::string& path) {
  const std::string name(fatName(nameOf(path)));
  Named entry{path, *utf16Of(name), *utf16Of(name)};
  for (std::size_t at = 0; at < entry.name.size(); ++at) {
    const char16_t unit = entry.name[at];
    if (unit > 0x7E || unit == u'[' || unit == u']' ||
        (at == 0 && (unit == u' ' || isDeviceName(name)))) {
      entry.standIn[at] = static_cast<char16_t>(kFirstStandIn + standIns_++ % kStandIns);
    }
  }
  return entry;
}

std::vector<std::string> ImageWriter::command(const char* tool) const {
  const auto image = FatImage::open(image_);
  // What is there already is an error: we have looked before.
  return {tool, "-D", "s", "-i",
          kHandedImage + ("@@" + std::to_string(image ? image->offset() : 0))};
}

bool ImageWriter::writeDirectories(const Place& parent, const std::vector<Named>& entries) const {
  std::vector<std::string> words = command("mmd");
  for (const auto& entry : entries) {
    words.push_back(parent.toolPath + utf8Of(entry.standIn));
  }
  return !runTool(words, image_);
}

bool ImageWriter::writeFiles(const Place& parent, const std::vector<Named>& entries) const {
  const LinkFolder links;
  std::vector<std::string> words = command("mcopy");
  words.emplace_back("-m");
  for (const auto& entry : entries) {
    const std::string source = folder_ + "/" + entry.path;
    const std::string standIn = utf8Of(entry.standIn);
    words.push_back(standIn == nameOf(entry.path) ? source : links.link(source, standIn));
  }
  words.push_back(parent.toolPath);
  return !runTool(words, image_);
}

bool ImageWriter::replaceStandIns(const Place& parent, const std::vector<Named>& entries) const {
  const auto image = FatImage::open(image_);
  const auto directory = image ? image->list(parent.cluster) : std::nullopt;
  if (!directory) {
    return false;
  }
  return std::all_of(entries.begin(), entries.end(), [&](const Named& entry) {
    const auto written =
        std::find_if(directory->entries.begin(), directory->entries.end(),
                     [&](const FatEntry& found) { return found.name == entry.standIn; });
    return written != directory->entries.end() &&
           (entry.standIn == entry.name || image->rename(*written, entry.name));
  });
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
  if (!content) {
    return nullptr;
  }
  const std::u16string name = *utf16Of(fatName(nameOf(directory)));
  const auto found =
      std::find_if(content->entries.begin(), content->entries.end(),
                   [&](const FatEntry& entry) { return entry.isDirectory && entry.name == name; });
  if (found == content->entries.end()) {
    return nullptr;
  }
  return &places_
              .emplace(directory,
                       Place{parent->toolPath + found->shortName + "/", found->firstCluster})
              .first->second;
}

}  // namespace fillstation
