#include "VolumeOwner.h"

#include <sys/sysmacros.h>

#include <fstream>
#include <sstream>

namespace fillstation {

bool VolumeMedium::closesSlowly(int rootDescriptor) {
  struct stat root {};
  return ::fstat(rootDescriptor, &root) == 0 &&
         isMountedWith("flush", std::to_string(::major(root.st_dev)) + ':' +
                                    std::to_string(::minor(root.st_dev)));
}

bool isMountedWith(const std::string& option, const std::string& device,
                   const std::string& tablePath) {
  std::ifstream table(tablePath);
  for (std::string line; std::getline(table, line);) {
    std::istringstream fields(line);
    std::string number;
    fields >> number >> number >> number;
    // What the file system itself was mounted with stands last.
    const std::string options = ',' + line.substr(line.rfind(' ') + 1) + ',';
    if (number == device && options.find(',' + option + ',') != std::string::npos) {
      return true;
    }
  }
  return false;
}

}  // namespace fillstation
