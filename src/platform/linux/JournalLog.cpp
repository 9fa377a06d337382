#include "JournalLog.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <utility>

#include "Format.h"

namespace fillstation {

namespace {

// What the entries of the journal are found by.
constexpr std::string_view kIdentifier = "SYSLOG_IDENTIFIER=fillstation\n";
constexpr std::string_view kMessage = "MESSAGE\n";

// A field that may hold line feeds: its name, its length in 64 bits, lowest byte first, its bytes.
std::string entryOf(std::string_view text, std::size_t missed) {
  std::string entry(kIdentifier);
  if (missed > 0) {
    entry += formatText("FILLSTATION_MISSED=%@\n", std::to_string(missed));
  }
  entry += kMessage;
  for (std::uint64_t length = text.size(), byte = 0; byte < sizeof(length); ++byte) {
    entry += static_cast<char>(length >> 8 * byte & 0xFF);
  }
  entry += text;
  entry += '\n';
  return entry;
}

// Whoever has connected the stream to the journal says so by its device and inode.
bool isJournal(std::FILE* stream) {
  const char* const journal = std::getenv("JOURNAL_STREAM");
  struct stat status {};
  return journal != nullptr && ::fstat(::fileno(stream), &status) == 0 &&
         journal == std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
}

// Whether a text can be written there at once.
bool takesMore(std::FILE* stream) {
  pollfd waiting{::fileno(stream), POLLOUT, 0};
  return ::poll(&waiting, 1, 0) == 1 && (waiting.revents & POLLOUT) != 0;
}

}  // namespace

JournalLog::JournalLog(std::FILE* stream, std::string socketPath,
                       std::chrono::milliseconds patience)
    : file_(stream),
      stream_(stream),
      socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)),
      socketPath_(std::move(socketPath)),
      streamIsJournal_(isJournal(stream)) {
  const timeval limit{patience.count() / 1000, patience.count() % 1000 * 1000};
  ::setsockopt(socket_.get(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit));
}

void JournalLog::write(std::string_view text) {
  const std::size_t missed = missed_.exchange(0);
  const Sent sent = send(text, missed);
  if (sent != Sent::taken) {
    missed_ += sent == Sent::full ? missed + 1 : missed;
  }
  // A stream that leads to the same journal gets only what did not get there.
  if (!streamIsJournal_ || sent == Sent::failed || (sent == Sent::full && takesMore(file_))) {
    stream_.write(text);
  }
}

JournalLog::Sent JournalLog::send(std::string_view text, std::size_t missed) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  socketPath_.copy(address.sun_path, sizeof(address.sun_path) - 1);
  const std::string entry = entryOf(text, missed);
  const bool taken =
      ::sendto(socket_.get(), entry.data(), entry.size(), givenUp_ ? MSG_DONTWAIT : 0,
               reinterpret_cast<const sockaddr*>(&address), sizeof(address)) >= 0;
  const Sent sent = taken ? Sent::taken : errno == EAGAIN ? Sent::full : Sent::failed;
  givenUp_ = sent == Sent::full;
  return sent;
}

}  // namespace fillstation
