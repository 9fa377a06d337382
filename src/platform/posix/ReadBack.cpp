#include "ReadBack.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <random>
#include <utility>

namespace fillstation {

namespace {

// Content is compared in pieces of at most this many bytes.
constexpr std::size_t kPiece = std::size_t{128} << 10;

bool isLater(const std::timespec& left, const std::timespec& right) {
  return std::pair(left.tv_sec, left.tv_nsec) > std::pair(right.tv_sec, right.tv_nsec);
}

// In order; adjacent ones are merged.
std::vector<SampleRange> merged(std::vector<SampleRange> ranges) {
  std::ranges::sort(ranges, {}, &SampleRange::begin);
  std::vector<SampleRange> apart;
  for (const auto& range : ranges) {
    if (range.begin >= range.end) {
      continue;
    }
    if (!apart.empty() && range.begin <= apart.back().end) {
      apart.back().end = std::max(apart.back().end, range.end);
    } else {
      apart.push_back(range);
    }
  }
  return apart;
}

}  // namespace

std::vector<SampleRange> sampleRanges(const WrittenSizes& sizes, std::uint64_t seed) {
  const std::int64_t total = sizes.total;
  const std::int64_t first = std::min(kSampleBlock, sizes.first);
  const std::int64_t last = std::min(kSampleBlock, sizes.last);
  std::vector<SampleRange> ranges{{0, first},
                                  {sizes.first - first, sizes.first},
                                  {total - sizes.last, total - sizes.last + last},
                                  {total - last, total}};
  std::mt19937_64 random(seed);
  for (std::int64_t stratum = 0; stratum < kStrata; ++stratum) {
    // Divided first: a total near the limit of the type must not overflow.
    const std::int64_t begin = total / kStrata * stratum + total % kStrata * stratum / kStrata;
    const std::int64_t next =
        total / kStrata * (stratum + 1) + total % kStrata * (stratum + 1) / kStrata;
    const std::int64_t length =
        std::min(next - begin, std::max(kSampleBlock, (next - begin) / kOneIn + 1));
    const std::int64_t at =
        std::uniform_int_distribution<std::int64_t>(begin, next - length)(random);
    ranges.push_back({at, at + length});
  }
  return merged(std::move(ranges));
}

ReadBack::ReadBack(int root, std::string mountPath, const std::timespec& since,
                   const StopSource& stop, KernelCalls& calls)
    : root_(root),
      mountPath_(std::move(mountPath)),
      since_(since),
      stop_(stop),
      calls_(calls),
      fromFile_(kPiece + kSampleBlock),
      fromSource_(kPiece) {}

bool ReadBack::holds(const CopiedItems& items, std::uint64_t seed, bool keepsOrder) {
  WrittenSizes sizes;
  // A disturbed transfer is no fault of the medium: a difference is read once more.
  return (namesHold(items, keepsOrder, sizes) || namesHold(items, keepsOrder, sizes)) &&
         samplesHold(items, sampleRanges(sizes, seed)) && !stop_.requested();
}

bool ReadBack::namesHold(const CopiedItems& items, bool keepsOrder, WrittenSizes& sizes) {
  DirectoryOrder order(root_, keepsOrder);
  sizes = {};
  bool hold = !stop_.requested();
  items([&](const CopiedItem& item) {
    const auto status = order.next(pathOf(item), item.isDirectory);
    latest_ = item.destination;
    hold = status && sizeHolds(item, status->st_size) && !stop_.requested();
    if (!item.isDirectory && item.size > 0) {
      sizes.first = sizes.total == 0 ? item.size : sizes.first;
      sizes.last = item.size;
      sizes.total += item.size;
    }
    return hold;
  });
  return hold;
}

Components ReadBack::pathOf(const CopiedItem& item) const {
  return componentsBelow(mountPath_, item.destination).value_or(Components());
}

bool ReadBack::sizeHolds(const CopiedItem& item, std::int64_t size) const {
  if (item.isDirectory || size == item.size) {
    return true;
  }
  // The source has changed since it was chosen or copied.
  const auto source = statLongPath(item.source);
  return !source || source->st_size == size || hasChanged(*source);
}

bool ReadBack::hasChanged(const struct stat& source) const {
  // A time in the future is not that of a change: it was set, or a clock is wrong.
  std::timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  const auto isSince = [&](const std::timespec& time) {
    return isLater(time, since_) && !isLater(time, now);
  };
  return isSince(source.st_mtim) || isSince(source.st_ctim);
}

bool ReadBack::samplesHold(const CopiedItems& items, const std::vector<SampleRange>& ranges) {
  auto range = ranges.begin();
  std::int64_t begin = 0;  // of the present file
  bool hold = true;
  items([&](const CopiedItem& item) {
    if (item.isDirectory) {
      return true;
    }
    const std::int64_t end = begin + item.size;
    while (hold && range != ranges.end() && range->begin < end) {
      hold = contentHolds(
          item, {std::max(range->begin, begin) - begin, std::min(range->end, end) - begin});
      if (range->end > end) {
        break;
      }
      ++range;
    }
    begin = end;
    return hold && range != ranges.end();
  });
  return hold;
}

bool ReadBack::contentHolds(const CopiedItem& item, const SampleRange& range) {
  latest_ = item.destination;
  const FileHandle file = openMediumFileBelow(root_, pathOf(item));
  struct stat status {};
  FileHandle source = openRegularFile(item.source, status);
  if (!file) {
    return false;
  }
  if (!source || hasChanged(status)) {
    source = {};
  } else {
    // Only these places are read from the source's medium, if they are not in memory.
    calls_.advise(source.get(), POSIX_FADV_RANDOM);
  }
  errno = 0;  // that of an attempt before says nothing about the player
  const std::int64_t end = (range.end + kSampleBlock - 1) / kSampleBlock * kSampleBlock;
  bool hold = true;
  for (std::int64_t at = range.begin / kSampleBlock * kSampleBlock; at < end && hold;) {
    const auto count = static_cast<std::size_t>(std::min<std::int64_t>(kPiece, end - at));
    Piece piece = compare(file.get(), source.get(), at, count);
    if (piece != Piece::kSame) {
      piece = compare(file.get(), source.get(), at, count);
    }
    // A source that changes during the comparison is no fault of the player.
    const bool isSourcesFault =
        piece == Piece::kOther && (::fstat(source.get(), &status) != 0 || hasChanged(status));
    hold = (piece == Piece::kSame || isSourcesFault) && !stop_.requested();
    at += static_cast<std::int64_t>(count);
  }
  return hold;
}

ReadBack::Piece ReadBack::compare(int file, int source, std::int64_t begin, std::size_t count) {
  void* place = fromFile_.data();
  std::size_t room = fromFile_.size();
  std::align(kSampleBlock, kPiece, place, room);
  const ssize_t got = calls_.readAt(file, place, count, begin);
  if (got < 0) {
    return Piece::kUnreadable;
  }
  const ssize_t wanted = calls_.readAt(source, fromSource_.data(), count, begin);
  // There is no source to compare with, or it can't be read.
  if (wanted < 0) {
    return Piece::kSame;
  }
  const bool isSame =
      wanted == got && std::memcmp(place, fromSource_.data(), static_cast<std::size_t>(got)) == 0;
  return isSame ? Piece::kSame : Piece::kOther;
}

}  // namespace fillstation
