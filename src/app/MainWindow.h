#pragma once

#include <QMainWindow>
#include <QTimer>
#include <chrono>
#include <memory>
#include <vector>

#include "TRPlayer.h"

namespace Ui {
class MainWindow;
}  // namespace Ui

namespace fillstation {

// The main window. Closing it ends the program, without a question; during a run only the second
// close within five seconds does. It also shows a run in its title, in the task bar, and by a
// notification if the user works in another window. Main thread.
class MainWindow : public QMainWindow {
  Q_OBJECT

 public:
  MainWindow();
  ~MainWindow() override;

  const Ui::MainWindow& ui() const { return *ui_; }

  // Asks the desktop to show the window in front, even if it is minimised, and to give the keyboard
  // to it or to its dialog.
  void comeToFront();

  // A run with this number of players has begun; it has ended, with this summary.
  void beginRun(int players);
  void endRun(const QString& summary, bool isBad);

  // Shows below the list how many of these players are ejected.
  void showEject(const std::vector<std::shared_ptr<TRPlayer>>& players);

  // Shows how many players are ticked.
  void showCount(int ticked, int all);

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  void showProgress();
  void showEjected();

  std::unique_ptr<Ui::MainWindow> ui_;
  QString usualTitle_;
  int running_ = -1;  // players of the run; -1 for none
  std::chrono::steady_clock::time_point begun_;
  QTimer secondClose_;  // active while it would end the program
  QTimer ejectLook_;
  std::vector<std::shared_ptr<TRPlayer>> ejected_;
};

}  // namespace fillstation
