#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace fillstation::agent {

// Keeps others out of this process's memory, and everything but the search path and the language
// out of its environment and its children's. To be called before anything else.
void harden();

// Leaves root's rights for those of nobody, for whom the system asks for a password like for
// anybody, and stays closed to others; does nothing for other users. False when that fails.
bool leaveRoot();

// The user id of a user name, none when there is no such user. Before any thread is made.
std::optional<uid_t> findUser(const std::string& name);

// False for what can't be handed on as one line, or is longer than the system's checker takes.
bool isUsablePassword(const std::string& password);

}  // namespace fillstation::agent
