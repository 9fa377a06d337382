#pragma once

#include <QAction>
#include <QComboBox>
#include <QDialog>
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
// when its context menu was last opened, -1 for none. Main thread.
extern std::shared_ptr<FileTable> fileView;
extern long clickedRow;

// The web address that the link button opens; the build sets it.
extern const char kHomePage[];

// The value of a controller's property: null if it was held weakly and no longer exists.
template <class Value>
std::shared_ptr<Value> heldBy(const std::weak_ptr<Value>& stored) {
  return stored.lock();
}
template <class Value>
Value* heldBy(const QPointer<Value>& stored) {
  return stored.data();
}
template <class Value>
Value heldBy(const Value& stored) {
  return stored;
}

// A property of the controller and its setter.
#define FILLSTATION_PROPERTY(Stored, name, Name)                  \
 public:                                                          \
  auto name() const { return heldBy(name##_.get()); }             \
  void set##Name(Stored value) { name##_.set(std::move(value)); } \
                                                                  \
 private:                                                         \
  Atomic<Stored> name##_;

// The controller of the main window: turns device records into players, carries out the operator's
// commands, keeps the capacity labels up to date and drives a run. Main thread, but any thread may
// read and set the properties. Always held by std::shared_ptr (a run in progress holds it). Owns
// none of the window's objects, which live as long as the operator can click on them.
class TRAppDelegate : public QObject, public std::enable_shared_from_this<TRAppDelegate> {
  Q_OBJECT

 public:
  // Styles a few controls and registers for USB events, which reports the plugged-in players.
  // Called once, from the main loop, when the window is shown.
  void applicationDidFinishLaunching();

  // Adds or removes the player of the record, which is only read during the call.
  void updateUsbInfo(UsbDeviceInfo* record);

  // Gives each listed player whose medium has changed the size of the new medium. Does nothing
  // between Start and the summary, after which it is called again.
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
  // Adds chosen or dropped files and folders.
  void addRoots(const std::vector<Url>& urls);
  // Removes the selected rows; for the keyboard.
  void removeSelectedRows();

  // Computes the capacity and writes both capacity labels.
  void updateFilesSize();

  // The run: Start asks for credentials, OK starts, the collection reports.
  void btnStartClick(QObject* sender);
  void btnPassOk(QObject* sender);
  void btnPassCancel(QObject* sender);
  void updateProgress(const std::shared_ptr<TRFileCopyTaskCollection>& collection);
  void onCopyResult(const std::shared_ptr<TRFileCopyTaskCollection>& collection);

  // Switches the working controls; everything else stays usable during a run.
  void enableView(bool enabled);
  // Enables or disables all controls inside the view, children before their parents, but not the
  // view itself.
  void drillSubViews(QWidget* view, bool enabled);

  // Opens the home page in the default browser.
  void tirellLinkClicked(QObject* sender);

  // A run begins with these tasks; it has ended, and the summary is shown next; the run, or the
  // panel before it, is over.
 signals:
  void runBegan(const fillstation::TRFileCopyTaskList& tasks);
  void runEnded(const QString& summary, bool isBad);
  // The players are being ejected.
  void ejected(const std::vector<std::shared_ptr<fillstation::TRPlayer>>& players);
  // The list or its ticks may have changed.
  void setChanged();

 public:
  // How files are chosen.
  void setOpenPanel(OpenPanelFunction openPanel) { openPanel_ = std::move(openPanel); }

  // Holds the player list.
  FILLSTATION_PROPERTY(std::weak_ptr<ArrayController<TRPlayer>>, playerController, PlayerController)
  // Every root that was ever added; a path in it can't be chosen again.
  FILLSTATION_PROPERTY(std::weak_ptr<ArrayController<TRFile>>, filesController, FilesController)
  // Combined progress of a run.
  FILLSTATION_PROPERTY(QPointer<QProgressBar>, pbProgressBar, PbProgressBar)
  FILLSTATION_PROPERTY(QDialog*, wndPasswordDialog, WndPasswordDialog)
  FILLSTATION_PROPERTY(QPointer<QLineEdit>, passwordField, PasswordField)
  FILLSTATION_PROPERTY(QPointer<QLineEdit>, userNameField, UserNameField)
  // Around the player view.
  FILLSTATION_PROPERTY(QPointer<QScrollArea>, deviceScrollbar, DeviceScrollbar)
  FILLSTATION_PROPERTY(QMainWindow*, window, Window)
  // Its text is the file type, a bare extension.
  FILLSTATION_PROPERTY(QPointer<QComboBox>, cmbFileType, CmbFileType)
  // The size of the ticked player that updateFilesSize() found, as the same box; -1 without a
  // ticked player, 0 without any.
  FILLSTATION_PROPERTY(Number, minPlayerSize, MinPlayerSize)
  FILLSTATION_PROPERTY(QPointer<QLabel>, lblFreeDiskSpaceLeft, LblFreeDiskSpaceLeft)
  FILLSTATION_PROPERTY(QPointer<QLabel>, lblMaxCapSize, LblMaxCapSize)
  // The file list.
  FILLSTATION_PROPERTY(std::weak_ptr<TRSongsTVC>, songsTVC, SongsTVC)
  // An outlet that nothing reads; not the module-wide one.
  FILLSTATION_PROPERTY(QPointer<QWidget>, fileView, FileView)
  FILLSTATION_PROPERTY(QPointer<LinkButton>, tirellLinkBtn, TirellLinkBtn)
  FILLSTATION_PROPERTY(QPointer<QGroupBox>, playersSelectionBox, PlayersSelectionBox)
  FILLSTATION_PROPERTY(QPointer<FileTable>, lstFiles, LstFiles)
  FILLSTATION_PROPERTY(QPointer<QPushButton>, btnBrowse, BtnBrowse)
  FILLSTATION_PROPERTY(QPointer<QPushButton>, btnStart, BtnStart)
  FILLSTATION_PROPERTY(QPointer<PlayersView>, viewPlayers, ViewPlayers)
  FILLSTATION_PROPERTY(QPointer<QPushButton>, btnAll, BtnAll)
  FILLSTATION_PROPERTY(QPointer<BusyIndicator>, pbCircle, PbCircle)
  FILLSTATION_PROPERTY(QPointer<QPushButton>, btnNone, BtnNone)
  FILLSTATION_PROPERTY(QPointer<QPushButton>, btnEject, BtnEject)
  FILLSTATION_PROPERTY(QPointer<QMenu>, songsTVCContextMenu, SongsTVCContextMenu)
  FILLSTATION_PROPERTY(QPointer<QAction>, fileMenuDelete, FileMenuDelete)
  FILLSTATION_PROPERTY(QPointer<QAction>, fileMenuDeleteSelected, FileMenuDeleteSelected)
  FILLSTATION_PROPERTY(QPointer<QAction>, fileMenuDeleteAll, FileMenuDeleteAll)

 private:
  void addRoot(const Url& url);
  void selectAll(int selected);
  void startRun(const ArrayController<TRPlayer>::List& players,
                const std::shared_ptr<TRFileList>& files, const std::string& userName,
                const std::string& userPass);
  void giveFocusBack();

  OpenPanelFunction openPanel_;
  std::shared_ptr<void> awake_;    // while a run lasts
  QPointer<QWidget> focusBefore_;  // where the keyboard was when Start was pressed
};

// Passes a device record to the receiver, a TRAppDelegate; returns when it has been handled.
void updateUsbInfoCallBack(void* receiver, UsbDeviceInfo* record);

}  // namespace fillstation
