#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

namespace fillstation::faults {

// What lies in and around a bench and must stay as it is: every file but the images of the players
// that a run may write, by its content. A plain value.
class Outside {
 public:
  // Looks at a folder and everything below it. The images of these players, and what the bench
  // shows as mounted, don't count. An image is the same wherever it lies.
  Outside(const std::string& folder, const std::set<std::string>& players);

  // What is not as it was: one text per file that has changed, come or gone.
  std::vector<std::string> changesSince(const Outside& before) const;

 private:
  std::map<std::string, std::string> digests_;
};

// The SHA-256 of a file's length and of its blocks that are not all zeros, each with its place, in
// hexadecimal: as telling as that of all bytes, and quick where an image is mostly holes. Empty
// when it can't be read.
std::string digestOf(const std::string& path);

}  // namespace fillstation::faults
