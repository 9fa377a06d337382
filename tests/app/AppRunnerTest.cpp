#include <gtest/gtest.h>

#include <QProcess>
#include <filesystem>

#include "TempFolder.h"

namespace fillstation::test {
namespace {

const std::string kBeginning =
    "install, on the main thread 1, dumpable 0\n"
    "shown, visible 1, in the loop 0\n"
    "fillstation Fillstation fillstation icon 1 fusion 0\n"
    "registering for IOUSBDevice, visible 1, in the loop 1\n";

class AppRunnerTest : public ::testing::Test {
 protected:
  void endBy(const char* how) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), QString::fromStdString(home.path()));
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    environment.remove(QStringLiteral("XDG_CONFIG_HOME"));
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(APP_RUNNER_FIXTURE), {QString::fromLatin1(how)});
    ASSERT_TRUE(process.waitForFinished(60'000));
    out = process.readAllStandardOutput().toStdString();
    err = process.readAllStandardError().toStdString();
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    status = process.exitCode();
  }

  TempFolder home;
  std::string out;
  std::string err;
  int status = -1;
};

TEST_F(AppRunnerTest, WhenAnotherProgramDoesTheWorkNothingBegins) {
  endBy("second");
  EXPECT_EQ(status, 0);
  EXPECT_EQ(out, "returned 0\n");
}

// The system log is standard error, and the home folder stays as it was.
TEST_F(AppRunnerTest, AnEndOfTheMainLoopWaitsForTheWorkersAndReturnsItsStatus) {
  endBy("exit");
  EXPECT_EQ(status, 7);
  EXPECT_EQ(out.substr(0, kBeginning.size()), kBeginning);
  // The stop wakes the worker and whoever else listens, in no order.
  const std::string end = out.substr(kBeginning.size());
  const std::string after = "back end gone\nreturned 7\n";
  EXPECT_TRUE(end == "stop\nworker ended\n" + after || end == "worker ended\nstop\n" + after)
      << end;
  EXPECT_NE(err.find("a log text\n"), std::string::npos);
  EXPECT_TRUE(std::filesystem::is_empty(home.path()));
}

}  // namespace
}  // namespace fillstation::test
