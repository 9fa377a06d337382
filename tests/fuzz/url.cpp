// Paths become addresses and come back; any text can be taken for an address.

#include "Url.h"
#include "Input.h"
#include "Utf8.h"

using namespace fillstation;

namespace {

void checkPath(std::string path, bool isDirectory) {
  const auto address = Url::fromPath(path, isDirectory);
  fuzz::require(!isDirectory || address.absoluteString().ends_with('/'));
  while (path.size() > 1 && path.ends_with('/')) {
    path.pop_back();
  }
  fuzz::require(address.path() == path);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const bool isDirectory = (input.takeByte() & 1U) != 0;
  const std::string text = input.takeText();
  checkPath("/" + text, isDirectory);
  fuzz::require(Url::withString(text).path().size() <= text.size());
  fuzz::require(removePercentEscapes(text).size() <= text.size());
  const auto name = lastPathComponent(text);
  fuzz::require(name == "/" || name.find('/') == std::string_view::npos);
  fuzz::require(name.ends_with(pathExtension(text)));
  fuzz::require(equalIgnoringCase(text, text) == decodeUtf8(text).has_value());
  return 0;
}
