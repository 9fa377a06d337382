#include <algorithm>
#include <sstream>

#include "Explorer.h"
#include "ModalSession.h"
#include "OpenDialog.h"
#include "ui_CredentialsPanel.h"
#include "ui_MainWindow.h"

namespace fillstation::explore {

namespace {

// A label's text for this number of bytes: whole megabytes, or kilobytes below one; negative ones
// as unsigned 64-bit numbers.
std::string label(std::int64_t bytes) {
  const std::int64_t megabytes = bytes / (1024 * 1024);
  const std::int64_t shown = megabytes != 0 ? megabytes : bytes / 1024;
  return std::to_string(static_cast<std::uint64_t>(shown)) + (megabytes != 0 ? " MB" : " KB");
}

}  // namespace

void Explorer::expect(bool holds, const std::string& rule) {
  if (!holds && !explored_.broken) {
    std::ostringstream broken;
    broken << "step " << explored_.steps << " (" << lastStep_ << "): " << rule;
    explored_.broken = broken.str();
  }
}

void Explorer::check() {
  checkPlayers();
  checkFiles();
  checkLabels();
  checkControls();
  checkRun();
  checkLog();
  for (const auto& violation : machine_.takeViolations()) {
    expect(false, violation);
  }
}

void Explorer::checkPlayers() {
  const auto listed = windows_->players()->listed();
  const auto& items = windows_->window().ui().viewPlayers->items();
  const std::size_t count = rules_.players.size();
  if (listed.size() != count || static_cast<std::size_t>(items.size()) != count) {
    expect(false, "so many players are listed: " + std::to_string(count) + ", not " +
                      std::to_string(listed.size()));
    return;
  }
  for (std::size_t row = 0; row < count; ++row) {
    const auto& wanted = rules_.players[row];
    const auto& shown = *listed[row];
    const PlayerItem& item = *items.at(static_cast<int>(row));
    const std::string& node = wanted.device->node;
    expect(shown.diskName() == node, "row " + std::to_string(row) + " is " + node);
    expect(shown.size().value() == wanted.size, node + " has its size");
    expect(shown.selected().isTrue() == wanted.ticked, node + " is ticked or not");
    expect(item.tick()->isChecked() == wanted.ticked, node + " shows its tick");
    expect(item.tick()->isEnabled() == rules_.isIdle(), "ticks are on while idle");
    expect(wanted.wasInRun || shown.name().value_or("").starts_with(node + " ("),
           node + " keeps its name until a run");
  }
}

void Explorer::checkFiles() {
  const auto& list = *windows_->songs()->list();
  expect(
      list.size() == rules_.roots.size() && windows_->window().ui().lstFiles->model()->rowCount() ==
                                                static_cast<int>(rules_.roots.size()),
      "so many roots are listed: " + std::to_string(rules_.roots.size()));
  for (std::size_t row = 0; row < std::min(list.size(), rules_.roots.size()); ++row) {
    const Root& root = rules_.roots[row];
    expect(list[row]->path() == root.path, "root " + std::to_string(row) + " is " + root.path);
    expect(list[row]->size().value() == root.size, root.path + " has its size");
  }
  expect(windows_->songs()->totalFileSize().value() == rules_.totalSize(),
         "the total is the sum of the roots");
}

void Explorer::checkLabels() {
  std::int64_t kept = rules_.players.empty() ? 0 : -1;
  Number box;
  const auto listed = windows_->players()->listed();
  for (std::size_t row = 0; row < std::min(listed.size(), rules_.players.size()); ++row) {
    const Number size = listed[row]->size();
    if (rules_.players[row].ticked && (!box || box.ordersAbove(size))) {
      box = size;
      kept = size.value();
    }
  }
  const auto& ui = windows_->window().ui();
  const bool isComputed = rules_.refreshes > 0;
  const std::string capacity = isComputed ? label(kept) : "";
  expect(ui.lblMaxCapSize->text().toStdString() == capacity, "the capacity is " + capacity);
  const std::string free = isComputed ? label(kept < 0 ? 0 : kept - rules_.totalSize()) : "";
  expect(ui.lblFreeDiskSpaceLeft->text().toStdString() == free, "the space left is " + free);
}

void Explorer::checkControls() {
  const auto& ui = windows_->window().ui();
  const std::array<const QWidget*, 6> working{ui.btnStart, ui.btnBrowse, ui.lstFiles,
                                              ui.btnAll,   ui.btnNone,   ui.btnEject};
  for (const QWidget* control : working) {
    expect(control->isEnabled() == rules_.isIdle(),
           control->objectName().toStdString() + " is on while idle, and only then");
  }
  expect(ui.cmbFileType->isEnabled() && ui.tirellLinkBtn->isEnabled(),
         "file type and link are always on");
  expect(windows_->panel().isVisible() == (rules_.state == Rules::State::kAsking),
         "the panel is open while asking");
  expect(ui.pbCircle->isAnimating() == (rules_.state == Rules::State::kRunning),
         "the busy indicator turns while running");
  const Alert* const opened = test::openDialog<Alert>();
  const std::string alert = opened != nullptr ? opened->text().toStdString() : "";
  expect(alert == (rules_.hasAlert() ? rules_.alertText : ""),
         "the alert says \"" + (rules_.hasAlert() ? rules_.alertText : "") + "\", not \"" + alert +
             "\"");
}

void Explorer::checkRun() {
  const int bar = windows_->window().ui().pbProgressBar->value();
  if (rules_.state == Rules::State::kRunning) {
    expect(bar >= lowestBar_ && bar <= 100, "the bar never goes back");
    lowestBar_ = bar;
  } else {
    expect(bar == rules_.bar,
           "the bar is at " + std::to_string(rules_.bar) + ", not " + std::to_string(bar));
  }
  expect(rules_.summaries <= rules_.runs &&
             rules_.runs - rules_.summaries == (rules_.state == Rules::State::kRunning ? 1U : 0U),
         "one summary for each run");
}

void Explorer::checkLog() {
  const auto expectLines = [this](const char* text, std::size_t count) {
    const std::size_t found = logged_.contains(text) ? logged_.at(text) : 0;
    expect(found == count, "the log says so often \"" + std::string(text) +
                               "\": " + std::to_string(count) + ", not " + std::to_string(found));
  };
  expectLines("labels", rules_.refreshes);
  expectLines("on update!", rules_.records);
  expectLines("\nSelection !\n", rules_.cancels);
  expectLines("\nafter task call!!!!\n", rules_.runs);
}

}  // namespace fillstation::explore
