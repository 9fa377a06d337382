// Volume names and addresses, as both conversions give them.

#include <cstring>

#include "Input.h"
#include "Url.h"
#include "UsbUtil.h"
#include "Utf8.h"

using namespace fillstation;

namespace {

void checkName(const std::string& text) {
  const std::string description = '"' + text + '"';
  const char* const name = cfTypeToCString(&description);
  fuzz::require(name != nullptr && std::strlen(name) < kConversionLimit);
  // A name without a quote and a null byte comes through, but for a digit in front.
  const bool plain = text.find_first_of(std::string("\"\0", 2)) == std::string::npos &&
                     decodeUtf8(text) && description.size() < kConversionLimit;
  if (plain && !text.empty()) {
    fuzz::require(std::string(name + 1) == text.substr(1));
  }
}

// The address of any path comes through whole, if it isn't too long.
void checkPath(const std::string& path) {
  const auto address = Url::fromPath("/" + path, true).absoluteString();
  fuzz::require(cfStringRefToCString(&address) ==
                (address.size() < kConversionLimit ? address : std::string()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(fuzz::Input(data, size).rest());
  checkName(text);
  checkPath(text);
  fuzz::require(std::strlen(cfTypeToCString(&text)) < kConversionLimit);
  fuzz::require(std::strlen(cfStringRefToCString(&text)) < kConversionLimit);
  return 0;
}
