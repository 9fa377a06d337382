#pragma once

#include <QFileDialog>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Url.h"

namespace fillstation {

// The operator's choice: the addresses, none if it was cancelled. The argument is the file type
// that is offered.
using OpenPanelFunction =
    std::function<std::optional<std::vector<Url>>(const std::string& fileType)>;

// A dialog that chooses one file or one folder. "Open" takes the selected folder. A double click
// enters a folder; then "Open" takes that one, and the name field shows its path. Only files of the
// given type are offered. Reads and writes no settings. Main thread.
class OpenPanel : public QFileDialog {
  Q_OBJECT

 public:
  OpenPanel(QWidget* parent, const std::string& fileType, const QString& folder);

  // The choice, empty until the dialog was accepted.
  const QString& chosenPath() const { return chosenPath_; }

  // A function that runs the dialog over the parent. It begins in the user's music folder, and
  // later where the last choice was made.
  static OpenPanelFunction runner(QWidget* parent);

  // Keeps Qt from storing the dialogs' settings in the user's home. Call it before the first dialog
  // is made.
  static void keepSettingsAway();

 protected:
  void accept() override;

 private:
  void showSelectedName();
  QString typedPath() const;
  bool canChoose(const QString& path) const;

  std::string fileType_;
  QString chosenPath_;
};

}  // namespace fillstation
