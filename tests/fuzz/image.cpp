// Images: a boot sector, tables and directories of any bytes are read to an end, and nothing of
// them is changed by looking.

#include <sys/mman.h>
#include <unistd.h>

#include "FatWriter.h"
#include "FileHandle.h"
#include "Input.h"

using namespace fillstation;

namespace {

constexpr std::size_t kSector = 512;
constexpr off_t kMedium = off_t{40} << 20;
// Where mkfs.fat puts the tables and the first cluster of the corpus' medium.
constexpr off_t kTables = 32 * 512;
constexpr off_t kRoot = 1292 * 512;
constexpr std::size_t kTableBytes = 64;
constexpr int kDeepest = 4;

void put(int medium, const std::string& bytes, off_t where) {
  fuzz::require(::pwrite(medium, bytes.data(), bytes.size(), where) ==
                static_cast<ssize_t>(bytes.size()));
}

void visit(const FatImage& image, std::uint32_t cluster, int sink, int depth) {
  const auto directory = image.list(cluster);
  for (const auto& entry : directory ? directory->entries : std::vector<FatEntry>()) {
    if (entry.isDirectory && depth < kDeepest) {
      visit(image, entry.firstCluster, sink, depth + 1);
    } else if (!entry.isDirectory && image.copyContent(entry, sink)) {
      fuzz::require(::lseek(sink, 0, SEEK_SET) == 0);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const FileHandle medium(::memfd_create("medium", MFD_CLOEXEC));
  static const FileHandle sink(::memfd_create("sink", MFD_CLOEXEC));
  fuzz::require(::ftruncate(medium.get(), kMedium) == 0);
  put(medium.get(), input.take(kSector), 0);
  put(medium.get(), input.take(kTableBytes), kTables);
  put(medium.get(), std::string(input.rest()), kRoot);
  if (const auto image = FatImage::open(medium.get())) {
    fuzz::require(!image->label().empty());
    visit(*image, image->layout().rootCluster, sink.get(), 0);
    FatWriter writer(*image);
    writer.haveDirectory("", image->list(image->layout().rootCluster).value_or(FatDirectory()));
    fuzz::require(writer.admit("x", kMedium) != 0);
  }
  return 0;
}
