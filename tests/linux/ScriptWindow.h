#pragma once

#include <memory>
#include <string>

#include "Person.h"
#include "ScriptBox.h"

namespace fillstation::test {

// A test with a whole run in the real window: by an ordinary user, with the real polkit, pkexec, dd
// and mkfs.fat, on a player that is a block device made of a file. The check of a password and dd
// wait for the test (/run/box/go and /run/box/go-wiping).
class ScriptWindowTest : public ScriptBoxTest {
 protected:
  void SetUp() override;

  // Has a tool tell by the file /run/box/NAME that it was started, and wait for /run/box/go-NAME.
  static void slowTool(const std::string& tool, const std::string& name);
  // The window of tester's, in a folder where cores may be written, with the player and a folder of
  // audio in it.
  static std::unique_ptr<Person> openWindow();
  // Asks for boss's credentials and types the password.
  static void type(Person& person, const std::string& password);
  // Such a window while boss's password is checked.
  static std::unique_ptr<Person> openChecking();
  // Lets the check and dd go on, and the run end well.
  static void complete(Person& person);

  FileHandle image_;
  LoopDevice loop_;

 private:
  void makePlayer();
};

}  // namespace fillstation::test
