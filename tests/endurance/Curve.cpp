#include "Curve.h"

namespace fillstation::endurance {

namespace {

// What the caches of the window make of the same state at different times: 14 bytes for each
// player that was filled.
constexpr long kHeapPlayKiB = 32;

// What has grown, a text each.
std::vector<std::string> growth(const Figures& before, const Figures& after) {
  std::vector<std::string> grown;
  const auto compare = [&](const char* what, long first, long last, long play) {
    if (last > first + play) {
      grown.push_back(std::string(what) + ", from " + std::to_string(first) + " to " +
                      std::to_string(last));
    }
  };
  compare("the heap", before.heapKiB, after.heapKiB, kHeapPlayKiB);
  compare("open descriptors", before.descriptors, after.descriptors, 0);
  compare("threads", before.threads, after.threads, 0);
  compare("child processes", 0, after.children, 0);
  compare("files", before.files, after.files, 0);
  return grown;
}

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

bool Curve::holds(const Figures& now) const { return growth(all_.front(), now).empty(); }

bool Curve::isFlat() const {
  const auto grown = growth(all_.front(), all_.back());
  for (const std::string& text : grown) {
    std::fprintf(out_, "GROWN: %s\n", text.c_str());
  }
  return grown.empty();
}

}  // namespace fillstation::endurance
