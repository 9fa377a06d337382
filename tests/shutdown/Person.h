#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "FileHandle.h"

namespace fillstation::test {

// A person at the window of person_program, a process of its own: says what is to be done there and
// hears what there is to be seen. One thread.
class Person {
 public:
  // Starts the program by these words; a program before it may change what it inherits. What it
  // writes to its streams goes to the file.
  Person(const std::vector<std::string>& words, const std::string& streams);
  // Kills it if it is still there.
  ~Person();
  Person(const Person&) = delete;
  Person& operator=(const Person&) = delete;

  // The commands are described in person_program.cpp.
  void say(std::initializer_list<std::string> texts);
  // The next answer; none when the program has gone, or says nothing for a minute.
  std::optional<std::string> hear();
  // Says it, and whether this is the answer.
  bool ask(std::initializer_list<std::string> texts, const std::string& answer);

  pid_t process() const { return process_; }
  // Ends the program by the signal, or by closing its window when that is 0; for the outcome see
  // ended().
  std::optional<int> end(int signal);
  // How the process has ended, as waitpid tells; waits for it a minute, then none.
  std::optional<int> ended();

 private:
  FileHandle socket_;
  pid_t process_ = 0;
};

}  // namespace fillstation::test
