#include "Format.h"
#include "Platform.h"
#include "TRAppDelegate.h"

namespace fillstation {
namespace {

std::shared_ptr<TRPlayer> playerOf(const UsbDeviceInfo& record) {
  auto player = std::make_shared<TRPlayer>();
  player->setName(formatText("%s (%s)", record.diskName, record.volumeName));
  player->setIONumber(static_cast<std::int32_t>(record.ioService));
  player->setSize(Number(record.size));
  player->setDiskName(formatText("%s", record.diskName));
  player->setPath(formatText("%s", record.mountPath));
  player->setIsMounted(!player->path()->empty());
  player->setSelected(Number(0));
  return player;
}

}  // namespace

void TRAppDelegate::updateUsbInfo(UsbDeviceInfo* record) {
  logText("on update!");
  const auto player = playerOf(*record);
  const auto controller = playerController();
  if (record->inserted == 1) {
    if (!controller->contains(*player)) {
      controller->addObject(player);
    }
  } else if (record->inserted == 0 && controller->arrangedObjects()) {
    controller->removeObject(*player);
  }
  updateFilesSize();
}

void TRAppDelegate::takeMedia() {
  // From Start to the summary the players are those that were ticked then, media included.
  const QWidget* const start = btnStart();
  if (start == nullptr || !start->isEnabled()) {
    return;
  }
  const auto controller = playerController();
  bool isAnyNew = false;
  for (const auto& player : controller->listed()) {
    if (const auto size = platform().usbBus->takeMedium(player->identity())) {
      player->setSize(Number(*size));
      isAnyNew = true;
    }
  }
  if (isAnyNew) {
    controller->objectsChanged();
    updateFilesSize();
  }
}

void TRAppDelegate::driveSelectionChanged(QObject* /*sender*/) { updateFilesSize(); }

void TRAppDelegate::selectAllClicked(QObject* /*sender*/) { selectAll(1); }

void TRAppDelegate::selectNoneClicked(QObject* /*sender*/) { selectAll(0); }

void TRAppDelegate::selectAll(int selected) {
  const auto controller = playerController();
  for (const auto& player : controller->listed()) {
    player->setSelected(Number(selected));
  }
  controller->objectsChanged();
  updateFilesSize();
}

void TRAppDelegate::ejectSelectedPlayers(QObject* /*sender*/) {
  const auto controller = playerController();
  for (const auto& player : controller->listed()) {
    if (player->selected().isTrue()) {
      player->eject();
      controller->removeObject(*player);
    }
  }
  updateFilesSize();
}

}  // namespace fillstation
