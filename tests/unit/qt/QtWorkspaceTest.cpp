#include "QtWorkspace.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <QDBusConnection>
#include <QProcess>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

#include "PrivateBus.h"
#include "TempFolder.h"

namespace fillstation {
namespace {

// Puts a fake of the desktop's helper first on PATH.
class QtWorkspaceTest : public testing::Test {
 protected:
  QtWorkspaceTest() : path_(std::getenv("PATH")) {
    ::setenv("PATH", (folder_.path() + ":" + path_).c_str(), 1);
  }
  ~QtWorkspaceTest() override {
    ::setenv("PATH", path_.c_str(), 1);
    awaitNoChild();
  }

  // Returns when the workspace has taken every child's end.
  static void awaitNoChild() {
    siginfo_t info{};
    while (::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_EQ(errno, ECHILD);
  }

  void fakeHelper(const std::string& script) {
    const std::string program = folder_.write("xdg-open", "#!/bin/sh\n" + script);
    ::chmod(program.c_str(), 0700);
  }
  // The fake's output, which it renames into place.
  std::string answer() const {
    while (!std::filesystem::exists(folder_.path("answer"))) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return test::contentOf(folder_.path("answer"));
  }
  std::string giveAnswer() const {
    return " >'" + folder_.path("new") + "'; mv '" + folder_.path("new") + "' '" +
           folder_.path("answer") + "'\n";
  }

  test::TempFolder folder_;
  std::string path_;
  QtWorkspace workspace_;
};

TEST_F(QtWorkspaceTest, HandsTheAddressOverAsItIs) {
  fakeHelper("printf '%s|' \"$#\" \"$@\"" + giveAnswer());
  workspace_.openUrl("https://example.com/a b?c=$d&e;f'\"*");
  EXPECT_EQ(answer(), "1|https://example.com/a b?c=$d&e;f'\"*|");
}

TEST_F(QtWorkspaceTest, DoesNotWaitAndLeavesNoZombie) {
  ASSERT_EQ(::mkfifo(folder_.path("gate").c_str(), 0600), 0);
  fakeHelper("read -r word <'" + folder_.path("gate") + "'; echo \"$word\"" + giveAnswer());
  workspace_.openUrl("https://example.com/");
  EXPECT_FALSE(std::filesystem::exists(folder_.path("answer")));
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), 0) << "still running";
  folder_.write("gate", "opened\n");
  EXPECT_EQ(answer(), "opened\n");
  awaitNoChild();
}

TEST_F(QtWorkspaceTest, TheHelperSaysNothingOnOurStreamsAndHasItsOwnSession) {
  fakeHelper(
      "(readlink /proc/$$/fd/0 /proc/$$/fd/1 /proc/$$/fd/2; read -r a b c d e s rest "
      "</proc/$$/stat; test $s = $$ && echo session)" +
      giveAnswer());
  workspace_.openUrl("https://example.com/");
  EXPECT_EQ(answer(), "/dev/null\n/dev/null\n/dev/null\nsession\n");
}

TEST_F(QtWorkspaceTest, WithoutAHelperNothingHappens) {
  ::setenv("PATH", folder_.path().c_str(), 1);
  workspace_.openUrl("https://example.com/");
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
}

// The messages on the desktop's bus, as a monitor of the bus prints them.
class DesktopTest : public testing::Test {
 protected:
  DesktopTest() {
    monitor_.start("dbus-monitor", {"--address", bus_.address()});
    heard("member=NameLost");
  }
  ~DesktopTest() override {
    monitor_.kill();
    monitor_.waitForFinished(-1);
  }

  // All that it has printed up to this text, each run of white space as one blank.
  std::string heard(const std::string& last) {
    const QString text = QString::fromStdString(last);
    while (!said_.simplified().contains(text)) {
      if (!monitor_.waitForReadyRead(-1)) {
        return "The monitor has ended.";
      }
      said_ += QString::fromUtf8(monitor_.readAllStandardOutput());
    }
    return said_.simplified().toStdString();
  }

  test::PrivateBus bus_;
  QtWorkspace workspace_{[this] { return bus_.connect("workspace"); }};

 private:
  QProcess monitor_;
  QString said_;
};

TEST_F(DesktopTest, ASummaryIsAPlainTextWithASound) {
  workspace_.notify("2 of 3: A<B & \"C\"\n", true);
  const std::string all = heard("int32 -1");
  EXPECT_NE(all.find("path=/org/freedesktop/Notifications; "
                     "interface=org.freedesktop.Notifications; member=Notify "
                     "string \"Fillstation\" uint32 0 string \"fillstation\" "
                     "string \"Fillstation\" "
                     "string \"2 of 3: A&lt;B &amp; &quot;C&quot; \" array [ ] array [ "
                     "dict entry( string \"desktop-entry\" variant string \"fillstation\" ) "
                     "dict entry( string \"sound-name\" variant string \"dialog-warning\" ) ] "
                     "int32 -1"),
            std::string::npos)
      << all;
  workspace_.notify("Done", false);
  heard("string \"complete\"");
}

TEST_F(DesktopTest, AShareIsShownAtTheIconUntilThereIsNone) {
  workspace_.showProgress(0.25);
  const std::string all = heard("boolean true");
  EXPECT_NE(
      all.find("path=/fillstation; interface=com.canonical.Unity.LauncherEntry; member=Update "
               "string \"application://fillstation.desktop\" array [ "
               "dict entry( string \"progress\" variant double 0.25 ) "
               "dict entry( string \"progress-visible\" variant boolean true"),
      std::string::npos)
      << all;
  workspace_.showProgress({});
  EXPECT_NE(heard("boolean false").find("string \"progress\" variant double 0 )"),
            std::string::npos);
}

TEST(Desktop, WithoutABusNothingHappens) {
  QtWorkspace workspace([] { return QDBusConnection("nowhere"); });
  workspace.showProgress(1);
  workspace.notify("Done", false);
}

}  // namespace
}  // namespace fillstation
