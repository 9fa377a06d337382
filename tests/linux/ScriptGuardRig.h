#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "ChildProcess.h"
#include "PolkitScriptRunner.h"
#include "TempFolder.h"

namespace fillstation::test {

// The guard on a system of folders and files, without root: a file with the sticky bit stands for
// a block device, and small scripts for the tools that would ask the kernel about it. The script
// itself is the real one but for its first lines and two tests of a file's type.
class GuardRig {
 public:
  static constexpr std::size_t kNodeSize = 65536;

  GuardRig() {
    rig();
    addPlayer("sdz", "8:400", 77);
    folder_.write("proc/self/mountinfo", "22 1 254:0 / / rw,noatime shared:1 - ext4 /dev/vda rw\n");
    folder_.write("proc/swaps", "Filename\tType\tSize\tUsed\tPriority\n");
    addTool("stat",
            "exec cat \"" + folder_.path("numbers") + "/$(/usr/bin/stat -L -c %i /dev/fd/9)\"");
    addTool("blockdev", log("blockdev"));
    addTool("sleep", log("sleep"));
    addTool("mkfs.fat",
            log("mkfs.fat") + "printf FAT32 | /usr/bin/dd of=\"$2\" conv=notrunc status=none");
  }

  const TempFolder& folder() const { return folder_; }
  std::string path(const std::string& below) const { return folder_.path(below); }
  std::string disk(const std::string& name = "sdz") const { return scsi(name) + "/block/" + name; }
  std::string scsi(const std::string& name = "sdz") const {
    return path("sys/devices/usb1/1-2/" + name + "/host0/0:0:0:0");
  }
  std::string usbDevice() const { return path("sys/devices/usb1/1-2"); }
  std::string node(const std::string& name = "sdz") const { return path("dev/" + name); }
  std::string content(const std::string& name = "sdz") const { return contentOf(node(name)); }

  // A disk below the one USB device, with its node.
  void addPlayer(const std::string& name, const std::string& number, int sequence) {
    folder_.write("sys/devices/usb1/busnum", "1\n");
    folder_.write("sys/devices/usb1/devnum", "1\n");
    put(usbDevice() + "/busnum", "1\n");
    put(usbDevice() + "/devnum", "12\n");
    put(scsi(name) + "/vendor", "ACTIONS \n");
    put(disk(name) + "/dev", number + "\n");
    put(disk(name) + "/diskseq", std::to_string(sequence) + "\n");
    std::filesystem::create_directories(disk(name) + "/holders");
    std::filesystem::create_directory_symlink("../..", disk(name) + "/device");
    std::filesystem::create_directories(path("sys/dev/block"));
    std::filesystem::create_directory_symlink(disk(name), path("sys/dev/block/" + number));
    addNode(name, number);
  }
  void addNode(const std::string& name, const std::string& number) {
    folder_.write("dev/" + name, std::string(kNodeSize, 'x'));
    ::chmod(node(name).c_str(), 01600);
    struct stat status {};
    ::stat(node(name).c_str(), &status);
    const std::size_t colon = number.find(':');
    char text[64];
    std::snprintf(text, sizeof text, "0x%x 0x%x\n", std::stoi(number.substr(0, colon)),
                  std::stoi(number.substr(colon + 1)));
    folder_.write("numbers/" + std::to_string(status.st_ino), text);
  }
  void addPartition(const std::string& name, const std::string& number) {
    put(disk() + "/" + name + "/dev", number + "\n");
    put(disk() + "/" + name + "/partition", "1\n");
    std::filesystem::create_directories(disk() + "/" + name + "/holders");
  }
  // Another block device above that one.
  static void addHolder(const std::string& block) {
    std::filesystem::create_symlink("../../dm-0", block + "/holders/dm-0");
  }
  void addMount(const std::string& number, const std::string& source) {
    put(path("proc/self/mountinfo"), contentOf(path("proc/self/mountinfo")) + "40 22 " + number +
                                         " / /media/x rw shared:9 - vfat " + source + " rw\n");
  }
  // The tool is found before the system's own.
  void addTool(const std::string& name, const std::string& script) {
    const std::string file = folder_.write("bin/" + name, "#!/bin/sh\n" + script + "\n");
    ::chmod(file.c_str(), 0755);
  }
  // A tool's line that records its name and arguments.
  std::string log(const std::string& name) const {
    return "printf '%s\\n' \"" + name + " $*\" >>\"" + folder_.path("log") + "\"\n";
  }
  std::string logged() const { return contentOf(path("log")); }
  static void put(const std::string& file, const std::string& text) {
    std::filesystem::create_directories(std::filesystem::path(file).parent_path());
    std::ofstream(file) << text;
  }

  // Of the player, or of the same by another name.
  ShellCommand::Result run(PlayerCommand::Kind kind, const std::string& name = "sdz") const {
    return std::get<ShellCommand::Result>(
        ShellCommand::run(guardedCommand(kind, {node(name), 0x1000C}, 77, script_)));
  }
  // What the script says of the time to wait, in seconds.
  void setPatience(int seconds) { replace("+ 15)", "+ " + std::to_string(seconds) + ")"); }

 private:
  void rig() {
    replace("PATH=", "PATH=" + path("bin") + ":");
    replace("sys=/sys\n", "sys=" + path("sys") + "\n");
    replace("proc=/proc\n", "proc=" + path("proc") + "\n");
    replace("[ -b \"$held\" ]", "[ -k \"$held\" ]");
    replace("[ -b \"$node\" ]", "[ -k \"$node\" ]");
    replace("[ -f \"$node\" ]", "[ -f \"$node\" ] && [ ! -k \"$node\" ]");
  }
  void replace(const std::string& from, const std::string& to) {
    const std::size_t at = script_.find(from);
    if (at == std::string::npos || script_.find(from, at + 1) != std::string::npos) {
      ADD_FAILURE() << "not there, or more than once: " << from;
      return;
    }
    script_.replace(at, from.size(), to);
  }

  TempFolder folder_;
  std::string script_{guardScript()};
};

}  // namespace fillstation::test
