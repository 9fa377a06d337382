#include <gtest/gtest.h>

#include <QProcess>
#include <filesystem>

#include "PrivateBus.h"
#include "TempFolder.h"

namespace fillstation::test {

// The program that users run, on a machine that lacks what it needs.
class ProgramTest : public ::testing::Test {
 protected:
  ~ProgramTest() override {
    program.kill();
    program.waitForFinished(-1);
  }

  // Starts it with the bus at that address, and waits until it watches for players.
  void start(const QString& busAddress, const QString& file = QStringLiteral(APP_PROGRAM)) {
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DBUS_SYSTEM_BUS_ADDRESS", busAddress);
    environment.insert("QT_QPA_PLATFORM", "offscreen");
    environment.insert("HOME", QString::fromStdString(home.path()));
    environment.remove("XDG_CONFIG_HOME");
    environment.remove("JOURNAL_STREAM");
    environment.remove("DBUS_SESSION_BUS_ADDRESS");
    environment.remove("XDG_RUNTIME_DIR");
    program.setProcessEnvironment(environment);
    program.start(file, QStringList());
    awaitText(out, "end event", 2);
  }
  void awaitText(QByteArray& stream, const char* text, int times) {
    while (stream.count(text) < times && program.waitForReadyRead(60'000)) {
      take();
    }
    take();
    EXPECT_GE(stream.count(text), times) << out.toStdString() << err.toStdString();
  }
  void awaitErrors(const char* text) {
    program.setReadChannel(QProcess::StandardError);
    awaitText(err, text, 1);
  }
  void take() {
    out += program.readAllStandardOutput();
    err += program.readAllStandardError();
  }
  // It is alive, and a signal ends it as it should.
  void expectToEndWell() {
    EXPECT_EQ(program.state(), QProcess::Running);
    program.terminate();
    EXPECT_TRUE(program.waitForFinished(60'000));
    EXPECT_EQ(program.exitStatus(), QProcess::NormalExit);
    take();
    EXPECT_EQ(program.exitCode(), 0) << err.toStdString();
    EXPECT_TRUE(std::filesystem::is_empty(home.path()));
  }
  QString nowhere() const { return QString::fromStdString("unix:path=" + home.path("none/bus")); }

  TempFolder home;
  QProcess program;
  QByteArray out;
  QByteArray err;
};

TEST_F(ProgramTest, WithoutASystemBusItStartsSaysSoAndEndsWell) {
  start(nowhere());
  awaitErrors("UDisks2 can't be reached: org.freedesktop.DBus.Error.Disconnected: ");
  EXPECT_EQ(err.count("fillstation-agent is missing"), 0);
  expectToEndWell();
}

TEST_F(ProgramTest, WithoutUDisks2ItStartsSaysSoAndEndsWell) {
  PrivateBus bus;
  start(bus.address());
  awaitErrors("UDisks2 can't be reached: org.freedesktop.DBus.Error.ServiceUnknown: ");
  expectToEndWell();
}

TEST_F(ProgramTest, WithoutItsAgentItStartsSaysSoAndEndsWell) {
  const TempFolder elsewhere;
  std::filesystem::create_directory(elsewhere.path("bin"));
  std::filesystem::copy(APP_PROGRAM, elsewhere.path("bin/fillstation"));
  start(nowhere(), QString::fromStdString(elsewhere.path("bin/fillstation")));
  EXPECT_EQ(err.count((elsewhere.path("libexec/fillstation/fillstation-agent") +
                       " is missing: no player can be formatted.\n")
                          .c_str()),
            1);
  expectToEndWell();
}

}  // namespace fillstation::test
