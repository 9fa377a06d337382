#include "Figures.h"

#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace fillstation::endurance {

namespace {

template <class Iterator>
long entriesOf(const std::string& folder) {
  return std::distance(Iterator(folder), Iterator());
}

// A volume's folder may go while it is being read.
long filesBelow(const std::string& folder) {
  for (;;) {
    try {
      return entriesOf<std::filesystem::recursive_directory_iterator>(folder);
    } catch (const std::filesystem::filesystem_error& error) {
      const bool gone = error.code() == std::errc::no_such_file_or_directory;
      if (!gone || !std::filesystem::exists(folder)) {
        throw;
      }
    }
  }
}

long residentKiB() {
  long size = 0;
  long resident = 0;
  std::ifstream("/proc/self/statm") >> size >> resident;
  return resident * (::sysconf(_SC_PAGESIZE) / 1024);
}

}  // namespace

Figures Figures::now(const std::string& folder) {
  const struct mallinfo2 heap = ::mallinfo2();
  Figures figures;
  figures.heapKiB = static_cast<long>((heap.uordblks + heap.hblkhd) / 1024);
  figures.residentKiB = endurance::residentKiB();
  // One of them is the look itself.
  figures.descriptors = entriesOf<std::filesystem::directory_iterator>("/proc/self/fd") - 1;
  figures.threads = entriesOf<std::filesystem::directory_iterator>("/proc/self/task");
  figures.children = ::waitpid(-1, nullptr, WNOHANG | WNOWAIT) < 0 ? 0 : 1;
  figures.files = filesBelow(folder);
  return figures;
}

}  // namespace fillstation::endurance
