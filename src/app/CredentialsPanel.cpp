#include "CredentialsPanel.h"

#include "ui_CredentialsPanel.h"

namespace fillstation {

CredentialsPanel::CredentialsPanel(QWidget* parent)
    : QDialog(parent), ui_(std::make_unique<Ui::CredentialsPanel>()) {
  ui_->setupUi(this);
  connect(ui_->btnPassCancel, &QPushButton::clicked, this, &CredentialsPanel::reject);
}

CredentialsPanel::~CredentialsPanel() = default;

}  // namespace fillstation
