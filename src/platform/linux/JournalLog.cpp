#include "JournalLog.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <cstdint>
#include <cstdlib>
#include <utility>

namespace fillstation {

namespace {

// What the entries of the journal are found by.
constexpr std::string_view kIdentifier = "SYSLOG_IDENTIFIER=fillstation\n";
constexpr std::string_view kMessage = "MESSAGE\n";

// A field that may hold line feeds: its name, its length in 64 bits, lowest byte first, its bytes.
std::string entryOf(std::string_view text) {
  std::string entry(kIdentifier);
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

}  // namespace

JournalLog::JournalLog(std::FILE* stream, std::string socketPath)
    : stream_(stream),
      socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)),
      socketPath_(std::move(socketPath)),
      streamIsJournal_(isJournal(stream)) {}

void JournalLog::write(std::string_view text) {
  if (!reachesJournal(text) || !streamIsJournal_) {
    stream_.write(text);
  }
}

bool JournalLog::reachesJournal(std::string_view text) const {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  socketPath_.copy(address.sun_path, sizeof(address.sun_path) - 1);
  const std::string entry = entryOf(text);
  return ::sendto(socket_.get(), entry.data(), entry.size(), 0,
                  reinterpret_cast<const sockaddr*>(&address), sizeof(address)) >= 0;
}

}  // namespace fillstation
