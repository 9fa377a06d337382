#pragma once

#include <QDialog>
#include <memory>

#include "ArrayController.h"
#include "MainWindow.h"
#include "TRAppDelegate.h"

namespace Ui {
class CredentialsPanel;
}  // namespace Ui

namespace fillstation {

// The panel that asks for the administrator's name and password. Not modal: clicks in the main
// window, its parent, work. But whenever the main window comes to the front, the panel gets the
// keyboard focus. It opens centred over the window, with the focus in the first empty field. Escape
// and its close button mean Cancel; the receiver of cancelled() hides it. Main thread; belongs to
// the main window.
class CredentialsPanel : public QDialog {
  Q_OBJECT

 public:
  explicit CredentialsPanel(QWidget* parent);
  ~CredentialsPanel() override;

  const Ui::CredentialsPanel& ui() const { return *ui_; }

  // Shows what OK will do.
  void showTask(const QString& text);

  void reject() override { emit cancelled(); }

  bool eventFilter(QObject* receiver, QEvent* event) override;

 signals:
  void cancelled();

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  void noticeCapsLock(const QKeyEvent& key);

  std::unique_ptr<Ui::CredentialsPanel> ui_;
};

// The path of the handbook, which F1 opens; the build sets it.
extern const char kHandbook[];

// The main window, the credentials panel, the lists and the controller, connected with each other.
// Made when the platform is installed; nothing is shown yet. Main thread; one at a time. Destroyed
// only if the main loop ends, after the workers.
class WindowSet {
 public:
  WindowSet();
  ~WindowSet();
  WindowSet(const WindowSet&) = delete;
  WindowSet& operator=(const WindowSet&) = delete;

  MainWindow& window() const { return *window_; }
  CredentialsPanel& panel() const { return *panel_; }
  const std::shared_ptr<TRAppDelegate>& delegate() const { return delegate_; }
  const std::shared_ptr<ArrayController<TRPlayer>>& players() const { return players_; }
  const std::shared_ptr<ArrayController<TRFile>>& roots() const { return roots_; }
  const std::shared_ptr<TRSongsTVC>& songs() const { return songs_; }

 private:
  void makeContextMenu();
  void fillFields();
  void connectButtons();
  void connectFiles();
  void connectRun();
  QString taskText() const;

  std::unique_ptr<MainWindow> window_;
  CredentialsPanel* panel_;  // belongs to the window
  QMenu* menu_ = nullptr;    // belongs to the table
  std::shared_ptr<ArrayController<TRPlayer>> players_;
  std::shared_ptr<ArrayController<TRFile>> roots_;
  std::shared_ptr<TRSongsTVC> songs_;
  std::shared_ptr<TRAppDelegate> delegate_;
};

}  // namespace fillstation
