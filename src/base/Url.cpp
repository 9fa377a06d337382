#include "Url.h"

#include <array>
#include <charconv>

namespace fillstation {
namespace {

constexpr std::string_view kScheme = "file://";

// Whether a byte is left unescaped. A table, because a set can have very many files.
constexpr auto kStaysPlain = [] {
  std::array<bool, 256> plain{};
  for (const char byte : std::string_view("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
                                          "0123456789-._~/")) {
    plain[static_cast<unsigned char>(byte)] = true;
  }
  return plain;
}();

}  // namespace

Url Url::fromPath(std::string_view path, bool isDirectory) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  while (path.size() > 1 && path.ends_with('/')) {
    path.remove_suffix(1);
  }
  std::string text(kScheme);
  // Leaves room for an escape of each byte.
  text.resize(kScheme.size() + 3 * path.size());
  char* end = text.data() + kScheme.size();
  for (const char character : path) {
    const auto byte = static_cast<unsigned char>(character);
    if (kStaysPlain[byte]) {
      *end++ = character;
    } else {
      *end++ = '%';
      *end++ = kDigits[byte >> 4U];
      *end++ = kDigits[byte & 0xFU];
    }
  }
  text.resize(static_cast<std::size_t>(end - text.data()));
  if (isDirectory && !text.ends_with('/')) {
    text += '/';
  }
  return withString(std::move(text));
}

Url Url::withString(std::string text) {
  Url url;
  url.text_ = std::move(text);
  return url;
}

std::string Url::path() const {
  std::string_view text = text_;
  if (text.starts_with(kScheme)) {
    const auto slash = text.find('/', kScheme.size());
    text = slash == std::string_view::npos ? std::string_view() : text.substr(slash);
  }
  while (text.size() > 1 && text.ends_with('/')) {
    text.remove_suffix(1);
  }
  return removePercentEscapes(text);
}

std::string decodeEscapes(std::string_view text, std::string_view mark, std::size_t digits,
                          int base) {
  const std::size_t length = mark.size() + digits;
  std::string plain(text);
  auto end = plain.begin();
  for (std::size_t at = 0; at < text.size(); ++at) {
    char byte = text[at];
    if (byte == mark.front()) {
      const std::string_view escape = text.substr(at, length);
      const char* const last = escape.data() + escape.size();
      unsigned value = 0;
      if (escape.size() == length && escape.starts_with(mark) &&
          std::from_chars(escape.data() + mark.size(), last, value, base).ptr == last) {
        byte = static_cast<char>(value);
        at += length - 1;
      }
    }
    *end++ = byte;
  }
  plain.erase(end, plain.end());
  return plain;
}

std::string_view lastPathComponent(std::string_view path) {
  while (path.size() > 1 && path.ends_with('/')) {
    path.remove_suffix(1);
  }
  return path == "/" ? path : path.substr(path.rfind('/') + 1);
}

std::string_view pathExtension(std::string_view path) {
  const std::string_view name = lastPathComponent(path);
  const auto dot = name.rfind('.');
  return dot == std::string_view::npos ? std::string_view() : name.substr(dot + 1);
}

}  // namespace fillstation
