#pragma once

#include <QFileDialog>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Url.h"

namespace fillstation {

// What the operator chose: the addresses, or none when the choice was cancelled. The argument is
// the file type that files are restricted to.
using OpenPanelFunction =
    std::function<std::optional<std::vector<Url>>(const std::string& fileType)>;

// A dialog that chooses one file or one folder: the "Open" button takes a folder that is selected,
// a double click enters it; then the button takes that one, whose path stands in the name field.
// Files of another type than the given one are not offered. Reads and writes no settings. Main
// thread.
class OpenPanel : public QFileDialog {
  Q_OBJECT

 public:
  OpenPanel(QWidget* parent, const std::string& fileType, const QString& folder);

  // The choice, empty until the dialog was accepted.
  const QString& chosenPath() const { return chosenPath_; }

  // A function that runs the dialog over the parent. It begins in the person's music folder and
  // from then on where the last choice was made.
  static OpenPanelFunction runner(QWidget* parent);

  // Takes the dialogs' settings of Qt out of the person's home: the program leaves it as it found
  // it. Before the first dialog is made.
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
