#include "Operator.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QLineEdit>
#include <QPainter>
#include <QTest>
#include <QTimer>

#include "Alert.h"
#include "OpenPanel.h"
#include "PlayerItem.h"
#include "ui_CredentialsPanel.h"
#include "ui_MainWindow.h"

namespace fillstation::demo {
namespace {

constexpr int kPatienceMs = 120'000;
constexpr int kVisiblePauseMs = 700;

template <class Dialog>
Dialog* openDialog() {
  for (QWidget* widget : QApplication::topLevelWidgets()) {
    auto* const dialog = qobject_cast<Dialog*>(widget);
    if (dialog != nullptr && dialog->isVisible()) {
      return dialog;
    }
  }
  return nullptr;
}

// A dialog has a loop of its own, inside which nothing else goes on, so a person's part in it is
// done from a timer: the action runs once, as soon as such a dialog is open.
template <class Dialog>
class WhenOpen {
 public:
  explicit WhenOpen(const std::function<void(Dialog&)>& action) {
    QObject::connect(&look_, &QTimer::timeout, [this, action] {
      if (auto* const dialog = openDialog<Dialog>()) {
        look_.stop();
        action(*dialog);
      }
    });
    look_.start(50);
  }

 private:
  QTimer look_;
};

}  // namespace

Operator::Operator(WindowSet& windows, bool visible, QString pictureFolder)
    : windows_(windows), visible_(visible), pictureFolder_(std::move(pictureFolder)) {}

void Operator::seePlayers(std::size_t count) {
  waitFor([&] { return windows_.players()->listed().size() == count; }, "the players in the list");
  pause();
}

void Operator::addFolder(const QString& folder) {
  // The dialog empties its field when it has read its first folder, and the first Return may only
  // close the list of completions: a person looks, and types again.
  QTimer enter;
  QObject::connect(&enter, &QTimer::timeout, [&] {
    if (auto* const panel = openDialog<OpenPanel>()) {
      auto* const field = panel->findChild<QLineEdit*>("fileNameEdit");
      if (field->text() != folder) {
        type(field, folder);
      }
      QTest::keyClick(field, Qt::Key_Return);
    }
  });
  enter.start(visible_ ? kVisiblePauseMs : 200);
  const std::size_t before = windows_.songs()->list()->size();
  click(windows_.window().ui().btnBrowse);
  waitFor([&] { return windows_.songs()->list()->size() == before + 1; },
          "the folder in the table");
}

void Operator::tickAll() { click(windows_.window().ui().btnAll); }

void Operator::tickOnly(const QStringList& nodes) {
  click(windows_.window().ui().btnNone);
  for (const auto* item : windows_.window().ui().viewPlayers->items()) {
    if (nodes.contains(QString::fromStdString(item->player()->diskName().value_or("")))) {
      click(item->tick());
    }
  }
}

void Operator::ejectTicked() { click(windows_.window().ui().btnEject); }

void Operator::start() {
  click(windows_.window().ui().btnStart);
  const auto& panel = windows_.panel().ui();
  waitFor([&] { return windows_.panel().isVisible(); }, "the credentials panel");
  type(panel.userNameField, QStringLiteral("bench"));
  type(panel.passwordField, QStringLiteral("bench"));
  takePicture("2-credentials", &windows_.panel());
  click(panel.btnPassOk);
}

void Operator::seeProgress(int percent) {
  waitFor([&] { return windows_.window().ui().pbProgressBar->value() >= percent; }, "progress");
}

QString Operator::readSummary() {
  QString text;
  const WhenOpen<Alert> read([&](Alert& summary) {
    text = summary.text();
    pause();
    takePicture("4-summary", &summary);
    click(summary.button(QMessageBox::Ok));
  });
  waitFor([&] { return !text.isEmpty() && windows_.window().ui().btnStart->isEnabled(); },
          "the summary");
  return text;
}

void Operator::takePicture(const QString& name, QWidget* dialog) const {
  QCoreApplication::processEvents();
  QPixmap picture = windows_.window().grab();
  if (dialog != nullptr) {
    const QPixmap front = dialog->grab();
    const QRect whole(QPoint(), picture.deviceIndependentSize().toSize());
    QRect place(QPoint(), front.deviceIndependentSize().toSize());
    place.moveCenter(whole.center());
    QPainter painter(&picture);
    painter.fillRect(whole, QColor(0, 0, 0, 60));
    painter.drawPixmap(place.topLeft(), front);
    painter.setPen(Qt::gray);
    painter.drawRect(place.adjusted(0, 0, -1, -1));
  }
  QDir().mkpath(pictureFolder_);
  picture.save(QDir(pictureFolder_).filePath(name + ".png"));
}

void Operator::waitFor(const std::function<bool()>& seen, const char* what) const {
  if (!QTest::qWaitFor(seen, kPatienceMs)) {
    throw NotSeen(std::string("waited in vain for ") + what);
  }
}

void Operator::click(QAbstractButton* button) const {
  if (!button->isEnabled() || !button->isVisible()) {
    throw NotSeen("a button that can't be clicked: " + button->text().toStdString());
  }
  // Where a tick box shows its tick, a button its text.
  const QPoint place(std::min(8, button->width() / 2), button->height() / 2);
  QTest::mouseClick(button, Qt::LeftButton, {}, place);
  pause();
}

void Operator::type(QLineEdit* field, const QString& text) const {
  QTest::mouseClick(field, Qt::LeftButton);
  field->selectAll();
  QTest::keyClicks(field, text, Qt::NoModifier, visible_ ? 30 : -1);
}

void Operator::pause() const {
  if (visible_) {
    QTest::qWait(kVisiblePauseMs);
  }
}

}  // namespace fillstation::demo
