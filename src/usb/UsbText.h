#pragma once

#include <cstddef>
#include <string_view>

namespace fillstation {

// Most bytes that a converted text may have, its terminator included.
inline constexpr std::size_t kConversionLimit = 1024;

// Puts the text with a terminator into a buffer of at least kConversionLimit bytes. A text that is
// too long or not UTF-8 leaves the empty string there.
void convertToCString(std::string_view text, char* buffer);

// The address inside an address value's description: what begins two characters behind the first
// "=" after the first "{" and ends at the next comma. Empty when one of the three is missing.
std::string_view addressIn(std::string_view description);

}  // namespace fillstation
