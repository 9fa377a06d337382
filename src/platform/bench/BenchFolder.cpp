#include "BenchFolder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "FileHandle.h"
#include "Format.h"

namespace fillstation {

namespace {

constexpr std::int64_t kMiB = std::int64_t{1} << 20;

// A sparse image with a new file system, unless the player is blank.
std::optional<std::string> createImage(const std::string& path, const BenchPlayerPlan& plan) {
  const FileHandle image(::open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
  const std::int64_t size = plan.identity.disk ? plan.sizeMiB * kMiB : 0;
  if (!image || ::ftruncate(image.get(), size) != 0) {
    return path + " can't be written";
  }
  if (plan.blank || !plan.identity.disk) {
    return std::nullopt;
  }
  const std::string label = "'" + replaced(plan.label, "'", "'\\''") + "' ";
  const ShellResult made =
      runOnImage("LC_ALL=C.UTF-8 mkfs.fat -F32 -n " + label + kHandedImage, image.get());
  return made.exitStatus == 0 ? std::nullopt : std::optional(made.err);
}

}  // namespace

std::string pluggedImage(const std::string& benchFolder, const std::string& name) {
  return benchFolder + "/" + name + ".img";
}

std::string pulledImage(const std::string& benchFolder, const std::string& name) {
  return benchFolder + "/pulled/" + name + ".img";
}

std::string identityFile(const std::string& benchFolder, const std::string& name) {
  return benchFolder + "/" + name + ".json";
}

std::optional<std::string> createPlayer(const std::string& benchFolder,
                                        const BenchPlayerPlan& plan) {
  std::error_code failed;
  std::filesystem::create_directories(benchFolder + "/pulled", failed);
  if (auto reason = createImage(pulledImage(benchFolder, plan.name), plan)) {
    return reason;
  }
  std::ofstream identity(identityFile(benchFolder, plan.name), std::ios::binary);
  identity << identityText(plan.identity);
  identity.close();
  if (!identity) {
    return identityFile(benchFolder, plan.name) + " can't be written";
  }
  return std::nullopt;
}

bool plugPlayer(const std::string& benchFolder, const std::string& name) {
  return std::rename(pulledImage(benchFolder, name).c_str(),
                     pluggedImage(benchFolder, name).c_str()) == 0;
}

bool unplugPlayer(const std::string& benchFolder, const std::string& name) {
  std::error_code failed;
  std::filesystem::create_directories(benchFolder + "/pulled", failed);
  return std::rename(pluggedImage(benchFolder, name).c_str(),
                     pulledImage(benchFolder, name).c_str()) == 0;
}

ShellResult runOnImage(const std::string& command, int image) {
  return runShell("export PATH=\"$PATH:/usr/sbin:/sbin\"; " + command, {{image, 3}});
}

bool isOpenOn(int descriptor, const std::string& path) {
  struct stat open {};
  struct stat there {};
  return ::fstat(descriptor, &open) == 0 && ::stat(path.c_str(), &there) == 0 &&
         open.st_dev == there.st_dev && open.st_ino == there.st_ino;
}

}  // namespace fillstation
