#pragma once

#include <cstdio>
#include <string>
#include <string_view>

#include "FileHandle.h"
#include "StreamLog.h"
#include "SystemLog.h"

namespace fillstation {

// The system log as the journal, in its native protocol, which keeps every byte; and on a stream as
// well, unless that leads to the journal already. Without a journal the stream gets everything. Any
// thread; the stream outlives it.
class JournalLog : public SystemLog {
 public:
  explicit JournalLog(std::FILE* stream = stderr,
                      std::string socketPath = "/run/systemd/journal/socket");

  void write(std::string_view text) override;

 private:
  bool reachesJournal(std::string_view text) const;

  StreamLog stream_;
  // Connected to nobody, so that it outlives a journal that is started anew.
  const FileHandle socket_;
  const std::string socketPath_;
  const bool streamIsJournal_;
};

}  // namespace fillstation
