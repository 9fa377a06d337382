#include <unistd.h>

#include <QAbstractButton>
#include <QApplication>
#include <QSocketNotifier>
#include <QTest>
#include <QTimer>
#include <algorithm>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "AgentShell.h"
#include "AppRunner.h"
#include "Bench.h"
#include "JournalLog.h"
#include "ModalSession.h"
#include "PolkitScriptRunner.h"
#include "QtMainThread.h"
#include "RealSourceFiles.h"
#include "WindowSet.h"
#include "ui_CredentialsPanel.h"
#include "ui_MainWindow.h"

// person_program BENCH STEP [AGENT]: the program over the virtual bench of that folder, with a
// person at its window who does what comes over the socket that is standard input, and tells over
// it what there is to be seen:
//
//   players N            -> "players" when so many are listed
//   add FOLDER           -> "added" when it was chosen and the command is over
//   ask                  -> "asking" when all are ticked and the credentials are asked for
//   type NAME PASSWORD   -> "typed"
//   ok                   no answer
//   alert                -> the text of the alert that is up or will be
//   dismiss              -> "dismissed" when the alert is gone and the window can be used
//   close                no answer: closes the window
//
// A run stays at the STEP (see heldStep), and "held" tells when it is there. With an AGENT the two
// commands are run by it, authenticated by polkit, and the log is the journal. Pauses take a
// thousandth of a second.
namespace fillstation::test {
namespace {

constexpr int kSocket = 0;

void tell(const std::string& text) {
  static std::mutex lock;
  const std::scoped_lock guard(lock);
  sendText(kSocket, text);
}

// The step of the run at which ports stay for good, as a device that never answers would have them
// stay: "authentication", "unmount", "mount", "copy" (of the second file), "flush" or "readback".
// Commands are held outside, by what stands in for the tools. Any thread.
std::string heldStep;

// Tells and answers true when this is the step.
bool isHeld(const char* step) {
  if (heldStep == step) {
    tell("held");
    return true;
  }
  return false;
}

// Doesn't return when this is the step.
void holdAt(const char* step) {
  while (isHeld(step)) {
    ::pause();
  }
}

class HeldRunner : public ScriptRunner {
 public:
  explicit HeldRunner(ScriptRunner& runner) : runner_(runner) {}

  ScriptOutcome run(std::string_view source, const DiskIdentity& target) override {
    holdAt("authentication");
    return runner_.run(source, target);
  }

 private:
  ScriptRunner& runner_;
};

// Requests that are held are never completed.
class HeldSession : public DiskSession {
 public:
  explicit HeldSession(std::shared_ptr<DiskSession> session) : session_(std::move(session)) {}

  std::shared_ptr<Disk> diskFromName(std::string_view name) override {
    return session_->diskFromName(name);
  }
  void mount(std::shared_ptr<Disk> disk, const DiskIdentity& expected,
             Completion completion) override {
    if (!isHeld("mount")) {
      session_->mount(std::move(disk), expected, std::move(completion));
    }
  }
  void unmount(std::shared_ptr<Disk> disk, const DiskIdentity& expected,
               Completion completion) override {
    if (!isHeld("unmount")) {
      session_->unmount(std::move(disk), expected, std::move(completion));
    }
  }
  void eject(std::shared_ptr<Disk> disk, const DiskIdentity& expected,
             Completion completion) override {
    session_->eject(std::move(disk), expected, std::move(completion));
  }

 private:
  std::shared_ptr<DiskSession> session_;
};

class HeldVolume : public Volume {
 public:
  explicit HeldVolume(std::shared_ptr<Volume> volume) : volume_(std::move(volume)) {}

  bool createDirectory(const std::string& destination) override {
    return volume_->createDirectory(destination);
  }
  bool copyItem(const std::string& source, const std::string& destination) override {
    if (++copies_ == 2) {
      holdAt("copy");
    }
    return volume_->copyItem(source, destination);
  }
  bool flush() override {
    holdAt("flush");
    return volume_->flush();
  }
  bool readBack(const CopiedItems& items) override {
    holdAt("readback");
    return volume_->readBack(items);
  }

 private:
  std::shared_ptr<Volume> volume_;
  int copies_ = 0;
};

class HeldFiles : public RealSourceFiles {
 public:
  using RealSourceFiles::RealSourceFiles;

  std::shared_ptr<Volume> openVolume(const std::string& mountPath,
                                     const DiskIdentity& owner) override {
    auto volume = real().openVolume(mountPath, owner);
    return volume ? std::make_shared<HeldVolume>(std::move(volume)) : nullptr;
  }
};

std::string next() {
  auto text = receiveText(kSocket);
  if (!text) {
    ::_exit(3);  // nobody is there any more
  }
  return *std::move(text);
}

class QuickClock : public QtClock {
 public:
  using QtClock::QtClock;
  bool sleep(std::chrono::microseconds duration) override {
    return QtClock::sleep(std::min(duration, std::chrono::microseconds(1000)));
  }
};

struct Ports {
  Ports(Platform& ports, StopSource& stop, QtMainThread& mainThread, char** words)
      : clock(stop),
        bench(words[1], {stop, mainThread, clock, *ports.workers,
                         words[3] != nullptr ? journal : *ports.systemLog}) {
    heldStep = words[2];
    bench.installInto(ports);
    if (words[3] != nullptr) {
      polkit = std::make_unique<PolkitScriptRunner>(
          words[3], [](const DiskIdentity&) { return 1; }, [](const DiskIdentity&) {});
      ports.scriptRunner = polkit.get();
    }
    runner = std::make_unique<HeldRunner>(*ports.scriptRunner);
    files = std::make_unique<HeldFiles>(*ports.fileManager);
    ports.scriptRunner = runner.get();
    ports.fileManager = files.get();
    ports.createDiskSession = [create = ports.createDiskSession] {
      return std::make_shared<HeldSession>(create());
    };
  }

  QuickClock clock;
  JournalLog journal;
  Bench bench;
  std::unique_ptr<PolkitScriptRunner> polkit;
  std::unique_ptr<HeldRunner> runner;
  std::unique_ptr<HeldFiles> files;
};

Alert* alert() {
  for (QWidget* widget : QApplication::topLevelWidgets()) {
    auto* const box = qobject_cast<Alert*>(widget);
    if (box != nullptr && box->isVisible()) {
      return box;
    }
  }
  return nullptr;
}

// Tells a text as soon as there is one. By looking again and again, not by waiting: what is waited
// for may go on only when this returns.
void tellWhen(QObject* owner, const std::function<std::optional<std::string>()>& look) {
  auto* const again = new QTimer(owner);
  QObject::connect(again, &QTimer::timeout, [again, look] {
    if (const auto text = look()) {
      again->deleteLater();
      again->stop();
      tell(*text);
    }
  });
  again->start(1);
}

class Hands {
 public:
  explicit Hands(WindowSet& windows) : windows_(windows), ui_(windows.window().ui()) {
    windows.delegate()->setOpenPanel(
        [this](const std::string&) { return std::vector{Url::fromPath(folder_, true)}; });
  }

  // A command with what belongs to it.
  void obey(const std::string& command, const std::string& what, const std::string& password) {
    if (command == "players") {
      const std::size_t count = std::stoul(what);
      tellWhen([=, this] { return windows_.players()->listed().size() == count; }, command);
    } else if (command == "add") {
      folder_ = what;
      click(ui_.btnBrowse);
      tell("added");
    } else if (command == "ask") {
      click(ui_.btnAll);
      click(ui_.btnStart);
      tellWhen([this] { return windows_.panel().isVisible(); }, "asking");
    } else if (command == "type") {
      panel().userNameField->setText(QString::fromStdString(what));
      panel().passwordField->setText(QString::fromStdString(password));
      tell("typed");
    } else if (command == "ok") {
      click(panel().btnPassOk);
    } else {
      end(command);
    }
  }

 private:
  void end(const std::string& command) {
    if (command == "alert") {
      test::tellWhen(&windows_.window(), [] {
        return alert() != nullptr ? std::optional(alert()->text().toStdString()) : std::nullopt;
      });
    } else if (command == "dismiss") {
      click(alert()->button(QMessageBox::Ok));
      tellWhen([this] { return ui_.btnStart->isEnabled(); }, "dismissed");
    } else if (command == "close") {
      windows_.window().close();
    } else {
      tell("no command");
    }
  }

  void tellWhen(const std::function<bool()>& holds, const std::string& text) {
    test::tellWhen(&windows_.window(),
                   [=] { return holds() ? std::optional(text) : std::nullopt; });
  }
  static void click(QAbstractButton* button) { QTest::mouseClick(button, Qt::LeftButton); }
  const Ui::CredentialsPanel& panel() const { return windows_.panel().ui(); }

  WindowSet& windows_;
  const Ui::MainWindow& ui_;
  std::string folder_;
};

void listen(WindowSet& windows) {
  const auto hands = std::make_shared<Hands>(windows);
  auto* const ear = new QSocketNotifier(kSocket, QSocketNotifier::Read, &windows.window());
  QObject::connect(ear, &QSocketNotifier::activated, [hands, &windows] {
    const std::string command = next();
    const bool hasMore = command == "players" || command == "add" || command == "type";
    const std::string what = hasMore ? next() : std::string();
    const std::string password = command == "type" ? next() : std::string();
    // Not from here: some commands return only when a later one has been obeyed.
    QTimer::singleShot(0, &windows.window(), [=] { hands->obey(command, what, password); });
  });
}

}  // namespace
}  // namespace fillstation::test

int main(int argc, char** argv) {
  using namespace fillstation;
  // Qt takes words of its own out of the list.
  char** const words = argv;
  BackEnd backEnd;
  backEnd.install = [words](Platform& ports, StopSource& stop, QtMainThread& mainThread) {
    return std::make_shared<test::Ports>(ports, stop, mainThread, words);
  };
  backEnd.shown = &test::listen;
  return runApplication(argc, argv, backEnd);
}
