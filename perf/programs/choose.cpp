// perf_choose TYPE FOLDER [LIST]: chooses the folder as the window does. The log goes to standard
// error, the nodes to the file LIST (path, tabulator, size in bytes, line feed). The last line of
// standard output is seconds, nodes, and the bytes of memory that each took.

#include <unistd.h>

#include <QCoreApplication>
#include <chrono>
#include <cstdio>
#include <string>

#include "PerfPorts.h"
#include "TRFile.h"

namespace {

using namespace fillstation;

// Memory of this process that is in the machine's, in bytes.
long residentBytes() {
  long whole = 0;
  long resident = 0;
  std::FILE* const file = std::fopen("/proc/self/statm", "r");
  const int read = file != nullptr ? std::fscanf(file, "%ld %ld", &whole, &resident) : 0;
  if (file != nullptr) {
    std::fclose(file);
  }
  return read == 2 ? resident * ::sysconf(_SC_PAGESIZE) : 0;
}

void list(const TRFileList& nodes, const char* path) {
  std::FILE* const file = std::fopen(path, "w");
  for (const auto& node : nodes) {
    if (!node->isDir()) {
      std::fprintf(file, "%s\t%lld\n", node->path().value_or("").c_str(),
                   static_cast<long long>(node->size().value()));
    }
  }
  std::fclose(file);
}

}  // namespace

int main(int argc, char** argv) {
  const QCoreApplication application(argc, argv);
  if (argc < 3) {
    std::fputs("perf_choose TYPE FOLDER [LIST]\n", stderr);
    return 2;
  }
  const perf::PerfPorts ports({});
  const long before = residentBytes();
  const auto begin = std::chrono::steady_clock::now();
  const auto root = TRFile::CreateTRFilesFromURL(Url::fromPath(argv[2], true), argv[1]);
  const auto end = std::chrono::steady_clock::now();
  if (!root || !root->files() || root->files()->empty()) {
    return 1;
  }
  const std::size_t nodes = root->files()->size();
  const long grown = residentBytes() - before;
  if (argc > 3) {
    list(*root->files(), argv[3]);
  }
  std::printf("\n%.6f %zu %.1f\n", std::chrono::duration<double>(end - begin).count(), nodes,
              static_cast<double>(grown) / static_cast<double>(nodes));
  return 0;
}
