#pragma once

#include <QDialog>
#include <memory>

namespace Ui {
class CredentialsPanel;
}

namespace fillstation {

// The window that asks for the administrator's name and password. Not modal, but while
// it is up the keyboard comes back to it whenever the main window, its parent, is brought to the
// front; clicks in that window work. It opens over the middle of the window, in the first field
// that is to be filled in. Escape and its close button mean Cancel; it is hidden by whoever hears
// cancelled(). Main thread; belongs to the main window.
class CredentialsPanel : public QDialog {
  Q_OBJECT

 public:
  explicit CredentialsPanel(QWidget* parent);
  ~CredentialsPanel() override;

  const Ui::CredentialsPanel& ui() const { return *ui_; }

  void reject() override { emit cancelled(); }

  bool eventFilter(QObject* receiver, QEvent* event) override;

 signals:
  void cancelled();

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  std::unique_ptr<Ui::CredentialsPanel> ui_;
};

}  // namespace fillstation
