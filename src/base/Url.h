#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace fillstation {

// An address, kept as percent-encoded text: the absolute one of a file (file:///media/a%20b/) or a
// relative reference (My%20Album/01.mp3). A folder's text ends in "/", added by the code that knows
// that it is a folder. Paths are bytes: a name that is not UTF-8 is escaped and comes back
// unchanged. A plain value; any thread may read a copy that it owns.
class Url {
 public:
  Url() = default;

  // The absolute file address of an absolute path. Everything outside the unreserved characters
  // (letters, digits, "-", ".", "_", "~") and "/" is escaped, comma and braces included. For a
  // folder the text ends in exactly one "/", whether or not the path did.
  static Url fromPath(std::string_view path, bool isDirectory);

  // The address with exactly this text, absolute or relative; nothing is checked or escaped.
  static Url withString(std::string text);

  // The whole text, escapes included.
  const std::string& absoluteString() const& { return text_; }
  std::string absoluteString() && { return std::move(text_); }

  // The file-system path that the text stands for: without the scheme and host of a file address,
  // escapes decoded once, without the "/" at the end (but "/" itself stays).
  std::string path() const;

  bool operator==(const Url&) const = default;

 private:
  std::string text_;
};

// The text with every escape (the mark, followed by `digits` digits of the base) replaced by its
// byte, once. An incomplete escape is left unchanged.
std::string decodeEscapes(std::string_view text, std::string_view mark, std::size_t digits,
                          int base);

// The text with every valid %XX replaced: "%2525" gives "%25".
inline std::string removePercentEscapes(std::string_view text) {
  return decodeEscapes(text, "%", 2, 16);
}

// The last component of a path that does not end in "/": "01.mp3" of "/a/01.mp3". The whole path if
// it has no "/", "/" for the root. A view of the path, valid as long as the path.
std::string_view lastPathComponent(std::string_view path);

// The text after the last dot of the last component: "mp3" of "/a/b.c.mp3" and of "/a/.mp3"; empty
// without a dot. A view of the path as well.
std::string_view pathExtension(std::string_view path);

// The absolute text.
inline std::string textOf(const Url& url) { return url.absoluteString(); }
inline std::string textOf(const std::optional<Url>& url) {
  return url ? url->absoluteString() : "(null)";
}

}  // namespace fillstation
