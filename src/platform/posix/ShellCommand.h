#pragma once

#include <string>
#include <variant>
#include <vector>

namespace fillstation {

// Runs one command line in the system's shell, /bin/sh -c. Any thread, several at once.
class ShellCommand {
 public:
  // A descriptor of ours that the command gets at a fixed number, 3 or more.
  struct Handed {
    int descriptor;
    int number;
  };
  // How the shell ended, and all that was written.
  struct Result {
    int exitStatus = 0;  // 0 to 255; 0 when a signal ended the shell, 255 when the
                         // system doesn't tell
    int signal = 0;      // 0 unless a signal ended the shell
    std::string out;
    std::string err;

    bool succeeded() const { return exitStatus == 0 && signal == 0; }
  };
  // Why it couldn't be started, as a text for people.
  struct NotStarted {
    std::string reason;
  };

  // Blocks, without a time-out, until the shell has ended and everybody has closed the outputs. The
  // command gets /dev/null as standard input, default signal handlers with nothing blocked, and no
  // other descriptor of ours.
  static std::variant<Result, NotStarted> run(const std::string& commandLine,
                                              const std::vector<Handed>& handed = {}) noexcept;
};

}  // namespace fillstation
