#pragma once

#include <fcntl.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "BenchFolder.h"
#include "ScriptBox.h"

namespace fillstation::test {

// A test with a whole run in the real window: by an ordinary user, with the real polkit, pkexec, dd
// and mkfs.fat, on a player that is a block device made of a file. The check of a password and dd
// wait for the test (/run/box/go and /run/box/go-wiping).
class ScriptWindowTest : public ScriptBoxTest {
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
    slowPam();
    slowTool("/usr/bin/dd", "wiping");
  }

  // Makes a tool create /run/box/NAME at its start, and wait for /run/box/go-NAME.
  static void slowTool(const std::string& tool, const std::string& name) {
    replaceTool(tool, "touch /run/box/" + name + "; until [ -e /run/box/go-" + name +
                          " ]; do sleep 0.02; done; exec /run/box/real-${0##*/} \"$@\"");
  }
  // The window of tester's, in a folder where cores may be written, with the player and a folder of
  // audio in it.
  static std::unique_ptr<Person> openWindow() {
    auto person = std::make_unique<Person>(
        std::vector<std::string>{"setpriv", "--reuid=tester", "--regid=nogroup", "--clear-groups",
                                 "env", "-i", "PATH=/usr/bin:/bin", "LANG=C.UTF-8",
                                 "HOME=/run/box/home", "QT_QPA_PLATFORM=offscreen",
                                 sanitizerOptions(), "/bin/sh", "-c",
                                 "cd /run/box/cores; ulimit -c unlimited; exec \"$@\"", "sh",
                                 "/run/box/person", "/run/box/bench", "", "/run/box/agent"},
        "/run/box/streams");
    EXPECT_TRUE(person->ask({"players", "1"}, "players"));
    EXPECT_TRUE(person->ask({"add", "/run/box/Book"}, "added"));
    return person;
  }
  // Asks for boss's credentials and types the password.
  static void type(Person& person, const std::string& password) {
    EXPECT_TRUE(person.ask({"ask"}, "asking"));
    EXPECT_TRUE(person.ask({"type", "boss", password}, "typed"));
  }
  // Such a window while boss's password is checked.
  static std::unique_ptr<Person> openChecking() {
    auto person = openWindow();
    type(*person, bossPassword());
    person->say({"ok"});
    awaitFile("/run/box/asked");
    return person;
  }
  // Lets the check and dd go on, and the run end well.
  static void complete(Person& person) {
    writeFile("/run/box/go", "");
    writeFile("/run/box/go-wiping", "");
    EXPECT_TRUE(person.ask({"alert"}, "Process Completed."));
  }

  FileHandle image_;
  LoopDevice loop_;

 private:
  // The bench's image as /dev/vp0, which the box's /sys presents as the first player of USB bus 1.
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
  // The options of ThreadSanitizer for a user who can't read the project's folder.
  static std::string sanitizerOptions() {
    const char* const told = std::getenv("TSAN_OPTIONS");
    std::string options = told != nullptr ? told : "";
    const std::string key = "suppressions=";
    const std::size_t begin = options.find(key) + key.size();
    if (options.find(key) != std::string::npos) {
      const std::string copy = "/run/box/suppressions";
      const std::size_t length = options.find(':', begin) - begin;
      std::filesystem::copy_file(options.substr(begin, length), copy,
                                 std::filesystem::copy_options::overwrite_existing);
      options.replace(begin, length, copy);
    }
    return "TSAN_OPTIONS=" + options;
  }
};

}  // namespace fillstation::test
