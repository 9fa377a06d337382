#include "Capacity.h"
#include "Platform.h"
#include "TRAppDelegate.h"

namespace fillstation {

void TRAppDelegate::updateFilesSize() {
  const auto players = playerController()->listed();
  setMinPlayerSize(Number(-1));
  if (players.empty()) {
    setMinPlayerSize(Number(0));
  }
  for (const auto& player : players) {
    const Number size = player->size();
    logText("\nLog P Size %@\n", size);
    if (!player->selected().isTrue()) {
      continue;
    }
    // The boxes are ordered by identity, on purpose: which of several players is kept has never
    // meant the smallest one.
    if (minPlayerSize().ordersAbove(size) || minPlayerSize().value() == -1) {
      setMinPlayerSize(size);
    }
  }
  logText("\nLog xxxP Size %@\n", minPlayerSize());

  const std::int64_t capacity = minPlayerSize().value();
  lblMaxCapSize()->setText(QString::fromStdString(capacityText(capacity)));
  const auto used = [this] {
    const auto songs = songsTVC();
    return songs ? songs->totalFileSize().value() : 0;
  };
  const std::int64_t free = capacity >= 0 ? spaceLeft(capacity, used()) : 0;
  lblFreeDiskSpaceLeft()->setText(QString::fromStdString(spaceLeftText(free)));
}

}  // namespace fillstation
