#include "PlayersView.h"

#include <QLabel>
#include <QVBoxLayout>
#include <algorithm>

#include "PlayerItem.h"

namespace fillstation {

PlayersView::PlayersView(QWidget* parent)
    : QWidget(parent), rows_(new QVBoxLayout), hint_(new QLabel(tr("Plug in a player"), this)) {
  setBackgroundRole(QPalette::Base);
  hint_->setAlignment(Qt::AlignCenter);
  hint_->setForegroundRole(QPalette::PlaceholderText);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  rows_->setSpacing(0);
  layout->addLayout(rows_);
  layout->addWidget(hint_, 1);
  layout->addStretch();
}

void PlayersView::follow(const std::shared_ptr<ArrayController<TRPlayer>>& players,
                         std::function<bool()> startsEnabled) {
  startsEnabled_ = std::move(startsEnabled);
  players->setObserver([this, controller = players.get()] { showPlayers(controller->listed()); });
}

void PlayersView::showPlayers(const ArrayController<TRPlayer>::List& players) {
  QList<PlayerItem*> before = std::exchange(items_, {});
  for (const auto& player : players) {
    items_.append(takeItem(before, player));
  }
  for (PlayerItem* item : before) {
    item->hide();  // hands the focus on, which the destructor wouldn't
    delete item;
  }
  arrange();
}

PlayerItem* PlayersView::takeItem(QList<PlayerItem*>& from,
                                  const std::shared_ptr<TRPlayer>& player) {
  const auto shown = std::find_if(from.begin(), from.end(),
                                  [&](const auto* item) { return item->player() == player; });
  if (shown != from.end()) {
    PlayerItem* item = *shown;
    from.erase(shown);
    item->refresh();
    return item;
  }
  auto* item = new PlayerItem(player, this);
  item->setEnabled(startsEnabled_());
  connect(item, &PlayerItem::ticked, this, &PlayersView::selectionChanged);
  return item;
}

void PlayersView::arrange() {
  QWidget* before = this;
  for (PlayerItem* item : items_) {
    rows_->addWidget(item);
    item->show();
    QWidget::setTabOrder(before, item->tick());
    before = item->tick();
  }
  hint_->setVisible(items_.isEmpty());
}

}  // namespace fillstation
