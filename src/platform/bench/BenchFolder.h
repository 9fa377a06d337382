#pragma once

#include <optional>
#include <string>

#include "ChildProcess.h"
#include "Scenario.h"

namespace fillstation {

// The files of a bench folder: NAME.img and NAME.json of the plugged-in players, the folder
// "pulled" with the images of the others, and the folder "volumes" with the mounted volumes. Plain
// functions on files, which act as the operator's hands. Any thread.

// Makes a player that is not plugged in yet: its identity, and its image in "pulled". Creates
// missing folders. Returns none on success, or the reason.
std::optional<std::string> createPlayer(const std::string& benchFolder,
                                        const BenchPlayerPlan& plan);

// Plugs a player in, or unplugs it; false if its image is not in the right place.
bool plugPlayer(const std::string& benchFolder, const std::string& name);
bool unplugPlayer(const std::string& benchFolder, const std::string& name);

// The path of a player's image while it is plugged in, while it is not, and of its identity.
std::string pluggedImage(const std::string& benchFolder, const std::string& name);
std::string pulledImage(const std::string& benchFolder, const std::string& name);
std::string identityFile(const std::string& benchFolder, const std::string& name);

// True if the descriptor is open on the file at the path.
bool isOpenOn(int descriptor, const std::string& path);

// The image's name in a command that runOnImage() runs.
inline constexpr const char* kHandedImage = "/proc/self/fd/3";

// Runs a command line on an open image, in the system's shell. Finds the tools that make file
// systems, which are not on an ordinary user's PATH.
ShellResult runOnImage(const std::string& command, int image);

}  // namespace fillstation
