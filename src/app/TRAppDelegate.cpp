#include "TRAppDelegate.h"

#include <QColor>

#include "Platform.h"
#include "UsbUtil.h"

namespace fillstation {

std::shared_ptr<FileTable> fileView;
long clickedRow = -1;

void updateUsbInfoCallBack(void* receiver, UsbDeviceInfo* record) {
  static_cast<TRAppDelegate*>(receiver)->updateUsbInfo(record);
}

std::shared_ptr<ArrayController<TRPlayer>> TRAppDelegate::playerController() const {
  return playerController_.get().lock();
}

std::shared_ptr<ArrayController<TRFile>> TRAppDelegate::filesController() const {
  return filesController_.get().lock();
}

std::shared_ptr<TRSongsTVC> TRAppDelegate::songsTVC() const { return songsTVC_.get().lock(); }

void TRAppDelegate::applicationDidFinishLaunching() {
  pbCircle()->setDisplayedWhenStopped(false);
  deviceScrollbar()->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);

  TRAttributedString title = tirellLinkBtn()->attributedTitle();
  title.addAttribute(TRAttributedString::kForegroundColor, QColor(Qt::blue), 0, title.length());
  title.addAttribute(TRAttributedString::kUnderlineStyle, TRAttributedString::kUnderlineSingle, 0,
                     title.length());
  tirellLinkBtn()->setAttributedTitle(title);
  tirellLinkBtn()->setEnabled(true);

  cmbFileType()->setCurrentIndex(0);
  registerForUSBNotifications(this, updateUsbInfoCallBack);
  platform().usbBus->watchMedia([this] { takeMedia(); });
  ::fillstation::fileView = std::dynamic_pointer_cast<FileTable>(songsTVC()->tblView());
}

}  // namespace fillstation
