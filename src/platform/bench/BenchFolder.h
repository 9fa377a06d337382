#pragma once

#include <optional>
#include <string>

#include "ChildProcess.h"
#include "Scenario.h"

namespace fillstation {

// The files of a bench folder: NAME.img and NAME.json of the players that are plugged in, the
// folder "pulled" with the images of those that are not, and "volumes" with what is mounted. Plain
// functions on files, for whoever plays the operator's hands. Any thread.

// Makes a player that is not plugged in yet: its identity, and its image in "pulled". Missing
// folders are made. None on success, or the reason.
std::optional<std::string> createPlayer(const std::string& benchFolder,
                                        const BenchPlayerPlan& plan);

// Plugs a player in, or pulls it out; false when its image is not where it would have to be.
bool plugPlayer(const std::string& benchFolder, const std::string& name);
bool unplugPlayer(const std::string& benchFolder, const std::string& name);

// Where a player's image is while it is plugged in, while it is not, and its identity.
std::string pluggedImage(const std::string& benchFolder, const std::string& name);
std::string pulledImage(const std::string& benchFolder, const std::string& name);
std::string identityFile(const std::string& benchFolder, const std::string& name);

// True when the descriptor is open on what lies at the path.
bool isOpenOn(int descriptor, const std::string& path);

// How a command that is run by runOnImage() names the image.
inline constexpr const char* kHandedImage = "/proc/self/fd/3";

// Runs a command line on an open image, in the system's shell; the tools that make file systems,
// which are not on the PATH of an ordinary user, are found.
ShellResult runOnImage(const std::string& command, int image);

}  // namespace fillstation
