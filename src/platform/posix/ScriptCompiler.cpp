#include "ScriptCompiler.h"

#include <cstddef>
#include <optional>

namespace fillstation {

namespace {

bool takeWords(std::string_view& text, std::string_view words) {
  if (!text.starts_with(words)) {
    return false;
  }
  text.remove_prefix(words.size());
  return true;
}

// Takes what stands before the closing double quote, and the quote.
std::optional<std::string> takeContent(std::string_view& text) {
  const std::size_t end = text.find_first_of("\"\\");
  if (end == std::string_view::npos || text[end] != '"') {
    return std::nullopt;
  }
  std::string content(text.substr(0, end));
  text.remove_prefix(end + 1);
  return content;
}

std::optional<std::string> takeString(std::string_view& text, std::string_view words) {
  return takeWords(text, words) ? takeContent(text) : std::nullopt;
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

}  // namespace fillstation
