// perf_slowdisks FOLDER COUNT MEBIBYTES WRITTEN READ [BUSES SHARED]: mounts on FOLDER the files
// disk0, disk1 and so on. Each performs one command after another, as a USB disk does: it is
// written with WRITTEN bytes per second, the commands included, and read with READ bytes per second
// and a millisecond for each command. The disks are spread over that many buses, each of which
// carries SHARED bytes per second for all its disks. Ends when FOLDER is unmounted. The contents
// are in memory, equal pieces once, so that players with equal contents need little memory.

#define FUSE_USE_VERSION 35

#include <fuse3/fuse.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <limits>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <unordered_map>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;
constexpr Seconds kReadCommand{0.001};
constexpr std::size_t kPiece = 4096;
using Piece = std::array<char, kPiece>;

// Every distinct piece that any disk holds. Any thread.
class Pieces {
 public:
  Pieces() { numberOf(Piece{}); }

  // The number of a piece with this content; 0 is the one of zeros.
  std::uint32_t numberOf(const Piece& content) {
    const std::string_view bytes(content.data(), kPiece);
    const std::size_t hash = std::hash<std::string_view>{}(bytes);
    const std::scoped_lock guard(lock_);
    const auto [first, last] = byHash_.equal_range(hash);
    for (auto known = first; known != last; ++known) {
      if (pieces_[known->second] == content) {
        return known->second;
      }
    }
    pieces_.push_back(content);
    const auto number = static_cast<std::uint32_t>(pieces_.size() - 1);
    byHash_.emplace(hash, number);
    return number;
  }

  Piece at(std::uint32_t number) {
    const std::scoped_lock guard(lock_);
    return pieces_[number];
  }

 private:
  std::mutex lock_;
  std::deque<Piece> pieces_;
  std::unordered_multimap<std::size_t, std::uint32_t> byHash_;
};

// What carries the bytes of several disks, in the order in which they ask. Any thread.
class SlowBus {
 public:
  explicit SlowBus(double speed) : speed_(speed) {}

  // When it will have carried these too.
  Clock::time_point carry(std::size_t bytes) {
    const std::scoped_lock guard(lock_);
    const Seconds time(static_cast<double>(bytes) / speed_);
    free_ = std::max(free_, Clock::now()) + std::chrono::duration_cast<Clock::duration>(time);
    return free_;
  }

 private:
  std::mutex lock_;
  const double speed_;  // bytes per second
  Clock::time_point free_;
};

// One disk. Any thread.
class SlowDisk {
 public:
  SlowDisk(Pieces& pieces, SlowBus& bus, std::size_t bytes, double written, double read)
      : pieces_(pieces), bus_(bus), written_(written), read_(read), numbers_(bytes / kPiece) {}

  std::size_t size() const { return numbers_.size() * kPiece; }

  // Both return when a disk of this speed would have done it.
  std::size_t read(char* buffer, std::size_t count, std::size_t offset) {
    std::unique_lock guard(lock_);
    std::size_t done = 0;
    while (done < count && offset + done < size()) {
      const std::size_t within = (offset + done) % kPiece;
      const std::size_t part = std::min(kPiece - within, count - done);
      const Piece piece = pieces_.at(numbers_[(offset + done) / kPiece]);
      std::memcpy(buffer + done, piece.data() + within, part);
      done += part;
    }
    last(guard, done, kReadCommand + Seconds(static_cast<double>(done) / read_));
    return done;
  }

  std::size_t write(const char* buffer, std::size_t count, std::size_t offset) {
    std::unique_lock guard(lock_);
    std::size_t done = 0;
    while (done < count && offset + done < size()) {
      const std::size_t within = (offset + done) % kPiece;
      const std::size_t part = std::min(kPiece - within, count - done);
      std::uint32_t& number = numbers_[(offset + done) / kPiece];
      Piece piece{};
      if (part < kPiece) {
        piece = pieces_.at(number);
      }
      std::memcpy(piece.data() + within, buffer + done, part);
      number = pieces_.numberOf(piece);
      done += part;
    }
    last(guard, done, Seconds(static_cast<double>(done) / written_));
    return done;
  }

 private:
  // Waits for the commands before and for as long as this one takes here and on the bus.
  void last(std::unique_lock<std::mutex>& guard, std::size_t bytes, Seconds time) {
    free_ = std::max(free_, Clock::now()) + std::chrono::duration_cast<Clock::duration>(time);
    free_ = std::max(free_, bus_.carry(bytes));
    const auto until = free_;
    guard.unlock();
    std::this_thread::sleep_until(until);
  }

  std::mutex lock_;
  Pieces& pieces_;
  SlowBus& bus_;
  const double written_;  // bytes per second
  const double read_;
  std::vector<std::uint32_t> numbers_;
  Clock::time_point free_;  // when the commands before are done
};

std::vector<std::unique_ptr<SlowDisk>>& disks() {
  static std::vector<std::unique_ptr<SlowDisk>> all;
  return all;
}

SlowDisk* diskAt(const char* path) {
  std::size_t number = 0;
  return std::sscanf(path, "/disk%zu", &number) == 1 && number < disks().size()
             ? disks()[number].get()
             : nullptr;
}

int getAttributes(const char* path, struct stat* status, fuse_file_info* /*info*/) {
  const std::string_view name = path;
  const SlowDisk* disk = diskAt(path);
  if (name != "/" && disk == nullptr) {
    return -ENOENT;
  }
  *status = {};
  status->st_mode = disk != nullptr ? S_IFREG | 0600 : S_IFDIR | 0700;
  status->st_nlink = 1;
  status->st_size = disk != nullptr ? static_cast<off_t>(disk->size()) : 0;
  return 0;
}

int openDisk(const char* path, fuse_file_info* info) {
  info->direct_io = 1;  // nothing is read from the kernel's memory
  return diskAt(path) != nullptr ? 0 : -ENOENT;
}

int readDisk(const char* path, char* buffer, std::size_t count, off_t offset,
             fuse_file_info* /*info*/) {
  return static_cast<int>(diskAt(path)->read(buffer, count, static_cast<std::size_t>(offset)));
}

int writeDisk(const char* path, const char* buffer, std::size_t count, off_t offset,
              fuse_file_info* /*info*/) {
  return static_cast<int>(diskAt(path)->write(buffer, count, static_cast<std::size_t>(offset)));
}

int syncDisk(const char* /*path*/, int /*dataOnly*/, fuse_file_info* /*info*/) { return 0; }

int makeRoom(const char* /*path*/, int /*mode*/, off_t /*offset*/, off_t /*count*/,
             fuse_file_info* /*info*/) {
  return -EOPNOTSUPP;
}

void* begin(fuse_conn_info* connection, fuse_config* /*config*/) {
  connection->max_write = 1U << 20U;
  connection->max_background = 1024;
  return nullptr;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 6 && argc != 8) {
    std::fputs("perf_slowdisks FOLDER COUNT MEBIBYTES WRITTEN READ [BUSES SHARED]\n", stderr);
    return 2;
  }
  Pieces pieces;
  std::deque<SlowBus> buses;
  const bool isShared = argc == 8;
  for (long bus = isShared ? std::strtol(argv[6], nullptr, 10) : 1; bus > 0; --bus) {
    buses.emplace_back(isShared ? std::strtod(argv[7], nullptr)
                                : std::numeric_limits<double>::infinity());
  }
  const std::size_t bytes = std::strtoull(argv[3], nullptr, 10) << 20U;
  for (long disk = std::strtol(argv[2], nullptr, 10); disk > 0; --disk) {
    SlowBus& bus = buses[disks().size() % buses.size()];
    disks().push_back(std::make_unique<SlowDisk>(pieces, bus, bytes, std::strtod(argv[4], nullptr),
                                                 std::strtod(argv[5], nullptr)));
  }
  fuse_operations operations{};
  operations.getattr = getAttributes;
  operations.open = openDisk;
  operations.read = readDisk;
  operations.write = writeDisk;
  operations.fsync = syncDisk;
  operations.fallocate = makeRoom;
  operations.init = begin;
  std::string program = argv[0];
  std::string threads = "-omax_threads=512,max_idle_threads=512";
  std::string foreground = "-f";
  std::array<char*, 4> arguments{program.data(), foreground.data(), threads.data(), argv[1]};
  return fuse_main(static_cast<int>(arguments.size()), arguments.data(), &operations, nullptr);
}
