#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>

#include "FileHandle.h"
#include "StreamLog.h"
#include "SystemLog.h"

namespace fillstation {

// The system log as the journal, in its native protocol, which keeps every byte; and on a stream as
// well, unless that leads to the journal already. Without a journal the stream gets everything. A
// journal that is slow is waited for; one that takes nothing is given up after a moment and not
// waited for again until it takes something: the stream then gets the text, unless it leads to that
// journal and takes nothing either. The next record that the journal takes says how many it has
// missed, in the field FILLSTATION_MISSED. Any thread; the stream outlives it.
class JournalLog : public SystemLog {
 public:
  explicit JournalLog(std::FILE* stream = stderr,
                      std::string socketPath = "/run/systemd/journal/socket",
                      std::chrono::milliseconds patience = std::chrono::milliseconds(200));

  void write(std::string_view text) override;

 private:
  enum class Sent { taken, full, failed };

  // `missed` is how many records before this one the journal did not take.
  Sent send(std::string_view text, std::size_t missed);

  std::FILE* const file_;

  StreamLog stream_;
  // Connected to nobody, so that it outlives a journal that is started anew.
  const FileHandle socket_;
  const std::string socketPath_;
  const bool streamIsJournal_;
  std::atomic<std::size_t> missed_{0};
  std::atomic<bool> givenUp_{false};
};

}  // namespace fillstation
