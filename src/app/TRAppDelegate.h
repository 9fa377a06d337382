#pragma once

#include <QAction>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QObject>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollArea>
#include <memory>

#include "ArrayController.h"
#include "Atomic.h"
#include "BusyIndicator.h"
#include "CredentialsPanel.h"
#include "FileTable.h"
#include "LinkButton.h"
#include "Number.h"
#include "OpenPanel.h"
#include "PlayersView.h"
#include "TRFile.h"
#include "TRFileCopyTaskCollection.h"
#include "TRPlayer.h"
#include "TRSongsTVC.h"
#include "UsbUtil.h"

namespace fillstation {

// The file table, set when the registration for USB events has returned; the row that was clicked
// when its context menu was opened last, -1 for none. Main thread.
extern std::shared_ptr<FileTable> fileView;
extern long clickedRow;

// The controller of the main window: turns device records into players, carries out the operator's
// commands, keeps the capacity labels and drives a run. Main thread, but every property may be read
// and set on any thread. Always held by std::shared_ptr (a run in progress holds it); owns none of
// the window's objects, which live at least as long as the operator can click on them.
class TRAppDelegate : public QObject, public std::enable_shared_from_this<TRAppDelegate> {
  Q_OBJECT

 public:
  TRAppDelegate() = default;

  // Styles a few controls and registers for USB events, which reports the players that are plugged
  // in already. Once, from inside the main loop, when the window is shown.
  void applicationDidFinishLaunching();

  // Adds or removes the player of the record, which is only read during the call.
  void updateUsbInfo(UsbDeviceInfo* record);

  // Gives every listed player whose medium has changed the new one's size. Does nothing from Start
  // until the controls are back, and is called again then.
  void takeMedia();

  // Commands on the player list. The sender is ignored, here and below.
  void driveSelectionChanged(QObject* sender);
  void selectAllClicked(QObject* sender);
  void selectNoneClicked(QObject* sender);
  void ejectSelectedPlayers(QObject* sender);

  // Commands on the file list. menuNeedsUpdate() is for any menu that is about to open.
  void btnBrowseFileClicked(QObject* sender);
  void menuNeedsUpdate(QMenu* menu);
  void menuFileDeleteCurrent(QObject* sender);
  void menuFileDeleteSelection(QObject* sender);
  void menuFileDeleteAll(QObject* sender);
  // Adds what was chosen, or dropped on the file table.
  void addRoots(const std::vector<Url>& urls);
  // Removes the rows that are selected, as the keyboard asks.
  void removeSelectedRows();

  // Finds the capacity anew and writes both capacity labels.
  void updateFilesSize();

  // The run: Start asks for credentials, OK starts, the collection reports.
  void btnStartClick(QObject* sender);
  void btnPassOk(QObject* sender);
  void btnPassCancel(QObject* sender);
  void updateProgress(const std::shared_ptr<TRFileCopyTaskCollection>& collection);
  void onCopyResult(const std::shared_ptr<TRFileCopyTaskCollection>& collection);

  // Switches the working controls; everything else stays usable during a run.
  void enableView(bool enabled);
  // Switches what lies inside the view, children before their parent, not the view itself.
  void drillSubViews(QWidget* view, bool enabled);

  // Opens the home page in the default browser.
  void tirellLinkClicked(QObject* sender);

  // How files are chosen.
  void setOpenPanel(OpenPanelFunction openPanel) { openPanel_ = std::move(openPanel); }

  // Holds the player list.
  std::shared_ptr<ArrayController<TRPlayer>> playerController() const;
  void setPlayerController(const std::shared_ptr<ArrayController<TRPlayer>>& value) {
    playerController_.set(value);
  }
  // Every root that was ever added; a path in it is refused when it is chosen again.
  std::shared_ptr<ArrayController<TRFile>> filesController() const;
  void setFilesController(const std::shared_ptr<ArrayController<TRFile>>& value) {
    filesController_.set(value);
  }
  // Combined progress of a run.
  QProgressBar* pbProgressBar() const { return pbProgressBar_.get(); }
  void setPbProgressBar(QProgressBar* value) { pbProgressBar_.set(value); }
  CredentialsPanel* wndPasswordDialog() const { return wndPasswordDialog_.get(); }
  void setWndPasswordDialog(CredentialsPanel* value) { wndPasswordDialog_.set(value); }
  QLineEdit* passwordField() const { return passwordField_.get(); }
  void setPasswordField(QLineEdit* value) { passwordField_.set(value); }
  QLineEdit* userNameField() const { return userNameField_.get(); }
  void setUserNameField(QLineEdit* value) { userNameField_.set(value); }
  // Around the player view.
  QScrollArea* deviceScrollbar() const { return deviceScrollbar_.get(); }
  void setDeviceScrollbar(QScrollArea* value) { deviceScrollbar_.set(value); }
  QMainWindow* window() const { return window_.get(); }
  void setWindow(QMainWindow* value) { window_.set(value); }
  // Its text is the file type, a bare extension.
  QComboBox* cmbFileType() const { return cmbFileType_.get(); }
  void setCmbFileType(QComboBox* value) { cmbFileType_.set(value); }
  // The size of the ticked player that updateFilesSize() kept, the very box; -1 without a
  // ticked player, 0 without any.
  Number minPlayerSize() const { return minPlayerSize_.get(); }
  void setMinPlayerSize(Number value) { minPlayerSize_.set(std::move(value)); }
  QLabel* lblFreeDiskSpaceLeft() const { return lblFreeDiskSpaceLeft_.get(); }
  void setLblFreeDiskSpaceLeft(QLabel* value) { lblFreeDiskSpaceLeft_.set(value); }
  QLabel* lblMaxCapSize() const { return lblMaxCapSize_.get(); }
  void setLblMaxCapSize(QLabel* value) { lblMaxCapSize_.set(value); }
  // The file list.
  std::shared_ptr<TRSongsTVC> songsTVC() const;
  void setSongsTVC(const std::shared_ptr<TRSongsTVC>& value) { songsTVC_.set(value); }
  // An outlet that nothing reads; not the module-wide one.
  QWidget* fileView() const { return fileView_.get(); }
  void setFileView(QWidget* value) { fileView_.set(value); }
  LinkButton* tirellLinkBtn() const { return tirellLinkBtn_.get(); }
  void setTirellLinkBtn(LinkButton* value) { tirellLinkBtn_.set(value); }
  QGroupBox* playersSelectionBox() const { return playersSelectionBox_.get(); }
  void setPlayersSelectionBox(QGroupBox* value) { playersSelectionBox_.set(value); }
  FileTable* lstFiles() const { return lstFiles_.get(); }
  void setLstFiles(FileTable* value) { lstFiles_.set(value); }
  QPushButton* btnBrowse() const { return btnBrowse_.get(); }
  void setBtnBrowse(QPushButton* value) { btnBrowse_.set(value); }
  QPushButton* btnStart() const { return btnStart_.get(); }
  void setBtnStart(QPushButton* value) { btnStart_.set(value); }
  PlayersView* viewPlayers() const { return viewPlayers_.get(); }
  void setViewPlayers(PlayersView* value) { viewPlayers_.set(value); }
  QPushButton* btnAll() const { return btnAll_.get(); }
  void setBtnAll(QPushButton* value) { btnAll_.set(value); }
  BusyIndicator* pbCircle() const { return pbCircle_.get(); }
  void setPbCircle(BusyIndicator* value) { pbCircle_.set(value); }
  QPushButton* btnNone() const { return btnNone_.get(); }
  void setBtnNone(QPushButton* value) { btnNone_.set(value); }
  QPushButton* btnEject() const { return btnEject_.get(); }
  void setBtnEject(QPushButton* value) { btnEject_.set(value); }
  QMenu* songsTVCContextMenu() const { return songsTVCContextMenu_.get(); }
  void setSongsTVCContextMenu(QMenu* value) { songsTVCContextMenu_.set(value); }
  QAction* fileMenuDelete() const { return fileMenuDelete_.get(); }
  void setFileMenuDelete(QAction* value) { fileMenuDelete_.set(value); }
  QAction* fileMenuDeleteSelected() const { return fileMenuDeleteSelected_.get(); }
  void setFileMenuDeleteSelected(QAction* value) { fileMenuDeleteSelected_.set(value); }
  QAction* fileMenuDeleteAll() const { return fileMenuDeleteAll_.get(); }
  void setFileMenuDeleteAll(QAction* value) { fileMenuDeleteAll_.set(value); }

 private:
  void addRoot(const Url& url);
  void selectAll(int selected);
  void startRun(const ArrayController<TRPlayer>::List& players,
                const std::shared_ptr<TRFileList>& files, const std::string& userName,
                const std::string& userPass);
  void giveFocusBack();

  Atomic<std::weak_ptr<ArrayController<TRPlayer>>> playerController_;
  Atomic<std::weak_ptr<ArrayController<TRFile>>> filesController_;
  Atomic<QPointer<QProgressBar>> pbProgressBar_;
  Atomic<CredentialsPanel*> wndPasswordDialog_{nullptr};
  Atomic<QPointer<QLineEdit>> passwordField_;
  Atomic<QPointer<QLineEdit>> userNameField_;
  Atomic<QPointer<QScrollArea>> deviceScrollbar_;
  Atomic<QMainWindow*> window_{nullptr};
  Atomic<QPointer<QComboBox>> cmbFileType_;
  Atomic<Number> minPlayerSize_;
  Atomic<QPointer<QLabel>> lblFreeDiskSpaceLeft_;
  Atomic<QPointer<QLabel>> lblMaxCapSize_;
  Atomic<std::weak_ptr<TRSongsTVC>> songsTVC_;
  Atomic<QPointer<QWidget>> fileView_;
  Atomic<QPointer<LinkButton>> tirellLinkBtn_;
  Atomic<QPointer<QGroupBox>> playersSelectionBox_;
  Atomic<QPointer<FileTable>> lstFiles_;
  Atomic<QPointer<QPushButton>> btnBrowse_;
  Atomic<QPointer<QPushButton>> btnStart_;
  Atomic<QPointer<PlayersView>> viewPlayers_;
  Atomic<QPointer<QPushButton>> btnAll_;
  Atomic<QPointer<BusyIndicator>> pbCircle_;
  Atomic<QPointer<QPushButton>> btnNone_;
  Atomic<QPointer<QPushButton>> btnEject_;
  Atomic<QPointer<QMenu>> songsTVCContextMenu_;
  Atomic<QPointer<QAction>> fileMenuDelete_;
  Atomic<QPointer<QAction>> fileMenuDeleteSelected_;
  Atomic<QPointer<QAction>> fileMenuDeleteAll_;
  OpenPanelFunction openPanel_;
  std::shared_ptr<void> awake_;    // while a run lasts
  QPointer<QWidget> focusBefore_;  // where the keyboard was when Start was pressed
};

// Hands a device record to the receiver, a TRAppDelegate, and returns when it has been dealt with.
void updateUsbInfoCallBack(void* receiver, UsbDeviceInfo* record);

}  // namespace fillstation
