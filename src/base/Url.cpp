#include "Url.h"

#include <charconv>

namespace fillstation {
namespace {

constexpr std::string_view kScheme = "file://";

bool staysPlain(unsigned char byte) {
  return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
         (byte >= '0' && byte <= '9') ||
         std::string_view("-._~/").find(static_cast<char>(byte)) != std::string_view::npos;
}

void appendEscape(std::string& text, unsigned char byte) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  text += '%';
  text += kDigits[byte >> 4U];
  text += kDigits[byte & 0xFU];
}

}  // namespace

Url Url::fromPath(std::string_view path, bool isDirectory) {
  while (path.size() > 1 && path.ends_with('/')) {
    path.remove_suffix(1);
  }
  std::string text(kScheme);
  for (const char character : path) {
    const auto byte = static_cast<unsigned char>(character);
    if (staysPlain(byte)) {
      text += character;
    } else {
      appendEscape(text, byte);
    }
  }
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

std::string removePercentEscapes(std::string_view text) {
  std::string plain;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const std::string_view digits = text.substr(at + 1, 2);
    unsigned byte = 0;
    if (text[at] == '%' &&
        std::from_chars(digits.data(), digits.data() + digits.size(), byte, 16).ptr ==
            digits.data() + 2) {
      plain += static_cast<char>(byte);
      at += 2;
    } else {
      plain += text[at];
    }
  }
  return plain;
}

std::string lastPathComponent(std::string_view path) {
  while (path.size() > 1 && path.ends_with('/')) {
    path.remove_suffix(1);
  }
  if (path == "/") {
    return "/";
  }
  return std::string(path.substr(path.rfind('/') + 1));
}

std::string pathExtension(std::string_view path) {
  const std::string name = lastPathComponent(path);
  const auto dot = name.rfind('.');
  return dot == std::string::npos ? std::string() : name.substr(dot + 1);
}

}  // namespace fillstation
