#include <unistd.h>

#include <QAbstractButton>
#include <QSocketNotifier>
#include <QTest>
#include <QTimer>
#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "AgentShell.h"
#include "AppRunner.h"
#include "Bench.h"
#include "JournalLog.h"
#include "ModalSession.h"
#include "OpenDialog.h"
#include "PolkitScriptRunner.h"
#include "QtMainThread.h"
#include "StepHooks.h"
#include "WindowSet.h"
#include "ui_CredentialsPanel.h"
#include "ui_MainWindow.h"

// person_program BENCH STEP [AGENT]: the program over the virtual bench of that folder, with a
// simulated person at its window. Standard input is a socket with the person's actions and
// observations:
//
//   players N            -> "players" when this number is listed
//   add FOLDER           -> "added" when it was chosen and the command has ended
//   ask                  -> "asking" when all are ticked and the credentials are asked for
//   type NAME PASSWORD   -> "typed"
//   ok                   no answer
//   alert                -> the text of the present or next alert
//   dismiss              -> "dismissed" when the alert is gone and the window can be used
//   close                no answer: closes the window
//
// A run stays at the STEP, as if a device never answered, and "held" is sent when it is there:
// "authentication", "unmount", "mount", "copy" (of the second file), "flush", "readback", or none.
// Commands are held outside, by fakes of the tools. An AGENT runs the two commands, authenticated
// by polkit, and the log is the journal. Pauses take a thousandth of a second.
namespace fillstation::test {
namespace {

constexpr int kSocket = 0;

void tell(const std::string& text) {
  static std::mutex lock;
  const std::scoped_lock guard(lock);
  sendText(kSocket, text);
}

// The hooks that keep a run at this step for good.
StepHooks hooksFor(const std::string& held) {
  using Kind = Step::Kind;
  static const std::map<std::string, Kind> kinds{
      {"authentication", Kind::kWipe}, {"unmount", Kind::kUnmount}, {"mount", Kind::kMount},
      {"copy", Kind::kCopy},           {"flush", Kind::kFlush},     {"readback", Kind::kReadBack}};
  const auto found = kinds.find(held);
  if (found == kinds.end()) {
    return {};
  }
  const Kind kind = found->second;
  const auto isHeld = [kind](const Step& step) {
    thread_local int copies = 0;
    if (step.kind != kind || (kind == Kind::kCopy && ++copies < 2)) {
      return false;
    }
    tell("held");
    return true;
  };
  StepHooks hooks;
  if (kind == Kind::kMount || kind == Kind::kUnmount) {
    hooks.isLost = isHeld;
  } else {
    hooks.before = [isHeld](const Step& step) {
      while (isHeld(step)) {
        ::pause();
      }
    };
  }
  return hooks;
}

std::string next() {
  auto text = receiveText(kSocket);
  if (!text) {
    ::_exit(3);  // the other side has gone
  }
  return *std::move(text);
}

struct QuickClock : Clock {
  explicit QuickClock(Clock& own) : real(own) {}
  bool sleep(std::chrono::microseconds duration) override {
    return real.sleep(std::min(duration, std::chrono::microseconds(1000)));
  }

  Clock& real;
};

struct Ports {
  Ports(Platform& ports, StopSource& stop, QtMainThread& mainThread, char** words)
      : clock(mainThread),
        bench(words[1], {stop, mainThread, clock, *ports.workers,
                         words[3] != nullptr ? journal : *ports.systemLog}),
        hooks(hooksFor(words[2])) {
    bench.installInto(ports);
    if (words[3] != nullptr) {
      polkit = std::make_unique<PolkitScriptRunner>(
          words[3], [](const DiskIdentity&) { return 1; }, [](const DiskIdentity&) {});
      ports.scriptRunner = polkit.get();
    }
    hooked = installHooks(hooks, ports);
  }

  QuickClock clock;
  JournalLog journal;
  Bench bench;
  std::unique_ptr<PolkitScriptRunner> polkit;
  const StepHooks hooks;
  std::shared_ptr<void> hooked;
};

Alert* alert() { return openDialog<Alert>(); }

// Sends a text as soon as there is one. It polls instead of waiting, because the awaited work may
// only continue when this returns.
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

  // A command and its arguments.
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
      // During a run it takes a second one.
      static_cast<void>(windows_.window().close() || windows_.window().close());
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
  // Qt removes its own options from the list.
  char** const words = argv;
  BackEnd backEnd;
  backEnd.install = [words](Platform& ports, StopSource& stop, QtMainThread& mainThread) {
    return std::make_shared<test::Ports>(ports, stop, mainThread, words);
  };
  backEnd.shown = &test::listen;
  return runApplication(argc, argv, backEnd);
}
