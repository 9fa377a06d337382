#pragma once

#include <QWidget>
#include <memory>

#include "TRPlayer.h"

namespace fillstation {

class ElidedLabel;
class ElidedTick;

// One player in the player view: a tick box with its name, and a second line by which a person
// finds the device (device node, USB port, size); a click on either ticks it. Main thread; belongs
// to the player view, holds its player.
class PlayerItem : public QWidget {
  Q_OBJECT

 public:
  PlayerItem(std::shared_ptr<TRPlayer> player, QWidget* parent);

  const std::shared_ptr<TRPlayer>& player() const { return player_; }
  ElidedTick* tick() const { return tick_; }

  // Shows the player's name, size and tick as they are now; the rest never changes.
  void refresh();

 signals:
  // The operator ticked or unticked the player, whose `selected` has followed.
  void ticked();

 protected:
  void mousePressEvent(QMouseEvent* event) override;

 private:
  void onToggled(bool checked);

  std::shared_ptr<TRPlayer> player_;
  // "/dev/sdb · USB 1-2.4": a device that is leaving has no port any more.
  const QString place_;
  ElidedTick* tick_;
  ElidedLabel* facts_;
};

}  // namespace fillstation
