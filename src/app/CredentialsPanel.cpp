#include "CredentialsPanel.h"

#include <QEvent>
#include <QShowEvent>

#include "ui_CredentialsPanel.h"

namespace fillstation {

CredentialsPanel::CredentialsPanel(QWidget* parent)
    : QDialog(parent), ui_(std::make_unique<Ui::CredentialsPanel>()) {
  ui_->setupUi(this);
  connect(ui_->btnPassCancel, &QPushButton::clicked, this, &CredentialsPanel::reject);
  parent->installEventFilter(this);
}

CredentialsPanel::~CredentialsPanel() = default;

bool CredentialsPanel::eventFilter(QObject* /*receiver*/, QEvent* event) {
  if (event->type() == QEvent::WindowActivate && !isHidden()) {
    activateWindow();
  }
  return false;
}

void CredentialsPanel::showEvent(QShowEvent* event) {
  QDialog::showEvent(event);
  if (event->spontaneous()) {
    return;  // back from the task bar, as it was left
  }
  QRect place = geometry();
  place.moveCenter(parentWidget()->geometry().center());
  setGeometry(place);
  QLineEdit* field = ui_->userNameField->text().isEmpty() ? ui_->userNameField : ui_->passwordField;
  field->setFocus();
  field->selectAll();
}

}  // namespace fillstation
