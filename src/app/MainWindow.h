#pragma once

#include <QMainWindow>
#include <memory>

namespace Ui {
class MainWindow;
}

namespace fillstation {

// The main window. Closing it ends the program, at any time and without a question. Main thread.
class MainWindow : public QMainWindow {
  Q_OBJECT

 public:
  MainWindow();
  ~MainWindow() override;

  const Ui::MainWindow& ui() const { return *ui_; }

  // Asks the desktop to show the window above the others, back from the task bar if it is there,
  // and to give the keyboard to it, or to the dialog that it shows.
  void comeToFront();

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  std::unique_ptr<Ui::MainWindow> ui_;
};

}  // namespace fillstation
