#include "PlayersView.h"

#include <QMouseEvent>
#include <QStyleOptionButton>
#include <QStylePainter>
#include <QVBoxLayout>
#include <algorithm>

#include "DisplayText.h"
#include "Platform.h"
#include "TRFileCopyTask.h"
#include "WindowStyle.h"

namespace fillstation {
namespace {

// A bar next to a text has no text itself.
constexpr int kBarWidth = 64;
constexpr int kBarHeight = 6;
constexpr int kGap = 6;
// Milliseconds: more often than a person can read.
constexpr int kLook = 100;
constexpr QRgb kFailedColour = 0xC01C28;
constexpr QRgb kFilledColour = 0x26A269;
// Of the link, as the kernel writes it: in megabits a second.
constexpr auto kFullSpeed = "12";

UsbPlace placeOf(const TRPlayer& player) {
  return platform().usbBus->placeOf(static_cast<std::uint32_t>(player.IONumber()));
}

// A device without a volume name is called "((null))" by its record.
QString shownNameOf(const TRPlayer& player, const UsbPlace& place) {
  QString name = displayText(player.name());
  const auto unnamed = QLatin1String("((null))");
  if (name.endsWith(unnamed)) {
    name.chop(unnamed.size());
    name += PlayersView::tr("(blank)");
  }
  return place.slot.empty()
             ? name
             : PlayersView::tr("Slot %1").arg(displayText(std::string_view(place.slot))) +
                   (name.isEmpty() ? QString() : QString::fromUtf8(" · ") + name);
}

// Facts that help to find the device; its node only if the name doesn't begin with it.
QString factsOf(const TRPlayer& player, const UsbPlace& place) {
  QStringList facts;
  const QString node = displayText(player.diskName());
  if (!displayText(player.name()).startsWith(node)) {
    facts << node;
  }
  facts << QStringLiteral("USB %1").arg(displayText(std::string_view(place.port)))
        << capacityText(player.size().value());
  if (place.speed == kFullSpeed) {
    facts << PlayersView::tr("slow: 12 Mbit/s");
  }
  return facts.join(QString::fromUtf8(" · "));
}

QString wordFor(Step step, int percent) {
  switch (step) {
    case Step::kWaiting:
      return PlayersView::tr("waiting");
    case Step::kCopy:
    case Step::kFlush:
      return PlayersView::tr("%1 %").arg(percent);
    case Step::kCheck:
      return PlayersView::tr("checking");
    case Step::kDone:
      return PlayersView::tr("done");
    default:
      return PlayersView::tr("formatting");
  }
}

int widestWord(const QFontMetrics& metrics) {
  int width = 0;
  for (const auto step : {Step::kWaiting, Step::kFormat, Step::kCopy, Step::kCheck, Step::kDone}) {
    width = std::max(width, metrics.size(Qt::TextSingleLine, wordFor(step, 100)).width());
  }
  return width;
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
  painter.setPen(dimmed(palette().color(QPalette::Text), palette().color(QPalette::Base)));
  style()->drawItemText(&painter, textRect(), Qt::AlignLeft | Qt::AlignVCenter, palette(),
                        isEnabled(), isolated(shownText()));
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
      facts_(new ElidedLabel(this)),
      bar_(new QProgressBar(this)),
      state_(new QLabel(this)) {
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(6, 4, 6, 4);
  layout->setSpacing(0);
  layout->addWidget(tick_);
  auto* second = new QHBoxLayout;
  layout->addLayout(second);
  second->setSpacing(kGap);
  second->addWidget(facts_, 1);
  second->addWidget(bar_);
  second->addWidget(state_);
  facts_->setIndent(tick_->textIndent());
  bar_->setFixedSize(kBarWidth, kBarHeight);
  bar_->setTextVisible(false);
  bar_->hide();
  state_->setTextFormat(Qt::PlainText);
  state_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
  state_->hide();
  // Not its click: assistive programs toggle it.
  connect(tick_, &QAbstractButton::toggled, this, &PlayerItem::onToggled);
  refresh();
}

void PlayerItem::refresh() {
  shownName_ = displayText(player_->name());
  const QString name = shownNameOf(*player_, place_);
  facts_->setWholeText(factsOf(*player_, place_));
  tick_->setWholeText(name);
  tick_->setAccessibleName(name.isEmpty() ? facts_->text() : name);
  bar_->setAccessibleName(tick_->accessibleName());
  tick_->setChecked(player_->selected().isTrue());
  if (!task_) {
    tick_->setAccessibleDescription(state_->isHidden()
                                        ? facts_->text()
                                        : state_->text() + QLatin1String(", ") + facts_->text());
  }
}

void PlayerItem::follow(std::shared_ptr<TRFileCopyTask> task) {
  task_ = std::move(task);
  bar_->show();
  // The bars of all rows begin at one place, and a new text moves nothing: ten times a second, that
  // would lay out the whole list again.
  state_->setFixedSize(widestWord(fontMetrics()), fontMetrics().height());
  state_->show();
  showStep();
  colourState();
}

void PlayerItem::showStep() {
  if (!task_) {
    return;
  }
  const int percent = static_cast<int>(task_->currentProgress());
  bar_->setValue(percent);
  showState(wordFor(task_->step(), percent));
  // A format gives the player a new name.
  if (shownName_ != displayText(player_->name())) {
    refresh();
  }
}

void PlayerItem::showState(const QString& text) {
  if (state_->text() != text) {
    state_->setText(text);
  }
}

void PlayerItem::colourState() {
  const QColor ground = palette().color(QPalette::Base);
  const QColor wanted = task_        ? palette().color(QPalette::Text)
                        : hasFailed_ ? QColor(kFailedColour)
                                     : QColor(kFilledColour);
  QPalette colours = state_->palette();
  const QColor readableOne = readable(wanted, ground);
  for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
    colours.setColor(group, QPalette::WindowText, readableOne);
    colours.setColor(group, QPalette::Text, readableOne);
  }
  if (colours != state_->palette()) {
    state_->setPalette(colours);
    QFont font = this->font();
    font.setBold(!task_ && hasFailed_);
    state_->setFont(font);
  }
}

void PlayerItem::changeEvent(QEvent* event) {
  if (event->type() == QEvent::PaletteChange && !state_->isHidden()) {
    colourState();
  }
  QWidget::changeEvent(event);
}

void PlayerItem::showVerdict() {
  if (const auto task = std::exchange(task_, nullptr)) {
    hasFailed_ = task->error();
    bar_->hide();
    state_->setMinimumSize(0, 0);
    state_->setMaximumSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
    showState(hasFailed_ ? PlayersView::tr("✗ Failed") : PlayersView::tr("✓ Filled"));
    colourState();
    refresh();
  }
}

void PlayerItem::clearVerdict() {
  hasFailed_ = false;
  state_->hide();
  refresh();
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
    : QWidget(parent),
      tickFailed_(new QAction(tr("Tick the &Failed"), this)),
      rows_(new QVBoxLayout),
      hint_(new QLabel(tr("Plug in a player"), this)) {
  tickFailed_->setToolTip(tr("Tick only the failed players"));
  connect(tickFailed_, &QAction::triggered, this, &PlayersView::onTickFailed);
  addAction(tickFailed_);
  setContextMenuPolicy(Qt::ActionsContextMenu);
  connect(this, &PlayersView::selectionChanged, this, &PlayersView::tell);
  connect(&steps_, &QTimer::timeout, this, [this] {
    for (PlayerItem* item : items_) {
      item->showStep();
    }
  });
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
  tell();
}

void PlayersView::watch(const TRFileCopyTaskList& tasks) {
  for (PlayerItem* item : items_) {
    item->clearVerdict();
    const auto found = std::find_if(tasks.begin(), tasks.end(), [item](const auto& task) {
      return task->player() == item->player();
    });
    if (found != tasks.end()) {
      item->follow(*found);
    }
  }
  tell();
  steps_.start(kLook);
}

void PlayersView::showVerdicts() {
  steps_.stop();
  for (PlayerItem* item : items_) {
    item->showVerdict();
  }
  tell();
}

void PlayersView::onTickFailed() {
  for (PlayerItem* item : items_) {
    item->player()->setSelected(Number(item->hasFailed() ? 1 : 0));
    item->refresh();
  }
  emit selectionChanged();
}

void PlayersView::tell() {
  tickFailed_->setVisible(std::any_of(items_.begin(), items_.end(),
                                      [](const PlayerItem* item) { return item->hasFailed(); }));
  emit counted(static_cast<int>(std::count_if(
                   items_.begin(), items_.end(),
                   [](const PlayerItem* item) { return item->player()->selected().isTrue(); })),
               static_cast<int>(items_.size()));
}

}  // namespace fillstation
