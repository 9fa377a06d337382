#include "ScriptCompiler.h"

#include <cstddef>

namespace fillstation {

namespace {

bool takeWords(std::string_view& text, std::string_view words) {
  const bool isThere = text.starts_with(words);
  text.remove_prefix(isThere ? words.size() : 0);
  return isThere;
}

// Takes the words, the text up to the next double quote, and that quote.
std::optional<std::string> takeString(std::string_view& text, std::string_view words) {
  if (!takeWords(text, words)) {
    return std::nullopt;
  }
  const std::size_t end = text.find_first_of("\"\\");
  if (end == std::string_view::npos || text[end] != '"') {
    return std::nullopt;
  }
  std::string content(text.substr(0, end));
  text.remove_prefix(end + 1);
  return content;
}

bool isNode(std::string_view text) {
  constexpr std::size_t kLongest = 32;
  if (text.size() > kLongest || !takeWords(text, "/dev/")) {
    return false;
  }
  const std::size_t letters = text.find_first_not_of("abcdefghijklmnopqrstuvwxyz");
  if (letters == std::string_view::npos) {
    return !text.empty();
  }
  return letters > 0 && text.find_first_not_of("0123456789", letters) == std::string_view::npos;
}

}  // namespace

std::variant<Script, ScriptOutcome> compileScript(std::string_view source) {
  auto command = takeString(source, "do shell script \"");
  auto userName = takeString(source, " user name \"");
  auto password = takeString(source, " password \"");
  if (!command || !userName || !password || source != " with administrator privileges") {
    return failure(ScriptError::kSyntax,
                   "The script is not a single command with a user name and a password.");
  }
  return Script{*std::move(command), *std::move(userName), *std::move(password)};
}

std::optional<PlayerCommand> parsePlayerCommand(std::string_view commandLine) {
  constexpr std::string_view kBehindNode = " bs=4k count=10";
  const bool isWipe = takeWords(commandLine, "dd if=/dev/zero of=");
  if (isWipe && commandLine.ends_with(kBehindNode)) {
    commandLine.remove_suffix(kBehindNode.size());
  } else if (isWipe || !takeWords(commandLine, "mkfs.fat -F32 ")) {
    return std::nullopt;
  }
  if (!isNode(commandLine)) {
    return std::nullopt;
  }
  return PlayerCommand{isWipe ? PlayerCommand::wipe : PlayerCommand::format,
                       std::string(commandLine)};
}

}  // namespace fillstation
