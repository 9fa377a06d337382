#include "PlayerCommand.h"

#include <cstddef>

namespace fillstation {

namespace {

bool isNode(std::string_view text) {
  constexpr std::string_view kFolder = "/dev/";
  constexpr std::size_t kLongest = 32;
  if (text.size() > kLongest || !text.starts_with(kFolder)) {
    return false;
  }
  text.remove_prefix(kFolder.size());
  const std::size_t letters = text.find_first_not_of("abcdefghijklmnopqrstuvwxyz");
  if (letters == std::string_view::npos) {
    return !text.empty();
  }
  return letters > 0 && text.find_first_not_of("0123456789", letters) == std::string_view::npos;
}

std::optional<PlayerCommand> parseAs(PlayerCommand::Kind kind, std::string_view text,
                                     std::string_view before, std::string_view behind) {
  if (!text.starts_with(before)) {
    return std::nullopt;
  }
  text.remove_prefix(before.size());
  if (!text.ends_with(behind)) {
    return std::nullopt;
  }
  text.remove_suffix(behind.size());
  return isNode(text) ? std::optional(PlayerCommand{kind, std::string(text)}) : std::nullopt;
}

}  // namespace

std::optional<PlayerCommand> parsePlayerCommand(std::string_view commandLine) {
  auto wipe = parseAs(PlayerCommand::wipe, commandLine, "dd if=/dev/zero of=", " bs=4k count=10");
  return wipe ? wipe : parseAs(PlayerCommand::format, commandLine, "mkfs.fat -F32 ", "");
}

}  // namespace fillstation
