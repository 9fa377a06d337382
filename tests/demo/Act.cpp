#include "Act.h"

#include <unistd.h>

#include <QDir>
#include <QElapsedTimer>
#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "BenchFolder.h"
#include "PlayerCheck.h"
#include "ui_MainWindow.h"

namespace fillstation::demo {
namespace {

std::FILE* terminal = stdout;

void sendTo(std::FILE* stream, const QString& file) {
  if (std::freopen(file.toLocal8Bit().constData(), "w", stream) == nullptr) {
    std::fprintf(terminal, "%s can't be written\n", qUtf8Printable(file));
  }
}

// A performance on its way.
class Act {
 public:
  Act(ActPlan plan, WindowSet& windows, Operator& person)
      : plan_(std::move(plan)), windows_(windows), person_(person) {}

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
      rows_.push_back({plan.name, lastListedNode(), false, {}});
    }
  }

  QString lastListedNode() const {
    QString node;
    for (const auto& player : windows_.players()->listed()) {
      node = QString::fromStdString(player->diskName().value_or(""));
    }
    return node;
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
    for (const auto& player : windows_.players()->listed()) {
      const auto node = QString::fromStdString(player->diskName().value_or(""));
      ejected_ = ejected_ && node != rows_[0].node && node != rows_[1].node;
    }
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
  Operator& person_;
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

bool perform(ActPlan plan, WindowSet& windows, Operator& person) {
  return Act(std::move(plan), windows, person).perform();
}

}  // namespace fillstation::demo
