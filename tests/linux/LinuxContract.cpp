#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <filesystem>

#include "DiskSessionContract.h"
#include "FileHandle.h"
#include "FileManagerContract.h"
#include "JournalLog.h"
#include "LinuxRig.h"
#include "SystemLogContract.h"
#include "UsbBusContract.h"

namespace fillstation::contract {

namespace {

const BackEndKind kLinux{"Linux", [] { return std::unique_ptr<BackEnd>(new test::LinuxRig); }};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Linux, UsbBusContract, ::testing::Values(kLinux), nameOfKind);
INSTANTIATE_TEST_SUITE_P(Linux, DiskSessionContract, ::testing::Values(kLinux), nameOfKind);

}  // namespace fillstation::contract

namespace fillstation::test {

namespace {

// One player with a mounted volume, which is a folder.
class LinuxFiles : public FileManagerBackEnd {
 public:
  LinuxFiles() : mount_(rig_.machine.mount(16, "BOOKS")) {}

  FileManager& files() override { return rig_.files; }
  std::string mountPath() override { return mount_; }
  DiskIdentity owner() override { return owner_; }
  void vanish() override {
    std::filesystem::remove_all(mount_);
    rig_.machine.pull("a");
  }

 private:
  LinuxRig rig_;
  const DiskIdentity owner_ = rig_.plugIn("a");
  const std::string mount_;
};

std::unique_ptr<FileManagerBackEnd> makeLinuxFiles() { return std::make_unique<LinuxFiles>(); }

// The journal as a socket that keeps what comes.
class JournalBackEnd : public SystemLogBackEnd {
 public:
  JournalBackEnd() {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path_.copy(address.sun_path, sizeof(address.sun_path) - 1);
    EXPECT_EQ(::bind(journal_.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
  }
  ~JournalBackEnd() override { std::fclose(stream_); }

  SystemLog& log() override { return log_; }
  std::string recorded() override {
    std::string all;
    std::array<char, 65536> entry;
    ssize_t size = 0;
    while ((size = ::recv(journal_.get(), entry.data(), entry.size(), 0)) >= 0) {
      all.append(entry.data(), static_cast<std::size_t>(size));
    }
    return all;
  }
  std::string formOf(const std::vector<std::string>& texts) override {
    std::string all;
    for (const auto& text : texts) {
      std::string length(8, '\0');
      for (std::size_t byte = 0; byte < length.size(); ++byte) {
        length[byte] = static_cast<char>(text.size() >> (8 * byte));
      }
      all += "SYSLOG_IDENTIFIER=fillstation\nMESSAGE\n" + length + text + "\n";
    }
    return all;
  }
  void lose() override { std::filesystem::remove(path_); }

 private:
  TempFolder folder_;
  const std::string path_ = folder_.path("journal");
  const FileHandle journal_{::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)};
  std::FILE* const stream_ = std::fopen(folder_.path("stream").c_str(), "w");
  JournalLog log_{stream_, path_};
};

std::unique_ptr<SystemLogBackEnd> makeJournal() { return std::make_unique<JournalBackEnd>(); }

}  // namespace

INSTANTIATE_TEST_SUITE_P(Linux, SystemLogContract,
                         testing::Values(SystemLogBackEndMaker{"journal", &makeJournal}));
INSTANTIATE_TEST_SUITE_P(Linux, FileManagerContract,
                         testing::Values(FileManagerBackEndMaker{"Linux", &makeLinuxFiles}));

}  // namespace fillstation::test
