#include <fcntl.h>
#include <grp.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <thread>
#include <vector>

#include "AgentProcess.h"
#include "PolkitScriptRunner.h"
#include "ScriptWindow.h"

// A change of the user like on a system whose fs.suid_dumpable is 1: the process can be dumped
// again.
extern "C" int setresuid(uid_t real, uid_t effective, uid_t saved) noexcept {
  const auto result = static_cast<int>(::syscall(SYS_setresuid, real, effective, saved));
  ::prctl(PR_SET_DUMPABLE, 1);
  return result;
}

namespace fillstation::test {
namespace {

// One is refused by the system, one by us before the system is asked. Random in each process, as
// boss's is in each box: so no source file has them, and no file of a compiler that runs nearby.
const std::string kWrongPassword = "an unlikely guess " + std::to_string(std::random_device()());
const std::string kQuotedPassword = "a \"quoted\" guess " + std::to_string(std::random_device()());
const std::vector<std::string> kSecrets = {bossPassword(), kWrongPassword, kQuotedPassword};

// A part of the root shell's command.
constexpr const char* kPartOfCommand = "check_holders";

// The passwords that a text shows.
std::vector<std::string> secretsIn(const std::string& text) {
  std::vector<std::string> shown;
  std::copy_if(kSecrets.begin(), kSecrets.end(), std::back_inserter(shown),
               [&](const auto& secret) { return text.find(secret) != std::string::npos; });
  return shown;
}

// Looks at every process of the box for as long as it lives, again and again.
class ProcessWatch {
 public:
  ProcessWatch() : thread_([this](const std::stop_token& ending) { watch(ending); }) {}
  ~ProcessWatch() {
    thread_.request_stop();
    thread_.join();
    EXPECT_GT(rounds_, 20);
    EXPECT_GT(texts_, 10 * rounds_);
  }
  ProcessWatch(const ProcessWatch&) = delete;
  ProcessWatch& operator=(const ProcessWatch&) = delete;

 private:
  void watch(const std::stop_token& ending) {
    for (; !ending.stop_requested(); ++rounds_) {
      for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        for (const char* name : {"cmdline", "environ", "comm"}) {
          const std::string text = ScriptBoxTest::read(entry.path() / name);
          texts_ += text.empty() ? 0 : 1;
          EXPECT_EQ(secretsIn(text), std::vector<std::string>()) << entry.path() << name;
          EXPECT_EQ(text.find(kPartOfCommand), std::string::npos) << entry.path() << name;
        }
      }
    }
  }

  int rounds_ = 0;
  int texts_ = 0;
  std::jthread thread_;
};

// The observers during a run in the window.
class ScriptSecretsTest : public ScriptWindowTest {
 protected:
  void SetUp() override {
    ScriptWindowTest::SetUp();
    if (!IsSkipped()) {
      keepLog("/run/systemd/journal/socket", kJournal);
      keepLog("/dev/log", kSystemsLog);
      std::string patterns;
      for (const auto& secret : kSecrets) {
        patterns += secret + "\n";
      }
      writeFile("/run/box/secrets", patterns);
      writeFile("/run/box/beginning", "");
    }
  }

  // Makes a process write everything that is sent to the socket to the file, as the journal or the
  // older log does.
  static void keepLog(const std::string& socket, const std::string& file) {
    shell("mkdir -p $(dirname " + socket + R"(); python3 -c '
import os, socket, sys
log = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
log.bind(sys.argv[1])
os.chmod(sys.argv[1], 0o666)
with open(sys.argv[2], "ab", 0) as file:
    while True:
        file.write(log.recv(65536))' )" +
          socket + " " + file + " & until [ -e " + file + " ]; do sleep 0.02; done");
  }
  // The traces of the run so far in readable places.
  void expectNothingShown(const std::string& when) {
    for (const char* log : {kJournal, kSystemsLog}) {
      EXPECT_EQ(secretsIn(read(log)), std::vector<std::string>()) << when << log;
    }
    EXPECT_EQ(filesWithSecrets(), "") << when;
    EXPECT_TRUE(std::filesystem::is_empty("/run/box/home")) << when;
  }
  // Of the files that were written since the beginning where programs write; other disks that are
  // mounted there may be slow.
  static std::string filesWithSecrets() {
    shell(
        "find /run /tmp /var /dev/shm /home /root -xdev -type f "
        "-size -100M -cnewer /run/box/beginning -exec grep -lsFf /run/box/secrets {} + "
        ">/run/box/found 2>/dev/null || true");
    return read("/run/box/found");
  }

  static constexpr const char* kJournal = "/run/box/journal";
  static constexpr const char* kSystemsLog = "/run/box/systems-log";
};

TEST_F(ScriptSecretsTest, NothingShowsAPasswordDuringARun) {
  EXPECT_NE(guardScript().find(kPartOfCommand), std::string::npos);
  const auto person = openWindow();
  const ProcessWatch watch;
  const std::string failed = "Process Completed.\nPlayer /dev/vp0 Failed in process";
  writeFile("/run/box/go", "");
  for (const auto& password : {kQuotedPassword, kWrongPassword}) {
    type(*person, password);
    expectNothingShown("typed");
    person->say({"ok"});
    EXPECT_TRUE(person->ask({"alert"}, failed));
    expectNothingShown("refused");
    EXPECT_TRUE(person->ask({"dismiss"}, "dismissed"));
  }
  shell("rm -f /run/box/go /run/box/asked");

  type(*person, bossPassword());
  expectNothingShown("typed again");
  person->say({"ok"});
  awaitFile("/run/box/asked");
  EXPECT_EQ(processes("/run/box/agent").size(), 1U);
  EXPECT_FALSE(processes("pkexec", true).empty());
  expectNothingShown("the password is being checked");
  writeFile("/run/box/go", "");
  awaitFile("/run/box/wiping");
  EXPECT_FALSE(processes("if=/dev/zero", true).empty());
  expectNothingShown("the command runs");
  writeFile("/run/box/go-wiping", "");
  EXPECT_TRUE(person->ask({"alert"}, "Process Completed."));
  expectNothingShown("completed");
  await([] { return read(kJournal).find("done\n") != std::string::npos; }, "the journal");
  // pkexec writes to the system's log who ran a command.
  await([] { return read(kSystemsLog).find("pkexec") != std::string::npos; }, "the log");
}

TEST_F(ScriptSecretsTest, TheSystemsLogCallsAnAuthenticationThatEndsWithTheWindowDismissed) {
  openChecking()->leave({"Closed", 0});
  await([] { return read(kSystemsLog).find("pkexec") != std::string::npos; }, "the log");
  EXPECT_NE(read(kSystemsLog).find("Request dismissed"), std::string::npos) << read(kSystemsLog);
}

// How often the text is in the memory that a process can write to, as root sees it.
int timesInMemory(pid_t process, const std::string& text) {
  constexpr std::uint64_t kLargest = std::uint64_t{1} << 28;  // a sanitizer's own are larger
  const std::string folder = "/proc/" + std::to_string(process);
  const FileHandle memory(::open((folder + "/mem").c_str(), O_RDONLY | O_CLOEXEC));
  EXPECT_TRUE(memory);
  std::ifstream maps(folder + "/maps");
  int times = 0;
  for (std::string line; std::getline(maps, line);) {
    unsigned long long begin = 0;
    unsigned long long end = 0;
    char mode[5] = "";
    if (std::sscanf(line.c_str(), "%llx-%llx %4s", &begin, &end, mode) != 3 || mode[1] != 'w' ||
        end - begin > kLargest) {
      continue;
    }
    std::string bytes(end - begin, '\0');
    const ssize_t count =
        ::pread(memory.get(), bytes.data(), bytes.size(), static_cast<off_t>(begin));
    bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    for (std::size_t at = bytes.find(text); at != std::string::npos;
         at = bytes.find(text, at + 1)) {
      ++times;
    }
  }
  return times;
}

TEST_F(ScriptSecretsTest, TheScriptTextIsNotInTheWindowsMemoryAfterItsCall) {
  const auto person = openChecking();
  const std::string part = "password \"" + bossPassword();
  EXPECT_EQ(timesInMemory(person->process(), part), 1);
  complete(*person);
  EXPECT_EQ(timesInMemory(person->process(), part), 0);
}

TEST_F(ScriptSecretsTest, APasswordInAFileIsFound) {
  EXPECT_EQ(filesWithSecrets(), "");
  writeFile("/run/box/home/core", "of which " + bossPassword() + "is a part");
  EXPECT_EQ(filesWithSecrets(), "/run/box/home/core\n");
}

// The accesses of a user's programs to the user's other programs.
class ScriptPrivacyTest : public ScriptSecretsTest {
 protected:
  // Runs it in a separate process; returns its answer.
  static int inChild(const std::function<int()>& look) {
    const pid_t child = ::fork();
    if (child == 0) {
      ::_exit(look());
    }
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    return WEXITSTATUS(status);
  }
  static uid_t tester() {
    struct stat status {};
    EXPECT_EQ(::stat("/run/box/bench", &status), 0);
    return status.st_uid;
  }
  static int opens(pid_t process, const char* file) {
    const std::string path = "/proc/" + std::to_string(process) + "/" + file;
    return ::access(path.c_str(), R_OK) == 0 && ::open(path.c_str(), O_RDONLY) >= 0 ? 1 : 0;
  }
  static int traces(pid_t process) {
    return ::ptrace(PTRACE_SEIZE, process, nullptr, nullptr) == 0 ? 1 : 0;
  }
  static int readsMemory(pid_t process) {
    char byte = 0;
    const iovec ours{&byte, 1};
    // Some address: one that isn't there is another error.
    const iovec theirs{&byte, 1};
    return ::process_vm_readv(process, &ours, 1, &theirs, 1, 0) < 0 && errno == EPERM ? 0 : 1;
  }
  // Of six looks into the process by another one of tester's, how many succeed.
  static int looksInto(pid_t process) {
    return inChild([process] {
      ::setgroups(0, nullptr);
      const bool isTester =
          ::setresgid(65534, 65534, 65534) == 0 && ::setresuid(tester(), tester(), tester()) == 0;
      return isTester ? opens(process, "mem") + opens(process, "environ") + opens(process, "maps") +
                            opens(process, "fd") + readsMemory(process) + traces(process)
                      : 99;
    });
  }
};

TEST_F(ScriptPrivacyTest, TheUsersOtherProgramsCantLookIntoWindowOrAgent) {
  const auto person = openWindow();
  type(*person, bossPassword());
  EXPECT_EQ(looksInto(person->process()), 0);
  person->say({"ok"});
  awaitFile("/run/box/asked");
  const auto agents = processes("/run/box/agent");
  ASSERT_EQ(agents.size(), 1U);
  EXPECT_EQ(looksInto(agents.front()), 0);
  for (const char* program : {"/usr/bin/pkexec", "/usr/lib/polkit-1/polkit-agent-helper-1"}) {
    const auto running = processes(program);
    ASSERT_EQ(running.size(), 1U) << program;
    EXPECT_EQ(looksInto(running.front()), 0) << program;
  }
  complete(*person);
  EXPECT_EQ(looksInto(person->process()), 0);
}

TEST_F(ScriptPrivacyTest, AnotherProgramOfTheUsersIsAnOpenBook) {
  // What these observers see of a window that doesn't protect itself.
  shell("cp /bin/sleep /run/box/plain");
  Person plain(
      {"setpriv", "--reuid=tester", "--regid=nogroup", "--clear-groups", "/run/box/plain", "1000"},
      "/run/box/streams");
  await([&] { return processes("/run/box/plain").size() == 1; }, "the program runs");
  EXPECT_EQ(looksInto(plain.process()), 6);
}

TEST_F(ScriptPrivacyTest, TheAgentOfRootsWindowStaysClosedWithEverySystemSetting) {
  EXPECT_EQ(inChild([] {
              agent::harden();
              return agent::leaveRoot() ? ::prctl(PR_GET_DUMPABLE) : 99;
            }),
            0);
}

TEST_F(ScriptPrivacyTest, ACrashLeavesNoCore) {
  const auto person = openChecking();
  const auto agents = processes("/run/box/agent");
  ASSERT_EQ(agents.size(), 1U);
  // A core that goes to a pipe leaves no file here. The kernel makes none of data that it protects
  // from the agent's own user; otherwise the agent would belong to that user.
  struct stat status {};
  ASSERT_EQ(::stat(("/proc/" + std::to_string(agents.front()) + "/maps").c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, 0U);
  ::kill(agents.front(), SIGABRT);
  // The wipe is tried again, by another agent.
  await([&] { return !exists("/proc/" + std::to_string(agents.front())); }, "the agent ends");
  complete(*person);
  person->leave({"Aborted", SIGABRT});
  EXPECT_TRUE(std::filesystem::is_empty("/run/box/cores"));
}

}  // namespace
}  // namespace fillstation::test
