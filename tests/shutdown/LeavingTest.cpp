#include <sys/prctl.h>
#include <sys/resource.h>

#include <algorithm>
#include <filesystem>
#include <memory>

#include "BackEnd.h"
#include "BenchFolder.h"
#include "Person.h"
#include "TempFolder.h"

namespace fillstation::test {
namespace {

constexpr Way kWays[] = {
    {"Closed", 0},         {"Terminated", SIGTERM}, {"Interrupted", SIGINT},
    {"LoggedOut", SIGHUP}, {"Killed", SIGKILL},     {"Aborted", SIGABRT},
};

// The steps of a run, in their order.
constexpr const char* kSteps[] = {"listed", "asking",   "authentication", "unmount",
                                  "wipe",   "format",   "mount",          "copy",
                                  "flush",  "readback", "reporting"};

// The whole program over the virtual bench ends at one step of a run in one way, as a process that
// is looked at from outside; then it is started again.
class LeavingTest : public ::testing::TestWithParam<LeavingCase> {
 protected:
  LeavingTest() {
    // We become the parent of processes that the program leaves behind.
    ::prctl(PR_SET_CHILD_SUBREAPER, 1);
    rlimit cores{};
    ::getrlimit(RLIMIT_CORE, &cores);
    cores.rlim_cur = cores.rlim_max;
    ::setrlimit(RLIMIT_CORE, &cores);
    book.write("Book/1.mp3", "first");
    book.write("Book/2.mp3", "second");
    book.write("Book/Part/3.mp3", "third");
    for (const char* name : {"a", "b"}) {
      BenchPlayerPlan plan;
      plan.name = name;
      EXPECT_EQ(createPlayer(bench.path(), plan), std::nullopt);
      EXPECT_TRUE(plugPlayer(bench.path(), name));
    }
    holdTool("wipe", "dd");
    holdTool("format", "mkfs.fat");
  }
  ~LeavingTest() override { awaitNoChild(); }

  static std::string step() { return std::get<0>(GetParam()); }
  static Way way() { return std::get<1>(GetParam()); }

  // A tool that notes its start and, at its step, waits until it may work.
  void holdTool(const std::string& itsStep, const std::string& tool) {
    const std::string wait =
        step() == itsStep ? "until [ -e '" + notes.path("go") + "' ]; do sleep 0.01; done\n" : "";
    const std::string file = tools.write(
        tool, "#!/bin/sh\necho " + tool + " >>'" + notes.path("started") + "'\n" + wait +
                  "PATH=/usr/sbin:/usr/bin:/sbin:/bin exec " + tool + " \"$@\"\n");
    std::filesystem::permissions(file, std::filesystem::perms::owner_all);
  }
  std::unique_ptr<Person> start(const std::string& held, const std::string& firstTools) {
    return std::make_unique<Person>(
        std::vector<std::string>{"env", "PATH=" + firstTools + ":/usr/bin:/bin",
                                 "HOME=" + notes.path(), "QT_QPA_PLATFORM=offscreen",
                                 PERSON_PROGRAM, bench.path(), held},
        notes.path("streams"));
  }
  // Everything that the program has started and that outlived it has ended.
  static void awaitNoChild() {
    EXPECT_TRUE(awaitThat([] {
      while (::waitpid(-1, nullptr, WNOHANG) > 0) {
      }
      return ::waitpid(-1, nullptr, WNOHANG) < 0;
    })) << "a process is left behind";
  }

  // The actions that start a run, up to the step.
  void begin(Person& person, const std::string& last = "") {
    ASSERT_TRUE(person.ask({"players", "2"}, "players"));
    if (last == "listed") {
      return;
    }
    ASSERT_TRUE(person.ask({"add", book.path("Book")}, "added"));
    ASSERT_TRUE(person.ask({"ask"}, "asking"));
    if (last == "asking") {
      return;
    }
    ASSERT_TRUE(person.ask({"type", "bench", "bench"}, "typed"));
    person.say({"ok"});
  }
  // Takes the run to the step and leaves it there.
  void reach(Person& person) {
    ASSERT_NO_FATAL_FAILURE(begin(person, step()));
    if (step() == "listed" || step() == "asking") {
      return;
    }
    if (step() == "wipe" || step() == "format") {
      // Both players' commands are under way.
      const std::size_t lines = step() == "wipe" ? 2 : 4;
      ASSERT_TRUE(awaitThat([&] { return linesOf(started()) == lines; })) << started();
    } else if (step() == "reporting") {
      ASSERT_TRUE(person.ask({"alert"}, "Process Completed."));
    } else {
      // Both players' tasks are there, and no command is under way.
      ASSERT_EQ(person.hear(), "held");
      ASSERT_EQ(person.hear(), "held");
    }
  }
  // The tools that were started, a line each.
  std::string started() const { return contentOf(notes.path("started")); }
  static std::size_t linesOf(const std::string& text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
  }

  TempFolder notes;
  TempFolder tools;
  TempFolder book;
  TempFolder bench;
};

TEST_P(LeavingTest, EndsAtOnceLeavesNothingRunningAndStartsAgain) {
  {
    const auto person = start(step(), tools.path());
    ASSERT_NO_FATAL_FAILURE(reach(*person));
    ASSERT_NO_FATAL_FAILURE(person->leave(way()));
  }
  // A running command finishes, and no other begins.
  const std::string before = started();
  notes.write("go", "");
  awaitNoChild();
  EXPECT_EQ(started(), before);

  const auto again = start("", tools.path("none"));
  ASSERT_NO_FATAL_FAILURE(begin(*again));
  EXPECT_TRUE(again->ask({"alert"}, "Process Completed."));
  EXPECT_TRUE(again->ask({"dismiss"}, "dismissed"));
  again->say({"close"});
  EXPECT_EQ(again->ended(), 0);
  const std::vector<contract::OnMedium> all{
      {"1.mp3", "first"}, {"2.mp3", "second"}, {"Part/", ""}, {"Part/3.mp3", "third"}};
  for (const char* name : {"a", "b"}) {
    const FileHandle image(::open(pluggedImage(bench.path(), name).c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(contract::contentOfImage(image.get()), all);
  }
}

INSTANTIATE_TEST_SUITE_P(EveryWay, LeavingTest,
                         ::testing::Combine(::testing::ValuesIn(kSteps),
                                            ::testing::ValuesIn(kWays)),
                         nameOfLeaving);

}  // namespace
}  // namespace fillstation::test
