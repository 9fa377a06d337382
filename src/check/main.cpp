#include <fcntl.h>
#include <unistd.h>

#include <QRegularExpression>
#include <QString>
#include <algorithm>
#include <cstdio>
#include <deque>
#include <exception>
#include <future>
#include <mutex>
#include <stdexcept>
#include <utility>

#include "VolumeCheck.h"

namespace {

using namespace fillstation;

constexpr int kEqual = 0;
constexpr int kDifferent = 1;
constexpr int kError = 2;
constexpr const char* kUsage =
    "Usage: fillstation-check [--type TYPE] FOLDER... -- MOUNTPOINT...\n";
constexpr const char* kHelp = R"(
Compares mounted players with the folders that they were filled from: names, order, sizes and every
byte. Prints one line for each player and changes nothing.

  --type TYPE  the file type that was chosen in the window, mp3 if not given
  --help       this text

The exit status is 0 if all players are equal, 1 if one differs, 2 if they can't be compared.
)";

// What was asked for. A plain value.
struct Arguments {
  // False when the words are not as the usage says.
  bool read(const std::vector<std::string>& words) {
    auto word = words.begin();
    for (; word != words.end() && *word != "--"; ++word) {
      if (*word == "--type" && word + 1 != words.end()) {
        type = *++word;
      } else if (word->starts_with('-')) {
        return false;
      } else {
        folders.push_back(*word);
      }
    }
    mountPoints.assign(word == words.end() ? word : word + 1, words.end());
    return !folders.empty() && !mountPoints.empty();
  }

  std::string type = "mp3";
  std::vector<std::string> folders;
  std::vector<std::string> mountPoints;
};

// The line without characters that act on a terminal; the name of a file may hold any.
std::string printable(const std::string& line) {
  static const QRegularExpression kActing(QStringLiteral("[\\p{Cc}\\p{Cf}\\p{Zl}\\p{Zp}]"));
  return QString::fromStdString(line).replace(kActing, QChar(0xFFFD)).toStdString() + '\n';
}

// Lines on standard output, and below them a progress bar where standard error is a terminal. Any
// thread.
class Progress {
 public:
  explicit Progress(std::int64_t bytes) : bytes_(::isatty(STDERR_FILENO) == 1 ? bytes : 0) {}
  ~Progress() { hide(); }

  void add(std::int64_t bytes) {
    const std::scoped_lock guard(lock_);
    done_ += bytes;
    const int percent = bytes_ == 0 ? -1 : static_cast<int>(100 * done_ / bytes_);
    if (percent != shown_) {
      shown_ = percent;
      const std::string bar(static_cast<std::size_t>(percent / 2), '#');
      std::fprintf(stderr, "\r[%-50s] %d %%", bar.c_str(), percent);
    }
  }
  void print(const std::string& line) {
    const std::scoped_lock guard(lock_);
    hide();
    std::fputs(printable(line).c_str(), stdout);
    std::fflush(stdout);
  }

 private:
  void hide() { std::fputs(std::exchange(shown_, -1) >= 0 ? "\r\033[K" : "", stderr); }

  std::mutex lock_;
  const std::int64_t bytes_;
  std::int64_t done_ = 0;
  int shown_ = -1;  // percent
};

std::deque<VolumeCheck> openVolumes(const std::vector<std::string>& mountPoints) {
  std::deque<VolumeCheck> volumes;
  for (const auto& path : mountPoints) {
    FileHandle root = openLongPath(path, O_RDONLY | O_DIRECTORY);
    if (!root) {
      throw std::runtime_error("Can't read the mount point " + path);
    }
    volumes.emplace_back(std::move(root), path);
  }
  return volumes;
}

int compare(const Arguments& arguments) {
  auto volumes = openVolumes(arguments.mountPoints);
  FileSet set = fileSetOf(arguments.folders, arguments.type);
  std::int64_t bytes = 0;
  for (const auto& entry : set) {
    bytes += entry.size;
  }
  Progress progress(bytes * static_cast<std::int64_t>(1 + volumes.size()));
  const OnBytes onBytes = [&](std::int64_t count) { progress.add(count); };
  hashSources(set, onBytes);
  std::vector<std::future<std::string>> lines;
  for (auto& volume : volumes) {
    lines.push_back(
        std::async(std::launch::async, [&] { return volume.compareWith(set, onBytes); }));
  }
  for (auto& line : lines) {
    progress.print(line.get());
  }
  const auto isEqual = [](const VolumeCheck& volume) { return volume.equal(); };
  return std::all_of(volumes.begin(), volumes.end(), isEqual) ? kEqual : kDifferent;
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> words(argv + 1, argv + argc);
  Arguments arguments;
  if (words == std::vector<std::string>{"--help"}) {
    std::fputs(kUsage, stdout);
    std::fputs(kHelp, stdout);
    return kEqual;
  }
  try {
    if (arguments.read(words)) {
      allowManyOpenFiles();
      return compare(arguments);
    }
    std::fprintf(stderr, "%sTry 'fillstation-check --help'.\n", kUsage);
  } catch (const std::exception& error) {
    std::fputs(printable(std::string("fillstation-check: ") + error.what()).c_str(), stderr);
  }
  return kError;
}
