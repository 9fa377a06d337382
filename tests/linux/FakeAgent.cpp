#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

#include "AgentShell.h"

using namespace fillstation;

namespace {

using Kind = AgentReply::Kind;

std::filesystem::path folder() { return std::getenv("FAKE_AGENT_FOLDER"); }

void note(const std::string& text) {
  std::ofstream(folder() / "log", std::ios::app) << text << std::flush;
}

// Adds this process to a folder; how many are there with it.
long present(const std::string& name, bool joins) {
  if (joins) {
    std::ofstream(folder() / name / std::to_string(::getpid())) << "";
  }
  return std::distance(std::filesystem::directory_iterator(folder() / name),
                       std::filesystem::directory_iterator());
}

void awaitPresent(const std::string& name, long count) {
  present(name, true);
  while (present(name, false) < count) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

int reply(const AgentReply& answer) { return sendReply(STDIN_FILENO, answer) ? 0 : 1; }

// Verified; the command is noted, and then the reply follows.
int serve(const AgentReply& answer, long together) {
  reply({Kind::verified, 0, {}, {}});
  const auto command = receiveText(STDIN_FILENO);
  if (!command) {
    note("no command\n");
    return reply({Kind::cancelled, 0, {}, {}});
  }
  note("command " + *command + "\n");
  if (together > 0) {
    awaitPresent("serving", together);
  }
  return reply(answer);
}

// Refused, once that many are there at the same time; how many there were at most is noted.
int crowd(long together) {
  awaitPresent("crowd", together);
  // Waiting agents get a free place now.
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  note(std::to_string(present("crowd", false)) + "\n");
  return reply({Kind::wrongCredentials, 0, {}, {}});
}

int surroundings() {
  std::string text = ::getsid(0) == ::getpid() ? "own session" : "shared session";
  for (int number = 0; number < 100; ++number) {
    std::error_code error;
    const auto target =
        std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(number), error).string();
    if (!error) {
      text += " " + std::to_string(number) + "=" + target.substr(0, target.find(':'));
    }
  }
  return serve({Kind::ended, 0, text, {}}, 0);
}

int waitForTheEnd() {
  char none = 0;
  note("waiting\n");
  ::recv(STDIN_FILENO, &none, 1, 0);
  return reply({Kind::cancelled, 0, {}, {}});
}

// Refused; it ends only when there is a file "go".
int outstay() {
  const int status = reply({Kind::wrongCredentials, 0, {}, {}});
  note("lingering\n");
  while (!std::filesystem::exists(folder() / "go")) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return status;
}

}  // namespace

// An agent that behaves as the user name says.
int main() {
  const std::string user = receiveText(STDIN_FILENO).value_or("");
  const std::string password = receiveText(STDIN_FILENO).value_or("");
  note("user " + user + " password " + password + "\n");
  if (user == "refuse" || password == "refuse") {
    return reply({Kind::wrongCredentials, 0, {}, {}});
  }
  if (user == "boss") {
    return serve({Kind::ended, std::stoi(password), "its output", "its /dev/fd/9 error"}, 0);
  }
  if (user == "says") {
    return serve({Kind::ended, 1, {}, password}, 0);
  }
  if (user == "together") {
    return serve({Kind::ended, 0, {}, {}}, std::stol(password));
  }
  if (user == "crowd") {
    return crowd(std::stol(password));
  }
  if (user == "kind") {
    return reply({static_cast<Kind>(std::stoi(password)), 0, {}, "the reason"});
  }
  if (user == "surroundings") {
    return surroundings();
  }
  if (user == "leaves") {
    return password == "verified" ? reply({Kind::verified, 0, {}, {}}) : 0;
  }
  return user == "lingers" ? outstay() : waitForTheEnd();
}
