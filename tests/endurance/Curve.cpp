#include "Curve.h"

namespace fillstation::endurance {

namespace {

// What the caches of the window make of the same state at different times: 14 bytes for each
// player that was filled.
constexpr long kHeapPlayKiB = 32;

}  // namespace

Curve::Curve(std::FILE* out, const std::string& counted) : out_(out) {
  std::fprintf(out_, "\n%8s %10s %13s %12s %8s %9s %6s\n", counted.c_str(), "heap KiB",
               "resident KiB", "descriptors", "threads", "children", "files");
}

void Curve::add(int count, const Figures& figures) {
  std::fprintf(out_, "%8d %10ld %13ld %12ld %8ld %9ld %6ld\n", count, figures.heapKiB,
               figures.residentKiB, figures.descriptors, figures.threads, figures.children,
               figures.files);
  std::fflush(out_);
  all_.push_back(figures);
}

bool Curve::isFlat() const {
  const Figures& first = all_.front();
  const Figures& last = all_.back();
  bool flat = true;
  const auto compare = [&](const char* what, long before, long after, long play) {
    if (after > before + play) {
      std::fprintf(out_, "GROWN: %s, from %ld to %ld\n", what, before, after);
      flat = false;
    }
  };
  compare("the heap", first.heapKiB, last.heapKiB, kHeapPlayKiB);
  compare("open descriptors", first.descriptors, last.descriptors, 0);
  compare("threads", first.threads, last.threads, 0);
  compare("child processes", 0, last.children, 0);
  compare("files", first.files, last.files, 0);
  return flat;
}

}  // namespace fillstation::endurance
