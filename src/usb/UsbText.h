#pragma once

#include <cstddef>
#include <string_view>

namespace fillstation {

// Most bytes that a converted text may have, its terminator included.
inline constexpr std::size_t kConversionLimit = 1024;

// Puts the text with a terminator into a buffer of at least kConversionLimit bytes. A text that is
// too long or not UTF-8 leaves the empty string there.
void convertToCString(std::string_view text, char* buffer);

}  // namespace fillstation
