#pragma once

#include <QDialog>
#include <memory>

namespace Ui {
class CredentialsPanel;
}

namespace fillstation {

// The window that asks for the administrator's name and password. Not modal. Escape and its close
// button mean Cancel; it is hidden by whoever hears cancelled(). Main thread; belongs to the main
// window.
class CredentialsPanel : public QDialog {
  Q_OBJECT

 public:
  explicit CredentialsPanel(QWidget* parent);
  ~CredentialsPanel() override;

  const Ui::CredentialsPanel& ui() const { return *ui_; }

  void reject() override { emit cancelled(); }

 signals:
  void cancelled();

 private:
  std::unique_ptr<Ui::CredentialsPanel> ui_;
};

}  // namespace fillstation
