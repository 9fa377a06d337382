#include <QPushButton>
#include <QTest>
#include <algorithm>
#include <set>

#include "Explorer.h"
#include "ModalSession.h"
#include "OpenDialog.h"
#include "ui_CredentialsPanel.h"
#include "ui_MainWindow.h"

namespace fillstation::explore {

namespace {

constexpr std::size_t kMostDevices = 8;
constexpr std::size_t kMostTurns = 40;

}  // namespace

const std::vector<Explorer::Choice> Explorer::kChoices{
    {"plug in", 50, [](Explorer& e) { e.plug(); }},
    {"pull out", 20,
     [](Explorer& e) {
       if (const auto device = e.anyDevice()) {
         e.launch_->unplug(device);
       }
     }},
    {"told again", 5, [](Explorer& e) { e.tellAgain(); }},
    {"trouble", 20, [](Explorer& e) { e.trouble(); }},
    {"automount", 10,
     [](Explorer& e) {
       if (const auto device = e.anyDevice()) {
         e.machine_.mount(*device);
       }
     }},
    {"tick", 50, [](Explorer& e) { e.tick(); }},
    {"All", 70,
     [](Explorer& e) {
       e.rules_.tickAll(true);
       e.click(e.windows_->window().ui().btnAll);
     }},
    {"None", 5,
     [](Explorer& e) {
       e.rules_.tickAll(false);
       e.click(e.windows_->window().ui().btnNone);
     }},
    {"Eject", 10,
     [](Explorer& e) {
       e.rules_.eject();
       e.click(e.windows_->window().ui().btnEject);
     }},
    {"Browse", 40, [](Explorer& e) { e.browse(); }},
    {"select a row", 20, [](Explorer& e) { e.selectRow(); }},
    {"context menu", 15, [](Explorer& e) { e.contextMenu(); }},
    {"file type", 5, [](Explorer& e) { e.chooseType(); }},
    {"Start", 60,
     [](Explorer& e) {
       e.rules_.start();
       e.click(e.windows_->window().ui().btnStart);
     }},
    {"Cancel", 10, [](Explorer& e) { e.cancel(); }},
    {"OK with an empty field", 10,
     [](Explorer& e) { e.oneOf(2) ? e.ok("", Machine::kPassword) : e.ok(Machine::kUser, ""); }},
    {"OK with a wrong password", 8, [](Explorer& e) { e.ok(Machine::kUser, "guess"); }},
    {"OK", 60, [](Explorer& e) { e.ok(Machine::kUser, Machine::kPassword); }},
    {"answer a request", 200,
     [](Explorer& e) { e.launch_->answerOne([&e](std::size_t count) { return e.pick(count); }); }},
    {"turns of workers", 250, [](Explorer& e) { e.turns(); }},
    {"the result", 60, [](Explorer& e) { e.result(); }},
    {"OK on the alert", 100, [](Explorer& e) { e.dismiss(); }},
    {"link", 5, [](Explorer& e) { e.click(e.windows_->window().ui().tirellLinkBtn); }},
    {"close the window", 1,
     [](Explorer& e) {
       if (e.oneOf(3)) {
         e.windows_->window().close();
       }
     }},
};

std::shared_ptr<Device> Explorer::anyDevice() {
  const auto present = machine_.present();
  return present.empty() ? nullptr : present[pick(present.size())];
}

void Explorer::click(QAbstractButton* button) { QTest::mouseClick(button, Qt::LeftButton); }

void Explorer::plug() {
  const auto present = machine_.present();
  const std::size_t which = pick(media_.size());
  const bool isIn = std::any_of(present.begin(), present.end(), [&](const auto& device) {
    return device->medium == media_[which];
  });
  const bool mounted = !oneOf(4);
  const std::size_t searches = oneOf(20) ? 150 : oneOf(10) ? 3 : 0;
  if (isIn || present.size() >= kMostDevices) {
    return;
  }
  const auto device = machine_.attach(media_[which], mounted);
  device->searchesInVain = searches;
  launch_->plug(device);
}

// The window gets the same player a second time.
void Explorer::tellAgain() {
  if (rules_.players.empty() || rules_.hasAlert()) {
    return;
  }
  const auto& player = rules_.players[pick(rules_.players.size())];
  const std::string node = player.device->node;
  UsbDeviceInfo record;
  record.setDiskName(node.c_str());
  record.setInserted(true);
  record.setSize(player.size);
  rules_.told(player.device, true);
  updateUsbInfoCallBack(windows_->delegate().get(), &record);
}

void Explorer::trouble() {
  const auto device = anyDevice();
  const auto what = static_cast<int>(pick(12));
  if (device) {
    device->trouble =
        what < static_cast<int>(Trouble::kNone) ? static_cast<Trouble>(what) : Trouble::kNone;
  }
}

void Explorer::tick() {
  const auto& items = windows_->window().ui().viewPlayers->items();
  if (items.isEmpty()) {
    return;
  }
  const std::size_t row = pick(static_cast<std::size_t>(items.size()));
  ElidedTick* const box = items.at(static_cast<int>(row))->tick();
  rules_.tick(row);
  QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(8, box->height() / 2));
}

void Explorer::browse() {
  const auto& choices = audioChoices();
  chosen_ = oneOf(6) ? std::string() : choices[pick(choices.size())];
  rules_.browse(chosen_);
  click(windows_->window().ui().btnBrowse);
}

void Explorer::selectRow() {
  FileTable* const table = windows_->window().ui().lstFiles;
  const int rows = table->model()->rowCount();
  if (rows == 0) {
    return;
  }
  const int row = static_cast<int>(pick(static_cast<std::size_t>(rows)));
  const auto modifiers = oneOf(2) ? Qt::ControlModifier : Qt::NoModifier;
  QTest::mouseClick(table->viewport(), Qt::LeftButton, modifiers,
                    table->visualRect(table->model()->index(row, 0)).center());
}

void Explorer::rightClick(int row) {
  QWidget& window = windows_->window();
  FileTable* const table = windows_->window().ui().lstFiles;
  const QPoint at = row >= 0 ? table->visualRect(table->model()->index(row, 0)).center()
                             : QPoint(20, table->viewport()->height() - 5);
  QTest::mouseClick(window.windowHandle(), Qt::RightButton, {},
                    table->viewport()->mapTo(&window, at));
}

// Opens the context menu somewhere, checks its commands, and chooses one or none.
void Explorer::contextMenu() {
  const auto& controller = windows_->delegate();
  FileTable* const table = windows_->window().ui().lstFiles;
  const std::size_t rows = static_cast<std::size_t>(table->model()->rowCount());
  const int row = rows == 0 || oneOf(8) ? -1 : static_cast<int>(pick(rows));
  rightClick(row);
  QMenu* const menu = controller->songsTVCContextMenu();
  const auto selected = table->selectedRowIndexes();
  const bool isInside = selected.size() > 1 && selected.contains(static_cast<std::size_t>(row));
  if (!rules_.isIdle() || row < 0) {
    expect(!menu->isVisible(), "no menu outside of the rows, nor while the controls are off");
    menu->close();
    return;
  }
  expect(menu->isVisible() && controller->fileMenuDelete()->isVisible() &&
             controller->fileMenuDeleteAll()->isVisible() &&
             controller->fileMenuDeleteSelected()->isVisible() == isInside,
         "the menu offers what the click was on");
  menu->close();
  choose(static_cast<std::size_t>(row), isInside);
}

void Explorer::choose(std::size_t row, bool isInside) {
  const auto& controller = windows_->delegate();
  const std::size_t chosen = pick(6);
  if (chosen == 0) {
    rules_.remove({row});
    controller->fileMenuDelete()->trigger();
  } else if (chosen == 1) {
    std::set<std::size_t> everything;
    for (std::size_t at = 0; at < rules_.roots.size(); ++at) {
      everything.insert(at);
    }
    rules_.remove(everything);
    controller->fileMenuDeleteAll()->trigger();
  } else if (chosen == 2 && isInside) {
    rules_.remove(windows_->window().ui().lstFiles->selectedRowIndexes());
    controller->fileMenuDeleteSelected()->trigger();
  }
}

void Explorer::chooseType() {
  rules_.fileType = oneOf(3) ? "txt" : "mp3";
  windows_->window().ui().cmbFileType->setEditText(QString::fromStdString(rules_.fileType));
}

void Explorer::cancel() {
  if (!windows_->panel().isVisible() || rules_.hasAlert()) {
    return;
  }
  rules_.cancel();
  if (oneOf(2)) {
    click(windows_->panel().ui().btnPassCancel);
  } else {
    windows_->panel().close();
  }
}

void Explorer::ok(const std::string& userName, const std::string& password) {
  if (!windows_->panel().isVisible()) {
    return;
  }
  const auto& panel = windows_->panel().ui();
  panel.userNameField->setText(QString::fromStdString(userName));
  panel.passwordField->setText(QString::fromStdString(password));
  lowestBar_ = 0;
  rules_.ok(userName, password);
  if (rules_.hasAlert()) {
    expectAlert();
  } else {
    std::map<std::string, std::string> content;
    const bool completable = rules_.contentOfRun(content);
    machine_.beginRun(rules_.inRun, content, completable);
  }
  click(panel.btnPassOk);
  if (rules_.state == Rules::State::kRunning) {
    launch_->turns.begin(rules_.inRun.size());
  }
}

void Explorer::turns() {
  for (std::size_t left = 1 + pick(kMostTurns); left > 0; --left) {
    const auto waiting = launch_->turns.waiting();
    if (waiting.empty() || isClosed_) {
      return;
    }
    launch_->turns.turn(*std::next(waiting.begin(), static_cast<int>(pick(waiting.size()))));
  }
}

void Explorer::result() {
  if (rules_.state != Rules::State::kRunning || !launch_->turns.isResultDue()) {
    return;
  }
  rules_.report(machine_);
  const auto failed =
      static_cast<std::size_t>(std::count(rules_.alertText.begin(), rules_.alertText.end(), '\n'));
  explored_.failedPlayers += failed;
  explored_.filledPlayers += rules_.inRun.size() - failed;
  machine_.beginRun({}, {}, true);
  expectAlert();
  launch_->deliverResult();
}

void Explorer::dismiss() {
  Alert* const alert = test::openDialog<Alert>();
  if (alert == nullptr) {
    return;
  }
  rules_.dismiss();
  isDismissed_ = true;
  isJustDismissed_ = true;
  click(alert->button(QMessageBox::Ok));
}

}  // namespace fillstation::explore
