#pragma once

#include <QAction>
#include <QCheckBox>
#include <QLabel>
#include <QList>
#include <QProgressBar>
#include <QTimer>
#include <QWidget>
#include <functional>
#include <memory>

#include "ArrayController.h"
#include "TRFileCopyTaskCollection.h"
#include "TRPlayer.h"
#include "UsbBus.h"

class QVBoxLayout;

namespace fillstation {

// A label with one line of plain text, which is cut in the middle if there is not enough space; the
// tool tip has the whole text. Main thread; belongs to its window.
class ElidedLabel : public QLabel {
  Q_OBJECT

 public:
  explicit ElidedLabel(QWidget* parent = nullptr);

  void setWholeText(const QString& text);

  // As much of the text as is painted.
  QString shownText() const;

  // Where it is painted: behind the indent, which is at the right in a mirrored window.
  QRect textRect() const;

  QSize minimumSizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
};

// A tick box with such a text. Main thread; belongs to its window.
class ElidedTick : public QCheckBox {
  Q_OBJECT

 public:
  explicit ElidedTick(QWidget* parent = nullptr);

  QString wholeText() const { return wholeText_; }
  void setWholeText(const QString& text);

  // As much of the text as is painted.
  QString shownText() const;

  // Pixels from the edge with the tick to where the text begins.
  int textIndent() const;

  QSize minimumSizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QString wholeText_;
};

// One player in the player view: a tick box with its name, and a second line with the facts that
// help to find the device (node, USB port, size) and with the progress or result of its task. A
// click on either line ticks it. Main thread; belongs to the player view, holds its player.
class PlayerItem : public QWidget {
  Q_OBJECT

 public:
  PlayerItem(std::shared_ptr<TRPlayer> player, QWidget* parent);

  const std::shared_ptr<TRPlayer>& player() const { return player_; }
  ElidedTick* tick() const { return tick_; }

  // Shows the player's name, size and tick as they are now; the rest never changes.
  void refresh();

  // Shows the progress of the task while it is followed; updates only changed parts.
  void follow(std::shared_ptr<TRFileCopyTask> task);
  void showStep();
  // Shows the result of the task and releases it; does nothing without one.
  void showVerdict();
  void clearVerdict();
  bool hasFailed() const { return hasFailed_; }

 signals:
  // The operator ticked or unticked the player; its `selected` is already changed.
  void ticked();

 protected:
  void mousePressEvent(QMouseEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  void onToggled(bool checked);
  void showState(const QString& text);
  void colourState();

  std::shared_ptr<TRPlayer> player_;
  std::shared_ptr<TRFileCopyTask> task_;
  bool hasFailed_ = false;
  // As it was when the player came: a device that is leaving has none any more.
  const UsbPlace place_;
  QString shownName_;
  ElidedTick* tick_;
  ElidedLabel* facts_;
  QProgressBar* bar_;
  QLabel* state_;
};

// The player view: one item per listed player, in list order, or a hint if there is none. Main
// thread; content of the scroll area in the main window.
class PlayersView : public QWidget {
  Q_OBJECT

 public:
  explicit PlayersView(QWidget* parent = nullptr);

  // Shows the controller's list and follows its changes. Each new item asks startsEnabled: an item
  // that is made while the controls are disabled starts disabled.
  void follow(const std::shared_ptr<ArrayController<TRPlayer>>& players,
              std::function<bool()> startsEnabled);

  // In list order.
  const QList<PlayerItem*>& items() const { return items_; }

  // The rows forget the results of earlier tasks and follow these, ten times a second, until they
  // show the results.
  void watch(const TRFileCopyTaskList& tasks);
  void showVerdicts();

  // Ticks the players that have failed, and no others. Invisible while there are none.
  QAction* tickFailed() const { return tickFailed_; }

 signals:
  // The operator ticked or unticked a player, or ticked the failed ones.
  void selectionChanged();
  // How many players are ticked, of how many.
  void counted(int ticked, int all);

 private:
  void showPlayers(const ArrayController<TRPlayer>::List& players);
  PlayerItem* takeItem(QList<PlayerItem*>& from, const std::shared_ptr<TRPlayer>& player);
  void arrange();
  void onTickFailed();
  void tell();

  QTimer steps_;
  QAction* tickFailed_;
  QList<PlayerItem*> items_;
  std::function<bool()> startsEnabled_;
  QVBoxLayout* rows_;
  QLabel* hint_;
};

}  // namespace fillstation
