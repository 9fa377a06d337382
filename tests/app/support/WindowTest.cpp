#include "WindowTest.h"

#include <thread>

namespace fillstation::test {
namespace {

constexpr int kLongestWait = 30'000;

}  // namespace

WindowTest::WindowTest() {
  platform().usbBus = &bus;
  platform().fileManager = &files;
  platform().endProgram = [this] {
    ++endings;
    ports.end();
  };
  ports.clock.onSleep = [this](std::size_t) {
    if (ports.mainThread.isHere()) {
      QCoreApplication::processEvents();
    }
  };
  QObject::connect(&pump_, &QTimer::timeout, [this] { pump(); });
  pump_.start(0);
  windows = std::make_unique<WindowSet>();
}

WindowTest::~WindowTest() {
  ports.end();
  ports.workers.join();
  // The process keeps the last run's report targets: leave none that belong to this test.
  std::make_shared<TRFileCopyTaskCollection>(std::make_shared<TRFileList>(), "", "")
      ->startAsyncCopyWithCallBack(nullptr, nullptr, nullptr, nullptr);
  ports.workers.join();
  pump_.stop();
  windows.reset();
  session.reset();
  clickedRow = -1;
}

void WindowTest::pump() {
  // Restarted, so that it also runs in a loop that the next callable begins.
  pump_.start(0);
  if (!ports.mainThread.runNext()) {
    std::this_thread::yield();
  }
}

void WindowTest::launch() {
  showWindow();
  launchQuietly();
}

void WindowTest::showWindow() {
  windows->window().show();
  waitForActive(windows->window());
}

void WindowTest::launchQuietly() {
  const StdCapture out(stdout);
  const StdCapture err(stderr);
  controller().applicationDidFinishLaunching();
}

std::shared_ptr<TestUsbDevice> WindowTest::makeStick(const std::string& disk, std::uint32_t handle,
                                                     const std::string& label, std::int64_t size) {
  auto found = std::make_shared<TestDisk>();
  const std::string mountPath = "file:///media/" + disk + "/";
  found->describe = [=](std::size_t) { return describedAs(label, mountPath, "ACTIONS", size); };
  ports.disks.byName[disk] = found;
  auto device = std::make_shared<TestUsbDevice>();
  device->diskName = disk;
  device->handleValue = handle;
  return device;
}

std::shared_ptr<TestUsbDevice> WindowTest::plugStick(const std::string& disk,
                                                     std::uint32_t handle) {
  auto device = makeStick(disk, handle);
  const StdCapture out(stdout);
  const std::size_t before = listedDisks().size();
  bus.plug(device);
  runUntil([&] { return listedDisks().size() > before; });
  return device;
}

std::shared_ptr<TRPlayer> WindowTest::addPlayer(const std::string& disk, std::int64_t size,
                                                bool ticked) {
  auto player = std::make_shared<TRPlayer>();
  player->setDiskName("/dev/" + disk);
  player->setName("/dev/" + disk + " (SONGS)");
  player->setSize(Number(size));
  player->setSelected(Number(ticked ? 1 : 0));
  player->setIONumber(0x10002);
  windows->players()->addObject(player);
  return player;
}

std::shared_ptr<TRFile> WindowTest::addRoot(const std::string& path, std::int64_t size,
                                            bool isDirectory, int fileCount) {
  auto root = std::make_shared<TRFile>();
  root->setPath(path);
  root->setName(std::string(lastPathComponent(path)));
  root->setSize(Number(size));
  root->setIsDir(isDirectory);
  root->setUrl(Url::fromPath(path, isDirectory), isDirectory);
  root->setDestRelativeUrl(Url::withString("/"));
  if (isDirectory) {
    root->setFiles(std::make_shared<TRFileList>());
  }
  for (int number = 0; number < fileCount; ++number) {
    auto file = std::make_shared<TRFile>();
    const std::string name = std::to_string(fileCount) + '-' + std::to_string(number);
    file->setDestRelativeUrl(Url::withString(name + ".mp3"));
    root->files()->push_back(std::move(file));
  }
  windows->songs()->addTRFile(root);
  return root;
}

void WindowTest::deliver(const char* disk, bool inserted, const char* label, const char* mountPath,
                         std::int64_t size, std::uint32_t handle) {
  UsbDeviceInfo record;
  record.setDiskName(disk);
  record.setVolumeName(label);
  record.setMountPath(mountPath);
  record.setSize(size);
  record.setInserted(inserted);
  record.ioService = handle;
  updateUsbInfoCallBack(&controller(), &record);
}

void WindowTest::runUntil(const std::function<bool()>& done) {
  EXPECT_TRUE(QTest::qWaitFor(done, kLongestWait));
}

void WindowTest::settle() {
  for (int pass = 0; pass < 20; ++pass) {
    QCoreApplication::processEvents();
  }
}

void WindowTest::waitForActive(const QWidget& window) {
  EXPECT_TRUE(QTest::qWaitFor([&] { return QApplication::activeWindow() == &window; }));
}

void WindowTest::whenever(std::function<bool()> act) {
  auto* timer = new QTimer(&windows->window());
  QObject::connect(timer, &QTimer::timeout, [timer, act = std::move(act)] {
    timer->stop();
    if (act()) {
      timer->deleteLater();
    } else {
      timer->start(1);
    }
  });
  timer->start(1);
}

Texts WindowTest::listedDisks() const {
  Texts disks;
  for (const auto& player : windows->players()->listed()) {
    disks.push_back(player->diskName().value_or("(none)"));
  }
  return disks;
}

Texts WindowTest::listedPaths() const {
  Texts paths;
  for (const auto& root : *windows->songs()->list()) {
    paths.push_back(root->path().value_or("(none)"));
  }
  return paths;
}

void WindowTest::rightClick(const QPoint& at) {
  QWidget& window = windows->window();
  QTest::mouseClick(window.windowHandle(), Qt::RightButton, {},
                    ui().lstFiles->viewport()->mapTo(&window, at));
}

void WindowTest::rightClickRow(int row) {
  const QModelIndex index = ui().lstFiles->model()->index(row, 0);
  rightClick(ui().lstFiles->visualRect(index).center());
}

Texts WindowTest::menuTexts() const {
  Texts texts;
  for (const QAction* action : controller().songsTVCContextMenu()->actions()) {
    if (action->isVisible()) {
      texts.push_back(action->text().remove(QLatin1Char('&')).toStdString());
    }
  }
  return texts;
}

void WindowTest::enter(const char* userName, const char* password) {
  panelUi().userNameField->setText(QString::fromLatin1(userName));
  panelUi().passwordField->setText(QString::fromLatin1(password));
}

void WindowTest::answerAlert(std::function<void(QMessageBox&)> look) {
  whenever([this, look = std::move(look)] {
    QMessageBox* const box = alert();
    if (box == nullptr) {
      return false;
    }
    message = box->text().toStdString();
    if (look) {
      look(*box);
    }
    click(box->button(QMessageBox::Ok));
    return true;
  });
}

QMessageBox* WindowTest::alert() {
  for (QWidget* widget : QApplication::topLevelWidgets()) {
    auto* box = qobject_cast<QMessageBox*>(widget);
    if (box != nullptr && box->isVisible()) {
      return box;
    }
  }
  return nullptr;
}

}  // namespace fillstation::test
