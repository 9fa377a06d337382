#include <gtest/gtest.h>

#include <QProcess>
#include <filesystem>
#include <string>
#include <tuple>

#include "TempFolder.h"

namespace fillstation::test {

// The program that users run, without a bus, UDisks2 and its agent.
TEST(ProgramTest, WithoutTheServicesItNeedsItStartsReportsThemAndEndsNormally) {
  const TempFolder elsewhere;
  const TempFolder home;
  std::filesystem::create_directory(elsewhere.path("bin"));
  std::filesystem::copy(APP_PROGRAM, elsewhere.path("bin/fillstation"));
  auto environment = QProcessEnvironment::systemEnvironment();
  environment.insert("DBUS_SYSTEM_BUS_ADDRESS",
                     QString::fromStdString("unix:path=" + elsewhere.path("none")));
  environment.insert("QT_QPA_PLATFORM", "offscreen");
  environment.insert("HOME", QString::fromStdString(home.path()));
  for (const char* name :
       {"XDG_CONFIG_HOME", "JOURNAL_STREAM", "DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR"}) {
    environment.remove(name);
  }
  QProcess program;
  program.setProcessEnvironment(environment);
  program.start(QString::fromStdString(elsewhere.path("bin/fillstation")), QStringList());
  QByteArray out;
  QByteArray err;
  const auto await = [&](QProcess::ProcessChannel channel, const QByteArray& stream,
                         const char* text, int times) {
    program.setReadChannel(channel);
    do {
      out += program.readAllStandardOutput();
      err += program.readAllStandardError();
    } while (stream.count(text) < times && program.waitForReadyRead(60'000));
    EXPECT_GE(stream.count(text), times) << out.toStdString() << err.toStdString();
  };
  await(QProcess::StandardOutput, out, "end event", 2);
  await(QProcess::StandardError, err,
        "UDisks2 can't be reached: org.freedesktop.DBus.Error.Disconnected: ", 1);
  const std::string agent = elsewhere.path("libexec/fillstation/fillstation-agent");
  EXPECT_EQ(err.count((agent + " is missing: no player can be formatted.\n").c_str()), 1);
  EXPECT_EQ(program.state(), QProcess::Running);
  program.terminate();
  EXPECT_TRUE(program.waitForFinished(60'000));
  EXPECT_EQ(program.exitStatus(), QProcess::NormalExit);
  EXPECT_EQ(program.exitCode(), 0) << program.readAllStandardError().toStdString();
  EXPECT_TRUE(std::filesystem::is_empty(home.path()));
}

// Exit status, standard output and standard error.
using Answer = std::tuple<int, std::string, std::string>;

Answer answerTo(const QString& word, const char* platform) {
  const TempFolder runtime;
  QProcess program;
  auto environment = QProcessEnvironment::systemEnvironment();
  environment.insert("QT_QPA_PLATFORM", platform);
  environment.insert("XDG_RUNTIME_DIR", QString::fromStdString(runtime.path()));
  program.setProcessEnvironment(environment);
  program.start(APP_PROGRAM, {word});
  EXPECT_TRUE(program.waitForFinished(60'000));
  return {program.exitCode(), program.readAllStandardOutput().toStdString(),
          program.readAllStandardError().toStdString()};
}

TEST(ProgramTest, PrintsItsVersionAndOptionsWithoutADisplayAndRefusesOtherWords) {
  EXPECT_EQ(answerTo("--version", "none"), Answer(0, "fillstation " FILLSTATION_VERSION "\n", ""));
  const auto [status, help, said] = answerTo("--help", "none");
  EXPECT_EQ(status, 0);
  EXPECT_TRUE(help.starts_with("Usage: fillstation "));
  EXPECT_EQ(said, "");
  EXPECT_EQ(answerTo("--fast", "offscreen"),
            Answer(2, "", "fillstation: '--fast' is not an option. Try 'fillstation --help'.\n"));
}

}  // namespace fillstation::test
