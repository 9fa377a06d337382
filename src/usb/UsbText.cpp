#include "UsbText.h"

#include <array>
#include <cstring>

#include "UsbUtil.h"
#include "Utf8.h"

namespace fillstation {
namespace {

using TextBuffer = std::array<char, 2048>;

}  // namespace

void convertToCString(std::string_view text, char* buffer) {
  buffer[0] = '\0';
  if (text.size() < kConversionLimit && decodeUtf8(text)) {
    buffer[text.copy(buffer, kConversionLimit)] = '\0';
  }
}

std::string_view addressIn(std::string_view description) {
  constexpr auto kNowhere = std::string_view::npos;
  const auto equals = description.find('=', description.find('{'));
  const auto comma = equals == kNowhere ? kNowhere : description.find(',', equals + 2);
  return comma == kNowhere ? std::string_view()
                           : description.substr(equals + 2, comma - equals - 2);
}

const char* cfStringRefToCString(const std::string* s) {
  thread_local TextBuffer buffer;
  if (s == nullptr) {
    return nullptr;
  }
  convertToCString(*s, buffer.data());
  return buffer.data();
}

const char* cfTypeToCString(const PlatformValue* v) {
  thread_local TextBuffer buffer;
  if (v == nullptr) {
    return nullptr;
  }
  convertToCString(v->description(), buffer.data());
  // An older result may lie behind the terminator; strchr() stops in front of it.
  char* const open = std::strchr(buffer.data(), '"');
  char* const close = open != nullptr ? std::strchr(open + 1, '"') : nullptr;
  if (close == nullptr) {
    buffer[0] = '\0';
    return buffer.data();
  }
  *close = '\0';
  char* const result = open + 1;
  if (*result >= '0' && *result <= '9') {
    *result = 'x';
  }
  return result;
}

}  // namespace fillstation
