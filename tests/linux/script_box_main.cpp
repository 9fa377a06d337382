#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "script_box.h"

namespace {

constexpr const char* kInside = "FILLSTATION_SCRIPT_BOX";

// Why the box can't be built here, empty when it can.
std::string whyNot() {
  if (::geteuid() != 0) {
    return "needs root, to build namespaces with users of their own";
  }
  for (const char* tool : {"/usr/bin/unshare", "/usr/bin/setpriv", "/usr/bin/dbus-daemon",
                           "/usr/bin/pkexec", "/usr/lib/polkit-1/polkitd", "/usr/sbin/useradd"}) {
    if (::access(tool, X_OK) != 0) {
      return std::string("needs ") + tool;
    }
  }
  if (std::system("unshare --mount --pid --fork --mount-proc true 2>/dev/null") != 0) {
    return "needs the right to make namespaces";
  }
  return {};
}

// Runs this very program in the box; returns only when that fails.
void enter(int argc, char** argv) {
  ::setenv(kInside, "1", 1);
  std::vector<std::string> words{"unshare",      "--mount",      "--pid",         "--fork",
                                 "--kill-child", "--mount-proc", "--propagation", "private",
                                 "/bin/sh",      BOX_SCRIPT,     BOX_AGENT,       BOX_DRIVER};
  words.insert(words.end(), argv, argv + argc);
  std::vector<char*> arguments;
  for (auto& word : words) {
    arguments.push_back(word.data());
  }
  arguments.push_back(nullptr);
  ::execv("/usr/bin/unshare", arguments.data());
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<char*> given(argv, argv + argc);
  testing::InitGoogleTest(&argc, argv);
  if (!GTEST_FLAG_GET(list_tests) && std::getenv(kInside) == nullptr) {
    fillstation::test::boxRefusal() = whyNot();
    if (fillstation::test::boxRefusal().empty()) {
      enter(static_cast<int>(given.size()), given.data());
      return 97;
    }
  }
  return RUN_ALL_TESTS();
}
