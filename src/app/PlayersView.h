#pragma once

#include <QList>
#include <QWidget>
#include <functional>
#include <memory>

#include "ArrayController.h"
#include "TRPlayer.h"

class QLabel;
class QVBoxLayout;

namespace fillstation {

class PlayerItem;

// The player view: one item per listed player, in list order, or a line that says what to do while
// there is none. Main thread; content of the scroll area in the main window.
class PlayersView : public QWidget {
  Q_OBJECT

 public:
  explicit PlayersView(QWidget* parent = nullptr);

  // Shows the controller's list and follows its changes. startsEnabled is asked for each new item:
  // one that is made while the controls are off starts off.
  void follow(const std::shared_ptr<ArrayController<TRPlayer>>& players,
              std::function<bool()> startsEnabled);

  // In list order.
  const QList<PlayerItem*>& items() const { return items_; }

 signals:
  // The operator ticked or unticked a player.
  void selectionChanged();

 private:
  void showPlayers(const ArrayController<TRPlayer>::List& players);
  PlayerItem* takeItem(QList<PlayerItem*>& from, const std::shared_ptr<TRPlayer>& player);
  void arrange();

  QList<PlayerItem*> items_;
  std::function<bool()> startsEnabled_;
  QVBoxLayout* rows_;
  QLabel* hint_;
};

}  // namespace fillstation
