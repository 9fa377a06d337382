#include "GuardScript.h"

#include "GuardText.h"

namespace fillstation {

std::string_view guardScript() { return kGuardText; }

std::string guardedCommand(const PlayerCommand& command, const PlayerGuard& guard,
                           std::string_view script) {
  std::string text = "node=" + guard.node;
  text += "\nbus=" + std::to_string(guard.busnum);
  text += "\ndevice=" + std::to_string(guard.devnum);
  text += "\nsequence=" + std::to_string(guard.diskseq);
  text += command.kind == PlayerCommand::wipe ? "\nkind=wipe\n" : "\nkind=format\n";
  return text.append(script);
}

}  // namespace fillstation
