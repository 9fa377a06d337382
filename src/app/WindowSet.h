#pragma once

#include <memory>

#include "ArrayController.h"
#include "CredentialsPanel.h"
#include "MainWindow.h"
#include "TRAppDelegate.h"

namespace fillstation {

// The main window, the credentials panel, the lists behind them and the controller, connected with
// one another. Made when the platform is installed; nothing is shown yet. Main thread; one at a
// time. Destroyed only when somebody ends the main loop, after the workers.
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

  std::unique_ptr<MainWindow> window_;
  CredentialsPanel* panel_;  // belongs to the window
  QMenu* menu_ = nullptr;    // belongs to the table
  std::shared_ptr<ArrayController<TRPlayer>> players_;
  std::shared_ptr<ArrayController<TRFile>> roots_;
  std::shared_ptr<TRSongsTVC> songs_;
  std::shared_ptr<TRAppDelegate> delegate_;
};

}  // namespace fillstation
