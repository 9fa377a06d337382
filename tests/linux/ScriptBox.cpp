#include "ScriptBox.h"

#include <fcntl.h>
#include <fnmatch.h>
#include <linux/fs.h>
#include <linux/loop.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "ChildProcess.h"

namespace fillstation::test {

const std::string& bossPassword() {
  static const std::string made = ScriptBoxTest::read("/run/box/password");
  return made;
}

std::string& boxRefusal() {
  static std::string reason;
  return reason;
}

Window::Window(const std::string& user, const std::vector<Call>& calls) : calls_(calls.size()) {
  int ends[2];
  EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
  socket_ = FileHandle(ends[0]);
  const FileHandle theirs(ends[1]);
  ChildSetup setup;
  setup.hand(theirs.get(), 0);
  EXPECT_EQ(setup.start({"setpriv", "--reuid=" + user, "--regid=nogroup", "--clear-groups", "env",
                         "-i", "PATH=/usr/bin:/bin", "LANG=C.UTF-8", "SECRET_OF_WINDOW=1",
                         "/run/box/driver", "/run/box/agent"},
                        child_),
            0);
  EXPECT_TRUE(sendText(socket_.get(), std::to_string(calls.size())));
  for (const Call& call : calls) {
    EXPECT_TRUE(sendText(socket_.get(), call.user) && sendText(socket_.get(), call.password) &&
                sendText(socket_.get(), call.command));
  }
}

Window::~Window() {
  socket_ = FileHandle();
  ::waitpid(child_, nullptr, 0);
}

std::vector<AgentReply> Window::replies() {
  std::vector<AgentReply> all;
  for (std::size_t call = 0; call < calls_; ++call) {
    auto reply = receiveReply(socket_.get());
    EXPECT_TRUE(reply) << "the window has gone";
    if (!reply) {
      break;
    }
    all.push_back(*reply);
  }
  return all;
}

void Window::stop() { ::shutdown(socket_.get(), SHUT_WR); }

void Window::kill() { ::kill(child_, SIGKILL); }

AgentReply runAs(const std::string& user, const Call& call) {
  const auto replies = Window(user, {call}).replies();
  return replies.empty() ? AgentReply{} : replies.front();
}

namespace {

constexpr unsigned int kLoopMajor = 7;

}  // namespace

std::string LoopDevice::node() const { return "/run/box/loop" + std::to_string(number); }

std::string LoopDevice::deviceNumber() const {
  return std::to_string(kLoopMajor) + ":" + std::to_string(number);
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
            ::makedev(kLoopMajor, static_cast<unsigned int>(loop.number)));
    loop.device = FileHandle(::open(loop.node().c_str(), O_RDWR | O_CLOEXEC));
    if (loop.device && ::ioctl(loop.device.get(), LOOP_CONFIGURE, &config) == 0) {
      return loop;
    }
  }
}

void ScriptBoxTest::SetUp() {
  if (!boxRefusal().empty()) {
    GTEST_SKIP() << boxRefusal();
  }
}

void ScriptBoxTest::shell(const std::string& command) {
  EXPECT_EQ(std::system(command.c_str()), 0) << command;
}

void ScriptBoxTest::writeFile(const std::string& path, const std::string& text) {
  EXPECT_TRUE(std::ofstream(path) << text << std::flush) << path;
}

void ScriptBoxTest::writeScript(const std::string& path, const std::string& lines) {
  writeFile(path, "#!/bin/sh\n" + lines + "\n");
  shell("chmod 755 " + path);
}

void ScriptBoxTest::replaceTool(const std::string& tool, const std::string& lines) {
  const std::string name = tool.substr(tool.rfind('/') + 1);
  shell("[ -e /run/box/real-" + name + " ] || cp -p " + tool + " /run/box/real-" + name);
  writeScript("/run/box/" + name, lines);
  shell("mount --bind /run/box/" + name + " " + tool);
}

std::string ScriptBoxTest::read(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

bool ScriptBoxTest::exists(const std::string& path) { return std::filesystem::exists(path); }

void ScriptBoxTest::await(const std::function<bool()>& condition, const std::string& what) {
  const auto limit = std::chrono::steady_clock::now() + std::chrono::minutes(1);
  while (!condition()) {
    ASSERT_LT(std::chrono::steady_clock::now(), limit) << "never happened: " << what;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

void ScriptBoxTest::awaitFile(const std::string& path) {
  await([&] { return exists(path); }, path);
}

int ScriptBoxTest::processesWith(const std::string& word) {
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    count += read(entry.path() / "cmdline").find(word) != std::string::npos ? 1 : 0;
  }
  return count;
}

std::vector<pid_t> ScriptBoxTest::processes(const std::string& beginning) {
  std::vector<pid_t> found;
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    const std::string words = read(entry.path() / "cmdline");
    if (words.starts_with(beginning)) {
      found.push_back(std::stoi(entry.path().filename()));
    }
  }
  return found;
}

void ScriptBoxTest::awaitEnd(const std::vector<std::string>& words) {
  for (const auto& word : words) {
    await([&] { return processesWith(word) == 0; }, word + " ends");
  }
}

std::unique_ptr<Window> ScriptBoxTest::startCall(const Call& call, const std::string& user) {
  auto window = std::make_unique<Window>(user, std::vector<Call>{call});
  awaitFile("/run/box/asked");
  return window;
}

void ScriptBoxTest::setPam(const std::string& lines) {
  writeFile("/etc/pam.d/polkit-1", lines + "\naccount required pam_unix.so\n");
}

void ScriptBoxTest::slowPam(const std::string& step) {
  writeScript("/run/box/slow",
              "touch /run/box/asked; until [ -e /run/box/go ]; do sleep 0.02; done");
  setPam("auth requisite pam_unix.so\n" + step +
         " required pam_exec.so quiet seteuid /run/box/slow");
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

// Runs this very program in a box of its own, with what it was given and one case to run; its exit
// status.
int runInBox(const std::vector<std::string>& given, const std::string& filter) {
  // Whoever ends this process, as a time-out does, ends the box as well.
  std::vector<std::string> words{"setpriv",      "--pdeathsig",   "KILL",    "unshare",
                                 "--mount",      "--pid",         "--fork",  "--kill-child",
                                 "--mount-proc", "--propagation", "private", "/bin/sh",
                                 BOX_SCRIPT,     BOX_AGENT,       BOX_DRIVER};
  words.insert(words.end(), given.begin(), given.end());
  words.push_back("--gtest_filter=" + filter);
  pid_t child = 0;
  // Our own streams, which show what becomes of the case.
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
