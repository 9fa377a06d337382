#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <optional>
#include <string>
#include <thread>

#include "AgentProtocol.h"
#include "FileHandle.h"
#include "WipeText.h"

namespace fillstation::test {
namespace {

class ScriptProtocolTest : public testing::Test {
 protected:
  ScriptProtocolTest() {
    int ends[2];
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    one_ = FileHandle(ends[0]);
    other_ = FileHandle(ends[1]);
  }

  FileHandle one_;
  FileHandle other_;
};

TEST_F(ScriptProtocolTest, TextsArriveOneByOneByteByByte) {
  const std::string strange("a\0b\nc\xff", 6);
  EXPECT_TRUE(sendText(one_.get(), strange));
  EXPECT_TRUE(sendText(one_.get(), ""));
  EXPECT_TRUE(sendText(one_.get(), "last"));
  EXPECT_EQ(receiveText(other_.get()), strange);
  EXPECT_EQ(receiveText(other_.get()), "");
  EXPECT_EQ(receiveText(other_.get()), "last");
}

TEST_F(ScriptProtocolTest, ALongTextArrivesInPieces) {
  const std::string text(5 << 20, 'x');
  std::optional<std::string> received;
  std::thread reader([&] { received = receiveText(other_.get()); });
  EXPECT_TRUE(sendText(one_.get(), text));
  reader.join();
  EXPECT_EQ(received, text);
}

TEST_F(ScriptProtocolTest, ATextThatIsCutShortIsNone) {
  for (const std::size_t sent : {0U, 4U, 8U, 10U}) {
    int ends[2];
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    EXPECT_TRUE(sendText(one_.get(), "four"));
    char whole[12];
    EXPECT_EQ(::recv(other_.get(), whole, sizeof whole, MSG_WAITALL), 12);
    EXPECT_EQ(::send(ends[0], whole, sent, 0), static_cast<ssize_t>(sent));
    ::close(ends[0]);
    EXPECT_EQ(receiveText(ends[1]), std::nullopt) << sent;
    ::close(ends[1]);
  }
}

TEST_F(ScriptProtocolTest, ATextThatClaimsToBeEndlessIsNone) {
  const std::uint64_t claimed[] = {kLongestText + 1, ~std::uint64_t{0}};
  for (const std::uint64_t size : claimed) {
    EXPECT_EQ(::send(one_.get(), &size, sizeof size, 0), 8);
    EXPECT_EQ(receiveText(other_.get()), std::nullopt);
  }
}

TEST_F(ScriptProtocolTest, TheLongestTextArrives) {
  const std::string text(kLongestText, 'x');
  std::optional<std::string> received;
  std::thread reader([&] { received = receiveText(other_.get()); });
  EXPECT_TRUE(sendText(one_.get(), text));
  reader.join();
  EXPECT_TRUE(received == text);
}

TEST_F(ScriptProtocolTest, SendingToNobodyFailsWithoutASignal) {
  other_ = FileHandle();
  EXPECT_FALSE(sendText(one_.get(), "text"));
  EXPECT_FALSE(sendReply(one_.get(), {}));
}

TEST_F(ScriptProtocolTest, RepliesArriveWhole) {
  for (const auto kind : {AgentReply::Kind::verified, AgentReply::Kind::unavailable}) {
    EXPECT_TRUE(sendReply(one_.get(), {kind, 255, "out", "err"}));
    const auto reply = receiveReply(other_.get());
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->kind, kind);
    EXPECT_EQ(reply->exitStatus, 255);
    EXPECT_EQ(reply->out, "out");
    EXPECT_EQ(reply->err, "err");
  }
}

TEST_F(ScriptProtocolTest, AReplyThatIsCutShortIsNone) {
  EXPECT_TRUE(sendReply(one_.get(), {AgentReply::Kind::ended, 0, "out", "err"}));
  char whole[64];
  const ssize_t size = ::recv(other_.get(), whole, sizeof whole, 0);
  ASSERT_EQ(size, 8 + 11 + 11);
  for (const std::size_t sent : {0U, 7U, 8U, 19U, 29U}) {
    int ends[2];
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    EXPECT_EQ(::send(ends[0], whole, sent, 0), static_cast<ssize_t>(sent));
    ::close(ends[0]);
    EXPECT_FALSE(receiveReply(ends[1])) << sent;
    ::close(ends[1]);
  }
}

TEST_F(ScriptProtocolTest, ASignalDoesNotInterruptIt) {
  struct sigaction action {};
  action.sa_handler = [](int) {};
  ::sigaction(SIGUSR1, &action, nullptr);
  const std::string text(5 << 20, 'x');
  std::optional<std::string> received;
  bool sent = false;
  std::atomic<bool> isReading = false;
  std::thread reader([&] {
    isReading = true;
    received = receiveText(other_.get());
  });
  while (!isReading) {
    std::this_thread::yield();
  }
  for (int time = 0; time < 20; ++time) {
    ::pthread_kill(reader.native_handle(), SIGUSR1);
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  std::thread writer([&] { sent = sendText(one_.get(), text); });
  writer.join();
  reader.join();
  EXPECT_TRUE(sent);
  EXPECT_EQ(received, text);
}

TEST_F(ScriptProtocolTest, AWipedTextIsGoneFromMemory) {
  std::string text = "a secret that is too long to be kept inside";
  const std::size_t size = text.size();
  const volatile char* memory = text.data();
  wipeText(text);
  EXPECT_EQ(text, "");
  int kept = 0;
  for (std::size_t at = 0; at < size; ++at) {
    kept += memory[at] != '\0' ? 1 : 0;
  }
  EXPECT_EQ(kept, 0);
}

}  // namespace
}  // namespace fillstation::test
