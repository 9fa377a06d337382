#include "MountTable.h"

#include <sys/sysmacros.h>

#include <fstream>
#include <sstream>

namespace fillstation {

namespace {

bool isOctal(char digit) { return digit >= '0' && digit <= '7'; }

// The kernel writes blank, tab, line feed and backslash as a backslash and three octal digits.
std::string unescaped(const std::string& text) {
  std::string plain;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] == '\\' && at + 3 < text.size() && isOctal(text[at + 1])) {
      plain += static_cast<char>(std::stoi(text.substr(at + 1, 3), nullptr, 8));
      at += 3;
    } else {
      plain += text[at];
    }
  }
  return plain;
}

}  // namespace

std::vector<std::string> MountTable::mountPoints(dev_t device) const {
  const std::string wanted =
      std::to_string(::major(device)) + ":" + std::to_string(::minor(device));
  std::vector<std::string> found;
  std::ifstream table(tablePath_);
  for (std::string line; std::getline(table, line);) {
    std::istringstream fields(line);
    std::string id;
    std::string parent;
    std::string number;
    std::string root;
    std::string mountPoint;
    fields >> id >> parent >> number >> root >> mountPoint;
    if (number == wanted && root == "/") {
      found.push_back(unescaped(mountPoint));
    }
  }
  return found;
}

}  // namespace fillstation
