// Messages between the utility and its agent program: any bytes are a message or none.

#include <sys/socket.h>

#include <array>

#include "AgentShell.h"
#include "FileHandle.h"
#include "Input.h"

using namespace fillstation;

namespace {

struct Line {
  Line() {
    std::array<int, 2> ends{};
    fuzz::require(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()) == 0);
    ours = FileHandle(ends[0]);
    theirs = FileHandle(ends[1]);
  }
  FileHandle ours;
  FileHandle theirs;
};

// Puts the bytes on the line and ends it.
void say(Line& line, std::string_view bytes) {
  // More than the line holds at once would wait for a reader.
  const auto said = bytes.substr(0, 64 << 10);
  fuzz::require(::send(line.theirs.get(), said.data(), said.size(), MSG_NOSIGNAL) ==
                static_cast<ssize_t>(said.size()));
  line.theirs = FileHandle();
}

bool isSame(const AgentReply& left, const AgentReply& right) {
  return left.kind == right.kind && left.exitStatus == right.exitStatus && left.out == right.out &&
         left.err == right.err;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto bytes = fuzz::Input(data, size).rest();
  Line texts;
  say(texts, bytes);
  while (receiveText(texts.ours.get())) {
  }
  Line replies;
  say(replies, bytes);
  while (const auto reply = receiveReply(replies.ours.get())) {
    Line again;
    fuzz::require(sendReply(again.theirs.get(), *reply));
    const auto received = receiveReply(again.ours.get());
    fuzz::require(received && isSame(*received, *reply));
  }
  return 0;
}
