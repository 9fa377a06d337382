#include "ScriptBox.h"

#include <fcntl.h>
#include <fnmatch.h>
#include <linux/fs.h>
#include <linux/loop.h>
#include <linux/major.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <sstream>

namespace fillstation::test {

const std::string& bossPassword() {
  static const std::string made = contentOf("/run/box/password");
  return made;
}

std::string& boxRefusal() {
  static std::string reason;
  return reason;
}

// The replies come when the last of the calls has ended.
Window::Window(const std::string& user, const std::vector<Call>& calls)
    : process_({"setpriv", "--reuid=" + user, "--regid=nogroup", "--clear-groups", "env", "-i",
                "PATH=/usr/bin:/bin", "LANG=C.UTF-8", "SECRET_OF_WINDOW=1", "/run/box/driver",
                "/run/box/agent"},
               "/dev/null", std::chrono::minutes(9)),
      calls_(calls.size()) {
  process_.say({std::to_string(calls.size())});
  for (const Call& call : calls) {
    process_.say({call.user, call.password, call.command});
  }
}

std::vector<AgentReply> Window::replies() {
  std::vector<AgentReply> all;
  for (std::size_t call = 0; call < calls_; ++call) {
    auto reply = receiveReply(process_.socket());
    EXPECT_TRUE(reply) << "the window has gone";
    if (!reply) {
      break;
    }
    all.push_back(*reply);
  }
  return all;
}

AgentReply runAs(const std::string& user, const Call& call) {
  const auto replies = Window(user, {call}).replies();
  return replies.empty() ? AgentReply{} : replies.front();
}

// Another process may be faster with a free number.
LoopDevice LoopDevice::of(int file) {
  const FileHandle control(::open("/run/box/loop-control", O_RDWR | O_CLOEXEC));
  loop_config config{};
  config.fd = static_cast<std::uint32_t>(file);
  config.info.lo_flags = LO_FLAGS_AUTOCLEAR | LO_FLAGS_PARTSCAN;
  for (;;) {
    LoopDevice loop;
    loop.number = ::ioctl(control.get(), LOOP_CTL_GET_FREE);
    if (loop.number < 0) {
      ADD_FAILURE() << "no loop device";
      return {};
    }
    ::mknod(loop.node().c_str(), S_IFBLK | 0600,
            ::makedev(LOOP_MAJOR, static_cast<unsigned int>(loop.number)));
    loop.device = FileHandle(::open(loop.node().c_str(), O_RDWR | O_CLOEXEC));
    if (loop.device && ::ioctl(loop.device.get(), LOOP_CONFIGURE, &config) == 0) {
      return loop;
    }
  }
}

namespace {

constexpr const char* kInside = "FILLSTATION_SCRIPT_BOX";

// Why the box can't be built here, empty when it can.
std::string whyNot() {
  if (::geteuid() != 0) {
    return "needs root, to build namespaces with users of their own";
  }
  for (const char* tool :
       {"/usr/bin/unshare", "/usr/bin/setpriv", "/usr/bin/dbus-daemon", "/usr/bin/pkexec",
        "/usr/lib/polkit-1/polkitd", "/usr/sbin/useradd", "/usr/bin/gdbus", "/usr/bin/python3"}) {
    if (::access(tool, X_OK) != 0) {
      return std::string("needs ") + tool;
    }
  }
  if (std::system("unshare --mount --pid --fork --mount-proc true 2>/dev/null") != 0) {
    return "needs the right to make namespaces";
  }
  return {};
}

// Runs this program in a separate box, with its arguments and one case; returns its exit status.
int runInBox(const std::vector<std::string>& given, const std::string& filter) {
  // If this process is killed, as a time-out does, the box ends too.
  std::vector<std::string> words{"setpriv",      "--pdeathsig",   "KILL",    "unshare",
                                 "--mount",      "--pid",         "--fork",  "--kill-child",
                                 "--mount-proc", "--propagation", "private", "/bin/sh",
                                 BOX_SCRIPT,     BOX_AGENT,       BOX_DRIVER};
  words.insert(words.end(), given.begin(), given.end());
  words.push_back("--gtest_filter=" + filter);
  pid_t child = 0;
  // Our own streams, which show the case's output.
  ChildSetup setup;
  setup.hand(1, 1);
  setup.hand(2, 2);
  int status = 0;
  if (setup.start(words, child) != 0 || ::waitpid(child, &status, 0) != child) {
    return 97;
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 98;
}

// Whether a case is picked by the patterns given, as GoogleTest reads them.
bool isPicked(const std::string& name) {
  const std::string patterns = GTEST_FLAG_GET(filter);
  const auto matches = [&name](const std::string& list) {
    std::istringstream each(list);
    for (std::string pattern; std::getline(each, pattern, ':');) {
      if (::fnmatch(pattern.c_str(), name.c_str(), 0) == 0) {
        return true;
      }
    }
    return false;
  };
  const std::size_t minus = patterns.find('-');
  const std::string unwanted = minus != std::string::npos ? patterns.substr(minus + 1) : "";
  return matches(minus == 0 ? "*" : patterns.substr(0, minus)) && !matches(unwanted);
}

// A number that GoogleTest's own sharding reads from the environment. It is taken from there: in a
// box the one case is always run.
int takeFromEnvironment(const char* name, int otherwise) {
  const char* text = std::getenv(name);
  const int number = text != nullptr ? std::atoi(text) : otherwise;
  ::unsetenv(name);
  return number;
}

// Each case changes its box: one box each.
int runEach(const std::vector<std::string>& given) {
  const int shards = takeFromEnvironment("GTEST_TOTAL_SHARDS", 1);
  const int shard = takeFromEnvironment("GTEST_SHARD_INDEX", 0);
  int failed = 0;
  int picked = 0;
  const auto& all = *testing::UnitTest::GetInstance();
  for (int suite = 0; suite < all.total_test_suite_count(); ++suite) {
    const auto& cases = *all.GetTestSuite(suite);
    for (int number = 0; number < cases.total_test_count(); ++number) {
      const std::string name = std::string(cases.name()) + "." + cases.GetTestInfo(number)->name();
      if (isPicked(name) && picked++ % shards == shard) {
        failed |= runInBox(given, name);
      }
    }
  }
  return failed;
}

}  // namespace

std::optional<int> runInBoxes(int argc, char** argv, const std::string& obstacle) {
  if (GTEST_FLAG_GET(list_tests) || std::getenv(kInside) != nullptr) {
    return std::nullopt;
  }
  boxRefusal() = obstacle.empty() ? whyNot() : obstacle;
  if (!boxRefusal().empty()) {
    return std::nullopt;
  }
  ::setenv(kInside, "1", 1);
  return runEach(std::vector<std::string>(argv, argv + argc));
}

}  // namespace fillstation::test
