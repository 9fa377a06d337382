#include "ScriptCompiler.h"

#include <cstddef>
#include <regex>

namespace fillstation {

namespace {

// Takes the words and what stands between them and the next double quote, and the quote.
std::optional<std::string> takeString(std::string_view& text, std::string_view words) {
  if (!text.starts_with(words)) {
    return std::nullopt;
  }
  text.remove_prefix(words.size());
  const std::size_t end = text.find_first_of("\"\\");
  if (end == std::string_view::npos || text[end] != '"') {
    return std::nullopt;
  }
  std::string content(text.substr(0, end));
  text.remove_prefix(end + 1);
  return content;
}

}  // namespace

std::variant<Script, ScriptOutcome> compileScript(std::string_view source) {
  auto command = takeString(source, "do shell script \"");
  auto userName = takeString(source, " user name \"");
  auto password = takeString(source, " password \"");
  if (!command || !userName || !password || source != " with administrator privileges") {
    return ScriptOutcome{{}, kScriptSyntaxErrorNumber, std::string(kScriptSyntaxErrorMessage)};
  }
  return Script{*std::move(command), *std::move(userName), *std::move(password)};
}

std::optional<PlayerCommand> parsePlayerCommand(std::string_view commandLine) {
  static const std::regex kCommands(
      "dd if=/dev/zero of=(/dev/[a-z]+[0-9]*) bs=4k count=10|mkfs\\.fat -F32 (/dev/[a-z]+[0-9]*)");
  constexpr std::size_t kLongestNode = 32;
  constexpr std::size_t kLongest = 80;  // the matching takes stack for each character
  std::match_results<std::string_view::iterator> found;
  if (commandLine.size() > kLongest ||
      !std::regex_match(commandLine.begin(), commandLine.end(), found, kCommands)) {
    return std::nullopt;
  }
  const auto kind = found[1].matched ? PlayerCommand::wipe : PlayerCommand::format;
  const std::string node = found[kind == PlayerCommand::wipe ? 1 : 2];
  return node.size() <= kLongestNode ? std::optional(PlayerCommand{kind, node}) : std::nullopt;
}

}  // namespace fillstation
