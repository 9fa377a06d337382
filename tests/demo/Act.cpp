#include "Act.h"

#include <unistd.h>

#include <QAbstractButton>
#include <QDir>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QPainter>
#include <QTest>
#include <QTimer>
#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "BenchFolder.h"
#include "ModalSession.h"
#include "OpenDialog.h"
#include "OpenPanel.h"
#include "PlayerCheck.h"
#include "ui_CredentialsPanel.h"
#include "ui_MainWindow.h"

namespace fillstation::demo {
namespace {

constexpr int kPatienceMs = 120'000;
constexpr int kVisiblePauseMs = 700;

// The actions of a person at the window: clicks, typing, looking, waiting. Main thread.
class Operator {
 public:
  Operator(WindowSet& windows, bool visible, QString pictureFolder)
      : windows_(windows), visible_(visible), pictureFolder_(std::move(pictureFolder)) {}

  // Waits until this number of players is listed.
  void seePlayers(std::size_t count) {
    waitFor([&] { return windows_.players()->listed().size() == count; },
            "the players in the list");
    pause();
  }

  // Browses for a folder by typing its path into the dialog.
  void addFolder(const QString& folder) {
    // The dialog empties its field when it has read its first folder, and the first Return may only
    // close the list of completions: a person looks, and types again.
    QTimer enter;
    QObject::connect(&enter, &QTimer::timeout, [&] {
      if (auto* const panel = test::openDialog<OpenPanel>()) {
        auto* const field = panel->findChild<QLineEdit*>("fileNameEdit");
        if (field->text() != folder) {
          type(field, folder);
        }
        QTest::keyClick(field, Qt::Key_Return);
      }
    });
    enter.start(visible_ ? kVisiblePauseMs : 200);
    const std::size_t before = windows_.songs()->list()->size();
    click(windows_.window().ui().btnBrowse);
    waitFor([&] { return windows_.songs()->list()->size() == before + 1; },
            "the folder in the table");
  }

  void tickAll() { click(windows_.window().ui().btnAll); }

  // Unticks all players, then ticks those with these device nodes.
  void tickOnly(const QStringList& nodes) {
    click(windows_.window().ui().btnNone);
    for (const auto* item : windows_.window().ui().viewPlayers->items()) {
      if (nodes.contains(QString::fromStdString(item->player()->diskName().value_or("")))) {
        click(item->tick());
      }
    }
  }

  void ejectTicked() { click(windows_.window().ui().btnEject); }

  // Start, the credentials, OK; the run is under way afterwards.
  void start() {
    click(windows_.window().ui().btnStart);
    const auto& panel = windows_.panel().ui();
    waitFor([&] { return windows_.panel().isVisible(); }, "the credentials panel");
    type(panel.userNameField, QStringLiteral("bench"));
    type(panel.passwordField, QStringLiteral("bench"));
    takePicture("2-credentials", &windows_.panel());
    click(panel.btnPassOk);
  }

  // Waits for the progress bar.
  void seeProgress(int percent) {
    waitFor([&] { return windows_.window().ui().pbProgressBar->value() >= percent; }, "progress");
  }

  // Waits for the summary, dismisses it and returns its text.
  QString readSummary() {
    QString text;
    // From a timer: a dialog runs its own loop, inside which nothing else continues.
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, [&] {
      if (auto* const summary = test::openDialog<Alert>()) {
        look.stop();
        text = summary->text();
        pause();
        takePicture("4-summary", summary);
        click(summary->button(QMessageBox::Ok));
      }
    });
    look.start(50);
    waitFor([&] { return !text.isEmpty() && windows_.window().ui().btnStart->isEnabled(); },
            "the summary");
    return text;
  }

  // Takes a picture of the window as it is, with a dialog that is open in front of it.
  void takePicture(const QString& name, QWidget* dialog = nullptr) const {
    QCoreApplication::processEvents();
    QPixmap picture = windows_.window().grab();
    if (dialog != nullptr) {
      const QPixmap front = dialog->grab();
      const QRect whole(QPoint(), picture.deviceIndependentSize().toSize());
      QRect place(QPoint(), front.deviceIndependentSize().toSize());
      place.moveCenter(whole.center());
      QPainter painter(&picture);
      painter.fillRect(whole, QColor(0, 0, 0, 60));
      painter.drawPixmap(place.topLeft(), front);
      painter.setPen(Qt::gray);
      painter.drawRect(place.adjusted(0, 0, -1, -1));
    }
    QDir().mkpath(pictureFolder_);
    picture.save(QDir(pictureFolder_).filePath(name + ".png"));
  }

 private:
  void waitFor(const std::function<bool()>& seen, const char* what) const {
    if (!QTest::qWaitFor(seen, kPatienceMs)) {
      throw NotSeen(std::string("waited in vain for ") + what);
    }
  }

  void click(QAbstractButton* button) const {
    if (!button->isEnabled() || !button->isVisible()) {
      throw NotSeen("a button that can't be clicked: " + button->text().toStdString());
    }
    // Where a tick box shows its tick, a button its text.
    const QPoint place(std::min(8, button->width() / 2), button->height() / 2);
    QTest::mouseClick(button, Qt::LeftButton, {}, place);
    pause();
  }

  void type(QLineEdit* field, const QString& text) const {
    QTest::mouseClick(field, Qt::LeftButton);
    field->selectAll();
    QTest::keyClicks(field, text, Qt::NoModifier, visible_ ? 30 : -1);
  }

  void pause() const {
    if (visible_) {
      QTest::qWait(kVisiblePauseMs);
    }
  }

  WindowSet& windows_;
  const bool visible_;
  const QString pictureFolder_;
};

std::FILE* terminal = stdout;

void sendTo(std::FILE* stream, const QString& file) {
  if (std::freopen(file.toLocal8Bit().constData(), "w", stream) == nullptr) {
    std::fprintf(terminal, "%s can't be written\n", qUtf8Printable(file));
  }
}

// A performance on its way.
class Act {
 public:
  Act(ActPlan plan, WindowSet& windows)
      : plan_(std::move(plan)),
        windows_(windows),
        person_(windows, plan_.visible, plan_.pictureFolder) {}

  bool perform() {
    std::fprintf(console(), "\n%s\n", qUtf8Printable(plan_.title));
    const auto count = plan_.scenario.size();
    step(QString("Plug in %1 players, one after the other").arg(count), [this] { plugIn(); });
    if (windows_.songs()->list()->empty()) {
      step("Add the folder with the audio book", [this] { person_.addFolder(plan_.audioFolder); });
    }
    step("Tick all, Start, type the credentials", [this] {
      person_.tickAll();
      person_.takePicture("1-players");
      person_.start();
    });
    step("Wipe, format, fill all players at once", [this] { prepare(); });
    step("Read every image back with fsck.fat and mtools", [this] { readBack(); });
    if (plan_.ejectTwo) {
      step("Eject two players through the window", [this] { ejectFirstTwo(); });
    }
    pullOut();
    return printResult();
  }

 private:
  struct Row {
    std::string name;
    QString node;
    bool named = false;  // in the summary
    PlayerCheck check;
  };

  void step(const QString& what, const std::function<void()>& action) {
    QElapsedTimer time;
    time.start();
    action();
    std::fprintf(console(), "  %-50s %6.1f s\n", qUtf8Printable(what),
                 static_cast<double>(time.elapsed()) / 1000);
    std::fflush(console());
  }

  void plugIn() {
    for (const auto& plan : plan_.scenario) {
      const auto problem = createPlayer(plan_.benchFolder.toStdString(), plan);
      if (problem || !plugPlayer(plan_.benchFolder.toStdString(), plan.name)) {
        throw NotSeen("a player that can't be plugged in: " + problem.value_or(plan.name));
      }
      person_.seePlayers(rows_.size() + 1);
      rows_.push_back({plan.name, listedNodes().last(), false, {}});
    }
  }

  void prepare() {
    person_.seeProgress(30);
    person_.takePicture("3-running");
    summary_ = person_.readSummary();
  }

  void readBack() {
    for (auto& row : rows_) {
      row.named = summary_.contains("Player " + row.node + " Failed");
      if (!expectedToFail(row.name)) {
        const auto image = pluggedImage(plan_.benchFolder.toStdString(), row.name);
        row.check = checkPlayer(QString::fromStdString(image), *windows_.songs()->list());
      }
    }
  }

  void ejectFirstTwo() {
    person_.tickOnly({rows_[0].node, rows_[1].node});
    person_.ejectTicked();
    person_.seePlayers(rows_.size() - 2);
    person_.takePicture("5-two-ejected");
    const QStringList left = listedNodes();
    ejected_ = !left.contains(rows_[0].node) && !left.contains(rows_[1].node);
  }

  QStringList listedNodes() const {
    QStringList nodes;
    for (const auto& player : windows_.players()->listed()) {
      nodes << QString::fromStdString(player->diskName().value_or(""));
    }
    return nodes;
  }

  void pullOut() {
    for (const auto& row : rows_) {
      unplugPlayer(plan_.benchFolder.toStdString(), row.name);
    }
    person_.seePlayers(0);
  }

  void printRow(const Row& row) const {
    const int all = fileCount(*windows_.songs()->list());
    const bool fails = expectedToFail(row.name);
    const QString files = fails ? QString("-") : QString("%1 of %2").arg(row.check.files).arg(all);
    const QString verdict =
        fails       ? (row.named ? "failed, and the summary says so" : "NOT IN THE SUMMARY")
        : row.named ? "NAMED IN THE SUMMARY"
        : row.check.complete() ? "same files, same order, same SHA-256"
                               : "NOT WHAT WAS CHOSEN";
    std::fprintf(console(), "  %-14s %-9s %-13s %-8s %s\n", row.name.c_str(),
                 qUtf8Printable(row.node),
                 qUtf8Printable(fails ? QString("-") : row.check.fileSystem), qUtf8Printable(files),
                 qUtf8Printable(verdict));
    for (const auto& fault : row.check.faults) {
      std::fprintf(console(), "      %s\n", qUtf8Printable(fault));
    }
  }

  bool asPlanned(const Row& row) const {
    return expectedToFail(row.name) ? row.named : !row.named && row.check.complete();
  }

  QString expectedSummary() const {
    QString text = "Process Completed.";
    for (const auto& row : rows_) {
      if (expectedToFail(row.name)) {
        text += "\nPlayer " + row.node + " Failed in process";
      }
    }
    return text;
  }

  bool expectedToFail(const std::string& name) const {
    return plan_.failing.contains(QString::fromStdString(name));
  }

  bool printResult() const {
    std::fprintf(console(), "\n  %-14s %-9s %-13s %-8s %s\n", "player", "device", "file system",
                 "files", "content");
    for (const auto& row : rows_) {
      printRow(row);
    }
    std::fprintf(console(), "\n  The summary said:\n");
    for (const auto& line : summary_.split('\n')) {
      std::fprintf(console(), "    | %s\n", qUtf8Printable(line));
    }
    if (!ejected_) {
      std::fprintf(console(), "  AN EJECTED PLAYER IS STILL LISTED\n");
    }
    const auto whole = std::count_if(rows_.begin(), rows_.end(), [this](const Row& row) {
      return !expectedToFail(row.name) && asPlanned(row);
    });
    std::fprintf(console(), "\n  %d of %zu players hold all %d files\n", static_cast<int>(whole),
                 rows_.size(), fileCount(*windows_.songs()->list()));
    std::fflush(console());
    return ejected_ && summary_ == expectedSummary() &&
           std::all_of(rows_.begin(), rows_.end(),
                       [this](const Row& row) { return asPlanned(row); });
  }

  ActPlan plan_;
  WindowSet& windows_;
  Operator person_;
  std::vector<Row> rows_;
  QString summary_;
  bool ejected_ = true;
};

}  // namespace

std::FILE* console() { return terminal; }

void useConsole(const QString& logFolder) {
  QDir().mkpath(logFolder);
  terminal = ::fdopen(::dup(STDOUT_FILENO), "w");
  sendTo(stdout, logFolder + "/stdout.log");
  sendTo(stderr, logFolder + "/stderr.log");
}

bool perform(ActPlan plan, WindowSet& windows) { return Act(std::move(plan), windows).perform(); }

}  // namespace fillstation::demo
