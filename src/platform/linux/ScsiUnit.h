#pragma once

#include <cstdint>
#include <string>

namespace fillstation {

// Has the unit of a disk eject its medium, past every drive object: the disk at the node if it is
// the one with that sequence number. False when it isn't, when the user may not open the node (as
// most may not) or when the unit refuses. Any thread; may take seconds.
bool stopScsiUnit(const std::string& node, std::uint64_t sequence);

}  // namespace fillstation
