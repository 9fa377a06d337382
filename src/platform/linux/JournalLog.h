#pragma once

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>

#include "FileHandle.h"
#include "StreamLog.h"
#include "SystemLog.h"

namespace fillstation {

// The system log in the journal, by its native protocol, which keeps every byte; and also on a
// stream, unless that leads to the journal already. Without a journal the stream gets everything. A
// slow journal is waited for. A journal that accepts nothing is given up after a moment, and not
// waited for again until it accepts something; meanwhile the stream gets the text, unless it leads
// to that journal too. The next record in the journal has the number of missed ones in the field
// FILLSTATION_MISSED. Any thread; the stream outlives it.
class JournalLog : public SystemLog {
 public:
  explicit JournalLog(std::FILE* stream = stderr,
                      std::string socketPath = "/run/systemd/journal/socket",
                      std::chrono::milliseconds patience = std::chrono::milliseconds(200))
      : file_(stream),
        stream_(stream),
        socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)),
        socketPath_(std::move(socketPath)),
        streamIsJournal_(isJournal(stream)) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(patience);
    const timeval limit{seconds.count(), std::chrono::microseconds(patience - seconds).count()};
    ::setsockopt(socket_.get(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit));
  }

  void write(std::string_view text) override { writeWith(text, {}); }
  // In the journal each field's name begins with FILLSTATION_; the stream gets only the text.
  void writeWith(std::string_view text, const LogFields& fields) override {
    const std::size_t missed = missed_.exchange(0);
    const Sent sent = send(text, fields, missed);
    if (sent != Sent::taken) {
      missed_ += sent == Sent::full ? missed + 1 : missed;
    }
    // A stream that leads to the same journal gets only records that did not get there.
    if (!streamIsJournal_ || sent == Sent::failed || (sent == Sent::full && takesMore(file_))) {
      stream_.write(text);
    }
  }

 private:
  // The fields by which the entries of the journal are found.
  static constexpr std::string_view kIdentifier = "SYSLOG_IDENTIFIER=fillstation\n";

  // A field that may contain line feeds: its name, its length in 64 bits, lowest byte first, and
  // its bytes.
  static void addField(std::string& entry, std::string_view name, std::string_view value) {
    entry.append(name) += '\n';
    for (std::uint64_t length = value.size(), byte = 0; byte < sizeof(length); ++byte) {
      entry += static_cast<char>(length >> 8 * byte & 0xFF);
    }
    entry.append(value) += '\n';
  }

  static std::string entryOf(std::string_view text, const LogFields& fields, std::size_t missed) {
    std::string entry(kIdentifier);
    if (missed > 0) {
      entry += "FILLSTATION_MISSED=" + std::to_string(missed) + "\n";
    }
    for (const auto& [name, value] : fields) {
      addField(entry, "FILLSTATION_" + name, value);
    }
    addField(entry, "MESSAGE", text);
    return entry;
  }

  // The service manager names a stream that leads to the journal by its device and inode.
  static bool isJournal(std::FILE* stream) {
    const char* const journal = std::getenv("JOURNAL_STREAM");
    struct stat status {};
    return journal != nullptr && ::fstat(::fileno(stream), &status) == 0 &&
           journal == std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
  }

  // Whether a text can be written there at once.
  static bool takesMore(std::FILE* stream) {
    pollfd waiting{::fileno(stream), POLLOUT, 0};
    return ::poll(&waiting, 1, 0) == 1;
  }

  enum class Sent { taken, full, failed };

  // `missed`: the number of earlier records that the journal did not accept.
  Sent send(std::string_view text, const LogFields& fields, std::size_t missed) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    socketPath_.copy(address.sun_path, sizeof(address.sun_path) - 1);
    const std::string entry = entryOf(text, fields, missed);
    const bool taken =
        ::sendto(socket_.get(), entry.data(), entry.size(), givenUp_ ? MSG_DONTWAIT : 0,
                 reinterpret_cast<const sockaddr*>(&address), sizeof(address)) >= 0;
    const Sent sent = taken ? Sent::taken : errno == EAGAIN ? Sent::full : Sent::failed;
    givenUp_ = sent == Sent::full;
    return sent;
  }

  std::FILE* const file_;
  StreamLog stream_;
  // Not connected, so that it survives a restart of the journal.
  const FileHandle socket_;
  const std::string socketPath_;
  const bool streamIsJournal_;
  std::atomic<std::size_t> missed_{0};
  std::atomic<bool> givenUp_{false};
};

}  // namespace fillstation
