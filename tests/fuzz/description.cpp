// Volume names and addresses, read from descriptions by both readers.

#include <cstring>

#include "Input.h"
#include "Url.h"
#include "UsbText.h"
#include "UsbUtil.h"
#include "Utf8.h"

using namespace fillstation;

namespace {

void checkName(const std::string& text) {
  const auto value = PlatformValue::text(text);
  const char* const name = cfTypeToCString(&value);
  fuzz::require(name != nullptr && std::strlen(name) < kConversionLimit);
  // A name without a quote and a null byte comes through, but for a digit in front.
  const bool plain = text.find_first_of(std::string("\"\0", 2)) == std::string::npos &&
                     decodeUtf8(text) && value.description().size() < kConversionLimit;
  if (plain && !text.empty()) {
    fuzz::require(std::string(name + 1) == text.substr(1));
  }
}

// The address of any path is read back whole.
void checkPath(const std::string& path) {
  const auto address = Url::fromPath("/" + path, true).absoluteString();
  const auto description = PlatformValue::url(address).description();
  fuzz::require(addressIn(description) == address);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(fuzz::Input(data, size).rest());
  checkName(text);
  checkPath(text);
  fuzz::require(addressIn(text).size() <= text.size());
  fuzz::require(std::strlen(cfStringRefToCString(&text)) < kConversionLimit);
  return 0;
}
