#include "PlayersView.h"

#include <QMouseEvent>
#include <QStyleOptionButton>
#include <QStylePainter>
#include <QVBoxLayout>
#include <algorithm>

#include "DisplayText.h"
#include "Platform.h"

namespace fillstation {
namespace {

QString placeOf(const TRPlayer& player) {
  const auto port = platform().usbBus->placeOf(static_cast<std::uint32_t>(player.IONumber())).port;
  return QString::fromUtf8("%1 · USB %2")
      .arg(displayText(player.diskName()), displayText(std::string_view(port)));
}

}  // namespace

ElidedLabel::ElidedLabel(QWidget* parent) : QLabel(parent) { setTextFormat(Qt::PlainText); }

void ElidedLabel::setWholeText(const QString& text) {
  setText(text);
  setToolTip(toolTipText(text));
  setAccessibleDescription(text);  // instead of the tool tip, which has marks for line breaks in it
}

QString ElidedLabel::shownText() const {
  return fontMetrics().elidedText(text(), Qt::ElideMiddle, textRect().width());
}

QRect ElidedLabel::textRect() const {
  return QStyle::visualRect(layoutDirection(), rect(), rect().adjusted(indent(), 0, 0, 0));
}

QSize ElidedLabel::minimumSizeHint() const { return {0, QLabel::minimumSizeHint().height()}; }

void ElidedLabel::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  style()->drawItemText(&painter, textRect(), Qt::AlignLeft | Qt::AlignVCenter, palette(),
                        isEnabled(), isolated(shownText()), foregroundRole());
}

ElidedTick::ElidedTick(QWidget* parent) : QCheckBox(parent) {
  setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

void ElidedTick::setWholeText(const QString& text) {
  wholeText_ = text;
  setText(withoutMnemonics(text));
  setToolTip(toolTipText(text));
}

QString ElidedTick::shownText() const {
  return fontMetrics().elidedText(wholeText_, Qt::ElideMiddle, width() - textIndent());
}

int ElidedTick::textIndent() const {
  QStyleOptionButton option;
  option.initFrom(this);
  option.direction = Qt::LeftToRight;
  return style()->subElementRect(QStyle::SE_CheckBoxContents, &option, this).x();
}

QSize ElidedTick::minimumSizeHint() const {
  return {textIndent(), QCheckBox::minimumSizeHint().height()};
}

void ElidedTick::paintEvent(QPaintEvent* /*event*/) {
  QStylePainter painter(this);
  QStyleOptionButton option;
  initStyleOption(&option);
  option.text = isolated(withoutMnemonics(shownText()));
  painter.drawControl(QStyle::CE_CheckBox, option);
}

PlayerItem::PlayerItem(std::shared_ptr<TRPlayer> player, QWidget* parent)
    : QWidget(parent),
      player_(std::move(player)),
      place_(placeOf(*player_)),
      tick_(new ElidedTick(this)),
      facts_(new ElidedLabel(this)) {
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(6, 4, 6, 4);
  layout->setSpacing(0);
  layout->addWidget(tick_);
  layout->addWidget(facts_);
  facts_->setIndent(tick_->textIndent());
  // Not its click: assistive programs toggle it.
  connect(tick_, &QAbstractButton::toggled, this, &PlayerItem::onToggled);
  refresh();
}

void PlayerItem::refresh() {
  const QString name = displayText(player_->name());
  const QString size = capacityText(player_->size().value());
  facts_->setWholeText(QString::fromUtf8("%1 · %2").arg(place_, size));
  tick_->setAccessibleDescription(facts_->text());
  tick_->setWholeText(name);
  tick_->setAccessibleName(name.isEmpty() ? facts_->text() : name);
  tick_->setChecked(player_->selected().isTrue());
}

void PlayerItem::mousePressEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) {
    tick_->click();
  }
}

void PlayerItem::onToggled(bool checked) {
  if (checked != player_->selected().isTrue()) {
    player_->setSelected(Number(checked ? 1 : 0));
    emit ticked();
  }
}

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
