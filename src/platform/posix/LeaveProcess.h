#pragma once

#include <chrono>

namespace fillstation {

// How long leaveProcess() waits for standard streams that nobody reads.
inline constexpr std::chrono::milliseconds kLeaveFlushLimit{300};

// Records what the log still holds, flushes the standard streams and ends the process at once
// with the status: no destructor runs and no thread is waited for, so that one that is stuck in the
// kernel can't hold it. Any thread.
[[noreturn]] void leaveProcess(int status);

}  // namespace fillstation
