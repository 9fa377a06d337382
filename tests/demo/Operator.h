#pragma once

#include <QString>
#include <QStringList>
#include <functional>
#include <stdexcept>

#include "WindowSet.h"

class QLineEdit;
class QPushButton;

namespace fillstation::demo {

// Thrown when the window doesn't do within two minutes what a person would wait for.
struct NotSeen : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Does what a person does at the window: clicks, types, looks, waits. Main thread.
class Operator {
 public:
  // Slow enough to be watched when `visible`; pictures go to a folder.
  Operator(WindowSet& windows, bool visible, QString pictureFolder);

  // Waits until so many players are listed.
  void seePlayers(std::size_t count);
  // Browses for a folder by typing its path into the dialog.
  void addFolder(const QString& folder);
  void tickAll();
  // Unticks everybody, then ticks the players with these device nodes.
  void tickOnly(const QStringList& nodes);
  void ejectTicked();
  // Start, the credentials, OK; the run is under way afterwards.
  void start();
  // Waits for the progress bar, then for the summary; dismisses it and returns its text.
  void seeProgress(int percent);
  QString readSummary();

  // Takes a picture of the window as it is, with a dialog that is open in front of it.
  void takePicture(const QString& name, QWidget* dialog = nullptr) const;

 private:
  void waitFor(const std::function<bool()>& seen, const char* what) const;
  void click(QAbstractButton* button) const;
  void type(QLineEdit* field, const QString& text) const;
  void pause() const;

  WindowSet& windows_;
  bool visible_;
  QString pictureFolder_;
};

}  // namespace fillstation::demo
