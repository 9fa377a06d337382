#include <fcntl.h>
#include <grp.h>
#include <signal.h>
#include <sys/ptrace.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <memory>
#include <mutex>
#include <thread>

#include "BenchFolder.h"
#include "LoopDevice.h"
#include "Person.h"
#include "script_box.h"

namespace fillstation::test {
namespace {

const std::string kWrongPassword = "an unlikely guess";

// A socket in the journal's place, or the older log's: keeps what is sent to it.
class LogSocket {
 public:
  explicit LogSocket(const std::string& path)
      : socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    EXPECT_EQ(::bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)),
              0);
    ::chmod(path.c_str(), 0666);
    reader_ = std::thread([this] { read(); });
  }
  ~LogSocket() {
    ::shutdown(socket_.get(), SHUT_RD);
    reader_.join();
  }
  LogSocket(const LogSocket&) = delete;
  LogSocket& operator=(const LogSocket&) = delete;

  std::string text() {
    const std::scoped_lock guard(lock_);
    return text_;
  }

 private:
  void read() {
    std::array<char, 65536> buffer{};
    for (;;) {
      const ssize_t count = ::recv(socket_.get(), buffer.data(), buffer.size(), 0);
      if (count <= 0) {
        return;
      }
      const std::scoped_lock guard(lock_);
      text_.append(buffer.data(), static_cast<std::size_t>(count));
    }
  }

  FileHandle socket_;
  std::mutex lock_;
  std::string text_;
  std::thread reader_;
};

// A whole run in the real window, by an ordinary user, with the real polkit, pkexec, dd and
// mkfs.fat, on a player that is a block device made of a file; and everybody else who looks.
class ScriptSecretsTest : public ScriptBoxTest {
 protected:
  void SetUp() override {
    ScriptBoxTest::SetUp();
    if (IsSkipped()) {
      return;
    }
    makePlayer();
    shell(
        "mkdir -m 777 /run/box/home /run/box/Book /run/box/cores; echo one >/run/box/Book/1.mp3; "
        "touch /run/box/person; mount --bind '" PERSON_PROGRAM
        "' /run/box/person; chown -R tester /run/box/bench");
    journal_ = std::make_unique<LogSocket>("/run/systemd/journal/socket");
    syslog_ = std::make_unique<LogSocket>("/dev/log");
    slowPam();
    slowTool("/usr/bin/dd", "wiping");
  }

  // The bench's image as /dev/vp0, which the box's /sys says to be the first player of USB bus 1.
  void makePlayer() {
    BenchPlayerPlan plan;
    plan.name = "a";
    ASSERT_EQ(createPlayer("/run/box/bench", plan), std::nullopt);
    ASSERT_TRUE(plugPlayer("/run/box/bench", "a"));
    shell("mkdir /run/box/sys; sh '" BOX_DISKS_SCRIPT "' /run/box/sys");
    image_ = FileHandle(::open(pluggedImage("/run/box/bench", "a").c_str(), O_RDWR | O_CLOEXEC));
    loop_ = LoopDevice::of(image_.get());
    const std::string number = loop_.deviceNumber();
    shell(
        "cd /sys; mkdir -p dev/block usb/vp0/device usb/vp0/holders; echo 1 >usb/busnum; "
        "echo 2 >usb/devnum; echo 1 >usb/vp0/diskseq; echo 'ACTIONS ' >usb/vp0/device/vendor; "
        "echo " +
        number + " >usb/vp0/dev; ln -s ../../usb/vp0 dev/block/" + number +
        "; mknod /dev/vp0 b 7 " + std::to_string(loop_.number));
  }
  // Has a tool tell by the file that it was started, and wait for /run/box/go-on.
  static void slowTool(const std::string& tool, const std::string& file) {
    const std::string real = "/run/box/real-" + file;
    shell("cp -p " + tool + " " + real);
    writeFile("/run/box/slow-" + file, "#!/bin/sh\ntouch /run/box/" + file +
                                           "\nuntil [ -e /run/box/go-on ]; do sleep 0.02; done\n"
                                           "exec " +
                                           real + " \"$@\"\n");
    shell("chmod +x /run/box/slow-" + file + "; mount --bind /run/box/slow-" + file + " " + tool);
  }
  // The window of tester's, in a folder where cores may be written.
  static std::unique_ptr<Person> openWindow() {
    auto person = std::make_unique<Person>(
        std::vector<std::string>{"setpriv", "--reuid=tester", "--regid=nogroup", "--clear-groups",
                                 "env", "-i", "PATH=/usr/bin:/bin", "LANG=C.UTF-8",
                                 "HOME=/run/box/home", "QT_QPA_PLATFORM=offscreen", "/bin/sh", "-c",
                                 "cd /run/box/cores; ulimit -c unlimited; exec \"$@\"", "sh",
                                 "/run/box/person", "/run/box/bench", "", "/run/box/agent"},
        "/run/box/streams");
    EXPECT_TRUE(person->ask({"players", "1"}, "players"));
    EXPECT_TRUE(person->ask({"add", "/run/box/Book"}, "added"));
    return person;
  }
  static void type(Person& person, const std::string& password) {
    EXPECT_TRUE(person.ask({"ask"}, "asking"));
    EXPECT_TRUE(person.ask({"type", "boss", password}, "typed"));
  }

  // The processes with this word on their command lines.
  static std::vector<pid_t> processes(const std::string& word) {
    std::vector<pid_t> found;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
      const std::string words = read(entry.path() / "cmdline");
      if (words.starts_with(word)) {
        found.push_back(std::stoi(entry.path().filename()));
      }
    }
    return found;
  }
  // What the process shows to those who may look, its children's and its helpers' included.
  void expectNothingShown(const std::string& when) {
    int seen = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
      for (const char* name : {"cmdline", "environ", "comm"}) {
        const std::string text = read(entry.path() / name);
        seen += text.empty() ? 0 : 1;
        expectFree(text, when + ": " + (entry.path() / name).string());
      }
    }
    EXPECT_GT(seen, 10);
    for (const char* file : {"/run/box/streams", "/run/box/bus.log"}) {
      expectFree(read(file), when + ": " + file);
    }
    expectFree(journal_->text(), when + ": the journal");
    expectFree(syslog_->text(), when + ": the system's log");
    for (const auto& entry : std::filesystem::recursive_directory_iterator("/run/box/home")) {
      ADD_FAILURE() << when << ": " << entry.path();
    }
  }
  static void expectFree(const std::string& text, const std::string& where) {
    for (const auto& secret : {kBossPassword, kWrongPassword}) {
      EXPECT_EQ(text.find(secret), std::string::npos) << where;
    }
  }

  FileHandle image_;
  LoopDevice loop_;
  std::unique_ptr<LogSocket> journal_;
  std::unique_ptr<LogSocket> syslog_;
};

TEST_F(ScriptSecretsTest, NothingShowsThePasswordAtAnyMomentOfARun) {
  const auto person = openWindow();
  writeFile("/run/box/go", "");
  type(*person, kWrongPassword);
  expectNothingShown("typed");
  person->say({"ok"});
  EXPECT_TRUE(person->ask({"alert"}, "Process Completed.\nPlayer /dev/vp0 Failed in process"));
  expectNothingShown("refused");
  EXPECT_TRUE(person->ask({"dismiss"}, "dismissed"));
  shell("rm -f /run/box/go /run/box/asked");

  type(*person, kBossPassword);
  expectNothingShown("typed again");
  person->say({"ok"});
  awaitFile("/run/box/asked");
  EXPECT_EQ(processes("/run/box/agent").size(), 1U);
  EXPECT_GE(processesWith("pkexec"), 1);
  expectNothingShown("the password is being checked");
  writeFile("/run/box/go", "");
  awaitFile("/run/box/wiping");
  EXPECT_GE(processesWith("if=/dev/zero"), 1);
  expectNothingShown("the command runs");
  writeFile("/run/box/go-on", "");
  EXPECT_TRUE(person->ask({"alert"}, "Process Completed."));
  expectNothingShown("completed");
  EXPECT_NE(journal_->text().find("done\n"), std::string::npos);
  // pkexec tells the system's log who ran what.
  EXPECT_NE(syslog_->text().find("pkexec"), std::string::npos) << syslog_->text();
}

// What the programs of a user may learn of his other ones.
class ScriptPrivacyTest : public ScriptSecretsTest {
 protected:
  // Runs it in a process of tester's; its answer.
  static int asTester(const std::function<int()>& look) {
    const pid_t child = ::fork();
    if (child == 0) {
      ::setgroups(0, nullptr);
      const bool isTester =
          ::setresgid(65534, 65534, 65534) == 0 && ::setresuid(tester(), tester(), tester()) == 0;
      ::_exit(isTester ? look() : 99);
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
  // Of six looks into the process, how many succeed.
  static int looksInto(pid_t process) {
    return asTester([process] {
      return opens(process, "mem") + opens(process, "environ") + opens(process, "maps") +
             opens(process, "fd") + readsMemory(process) + traces(process);
    });
  }
};

TEST_F(ScriptPrivacyTest, TheUsersOtherProgramsCantLookIntoWindowOrAgent) {
  const auto person = openWindow();
  type(*person, kBossPassword);
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
  writeFile("/run/box/go", "");
  writeFile("/run/box/go-on", "");
  EXPECT_TRUE(person->ask({"alert"}, "Process Completed."));
  EXPECT_EQ(looksInto(person->process()), 0);
}

TEST_F(ScriptPrivacyTest, AnotherProgramOfTheUsersIsAnOpenBook) {
  // What the looks above would see of a window that doesn't hide.
  shell("cp /bin/sleep /run/box/plain");
  Person plain(
      {"setpriv", "--reuid=tester", "--regid=nogroup", "--clear-groups", "/run/box/plain", "1000"},
      "/run/box/streams");
  await([&] { return processes("/run/box/plain").size() == 1; }, "the program runs");
  EXPECT_EQ(looksInto(plain.process()), 6);
}

TEST_F(ScriptPrivacyTest, ACrashLeavesNoCore) {
  const auto person = openWindow();
  type(*person, kBossPassword);
  person->say({"ok"});
  awaitFile("/run/box/asked");
  const auto agents = processes("/run/box/agent");
  ASSERT_EQ(agents.size(), 1U);
  ::kill(agents.front(), SIGABRT);
  // The wipe is tried again, by another agent.
  await([&] { return !exists("/proc/" + std::to_string(agents.front())); }, "the agent ends");
  writeFile("/run/box/go", "");
  writeFile("/run/box/go-on", "");
  EXPECT_TRUE(person->ask({"alert"}, "Process Completed."));
  person->signal(SIGABRT);
  const auto status = person->ended();
  ASSERT_TRUE(status);
  EXPECT_EQ(WTERMSIG(*status), SIGABRT);
  EXPECT_FALSE(WCOREDUMP(*status));
  EXPECT_TRUE(std::filesystem::is_empty("/run/box/cores"));
}

}  // namespace
}  // namespace fillstation::test
