#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace fillstation {

// The UTF-16 code units of a UTF-8 text, none when it is not valid UTF-8.
std::optional<std::u16string> utf16Of(std::string_view text);

// The UTF-8 text of UTF-16 code units; a surrogate without its partner becomes a question mark.
std::string utf8Of(std::u16string_view units);

}  // namespace fillstation
