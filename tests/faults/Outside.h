#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

namespace fillstation::faults {

// The files in and around a bench that must not change: all except the images of the players that a
// run may write, by their contents. A plain value.
class Outside {
 public:
  // Reads a folder and everything below it, except the images of these players and the bench's
  // mounted folders. An image is the same in every place.
  Outside(const std::string& folder, const std::set<std::string>& players);

  // The changes: one text per file that was changed, added or removed.
  std::vector<std::string> changesSince(const Outside& before) const;

 private:
  std::map<std::string, std::string> digests_;
};

// The SHA-256 of a file's length and of its blocks that are not all zeros, each with its place, in
// hexadecimal: as telling as that of all bytes, and quick where an image is mostly holes. Empty
// when it can't be read.
std::string digestOf(const std::string& path);

}  // namespace fillstation::faults
