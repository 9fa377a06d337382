// Script texts: each one that compiles has the written meaning, and names at most one disk.

#include "Input.h"
#include "ScriptCompiler.h"

using namespace fillstation;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string source(fuzz::Input(data, size).rest());
  const auto compiled = compileScript(source);
  if (const auto* script = std::get_if<Script>(&compiled)) {
    fuzz::require(source == "do shell script \"" + script->command + "\" user name \"" +
                                script->userName + "\" password \"" + script->password +
                                "\" with administrator privileges");
  }
  if (const auto command = parsePlayerCommand(source)) {
    fuzz::require(command->node.starts_with("/dev/") && command->node.size() <= 32);
    fuzz::require(command->node.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789", 5) ==
                  std::string::npos);
    fuzz::require(source == (command->kind == PlayerCommand::wipe
                                 ? "dd if=/dev/zero of=" + command->node + " bs=4k count=10"
                                 : "mkfs.fat -F32 " + command->node));
  }
  return 0;
}
