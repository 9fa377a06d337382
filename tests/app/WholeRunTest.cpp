#include <algorithm>

#include "WindowTest.h"

namespace fillstation::test {
namespace {

// A run from plugging in to the summary, through the window's own controls.
class WholeRunTest : public WindowTest {
 protected:
  WholeRunTest() {
    launch();
    files.volumes.onRequest = [this](const std::string& request) {
      const std::scoped_lock guard(lock);
      requests.push_back(request);
    };
  }

  void addFolderWithOneFile() {
    const auto root = addRoot("/music", 4);
    auto file = std::make_shared<TRFile>();
    file->setPath("/music/01.mp3");
    file->setUrl(Url::fromPath("/music/01.mp3", false), false);
    file->setDestRelativeUrl(Url::withString("01.mp3"));
    file->setSize(Number(4));
    root->files()->push_back(file);
  }
  void run() {
    click(ui().btnAll);
    click(ui().btnStart);
    QTest::keyClicks(panelUi().userNameField, userName);
    QTest::keyClicks(panelUi().passwordField, password);
    whenever([this] {
      QMessageBox* box = alert();
      if (box == nullptr) {
        return false;
      }
      message = box->text().toStdString();
      barUnderAlert = ui().pbProgressBar->value();
      click(box->button(QMessageBox::Ok));
      return true;
    });
    ports.log.clear();
    click(panelUi().btnPassOk);
    runUntil([&] { return ui().btnStart->isEnabled(); });
    ports.workers.join();
  }

  static Texts sorted(Texts texts) {
    std::sort(texts.begin(), texts.end());
    return texts;
  }

  QString userName = QStringLiteral("admin");
  QString password = QStringLiteral("secret");
  std::mutex lock;
  Texts requests;
  std::string message;
  int barUnderAlert = -1;
};

TEST_F(WholeRunTest, OnePlayerIsFormattedAndFilled) {
  plugStick("sdb");
  addFolderWithOneFile();
  run();
  EXPECT_EQ(message, "Process Completed.");
  EXPECT_EQ(barUnderAlert, 100);
  EXPECT_EQ(ports.disks.kinds(), (Texts{"unmount", "mount"}));
  ASSERT_EQ(ports.scripts.calls().size(), 2U);
  EXPECT_EQ(ports.scripts.calls().at(0).source.find("user name \"admin\" password \"secret\"") !=
                std::string::npos,
            true);
  EXPECT_NE(std::find(requests.begin(), requests.end(), "copy /music/01.mp3 -> /media/sdb/01.mp3"),
            requests.end());
  EXPECT_EQ(tick(0)->wholeText(), QStringLiteral("SONGS"));
  const Texts log = logTexts();
  EXPECT_EQ(std::count(log.begin(), log.end(), "\nafter task call!!!!\n"), 1);
  EXPECT_EQ(std::count(log.begin(), log.end(), "\nSelection !\n"), 0);
}

TEST_F(WholeRunTest, TheLinkWorksDuringARunAndChangesNothingInIt) {
  plugStick("sdb");
  addFolderWithOneFile();
  run();  // gives the player its new name
  run();
  const std::string quietMessage = message;
  const Texts quiet = sorted(logTexts());
  const std::size_t requestsBefore = ports.disks.kinds().size();
  ports.scripts.answer = [this](std::size_t, const TestScriptRunner::Call&) {
    ports.mainThread.post([this] {
      EXPECT_FALSE(ui().btnStart->isEnabled());
      click(ui().tirellLinkBtn);
    });
    return ScriptOutcome{"", {}, {}};
  };
  run();
  EXPECT_EQ(ports.workspace.opened.size(), 2U);
  EXPECT_EQ(message, quietMessage);
  EXPECT_EQ(sorted(logTexts()), quiet);
  EXPECT_EQ(ports.disks.kinds().size(), requestsBefore + 2);
}

TEST_F(WholeRunTest, OnlyTickedPlayersAreTouched) {
  plugStick("sdb", 0x10002);
  plugStick("sdc", 0x10003);
  addFolderWithOneFile();
  // Unticked again after All, with the mouse.
  QObject::connect(ui().btnAll, &QPushButton::clicked, ui().btnAll, [this] {
    QTest::mouseClick(tick(0), Qt::LeftButton, {}, QPoint(8, tick(0)->height() / 2));
  });
  run();
  ASSERT_EQ(ports.disks.requests.size(), 2U);
  for (const auto& request : ports.disks.requests) {
    EXPECT_EQ(request.expected.node, "/dev/sdc");
  }
}

TEST_F(WholeRunTest, APlayerThatFailsIsNamed) {
  plugStick("sdb", 0x10002);
  plugStick("sdc", 0x10003);
  addFolderWithOneFile();
  ports.scripts.answer = [](std::size_t, const TestScriptRunner::Call& call) {
    return call.target.node == "/dev/sdb" ? ScriptOutcome{{}, 1, "no"} : ScriptOutcome{"", {}, {}};
  };
  run();
  EXPECT_EQ(message, "Process Completed.\nPlayer /dev/sdb Failed in process");
}

TEST_F(WholeRunTest, PlayersAreTakenInDisplayOrder) {
  plugStick("sdd", 0x10002);
  plugStick("sdb", 0x10003);
  plugStick("sdc", 0x10004);
  ports.scripts.answer = [](std::size_t, const TestScriptRunner::Call&) {
    return ScriptOutcome{{}, 1, "no"};
  };
  run();
  EXPECT_EQ(message,
            "Process Completed.\nPlayer /dev/sdd Failed in process\n"
            "Player /dev/sdb Failed in process\nPlayer /dev/sdc Failed in process");
}

TEST_F(WholeRunTest, BlanksInTheCredentialsReachTheScriptRunner) {
  plugStick("sdb");
  userName = QStringLiteral("  the  boss ");
  password = QStringLiteral(" pass  word  ");
  run();
  ASSERT_EQ(ports.scripts.calls().size(), 2U);
  EXPECT_EQ(ports.scripts.calls().at(0).source,
            "do shell script \"dd if=/dev/zero of=/dev/sdb bs=4k count=10\" user name "
            "\"  the  boss \" password \" pass  word  \" with administrator privileges");
}

TEST_F(WholeRunTest, ALoneBlankIsNotEmpty) {
  plugStick("sdb");
  userName = QStringLiteral(" ");
  password = QStringLiteral(" ");
  run();
  EXPECT_EQ(message, "Process Completed.");
  ASSERT_EQ(ports.scripts.calls().size(), 2U);
  EXPECT_NE(ports.scripts.calls().at(1).source.find("user name \" \" password \" \" with"),
            std::string::npos);
}

TEST_F(WholeRunTest, TheNamesAreReadAnewDuringTheRun) {
  plugStick("sdb");
  addFolderWithOneFile();
  EXPECT_EQ(tick(0)->wholeText(), QStringLiteral("/dev/sdb (SONGS)"));
  QString during;
  QObject::connect(ui().pbProgressBar, &QProgressBar::valueChanged, ui().pbProgressBar, [&](int) {
    QTimer::singleShot(0, ui().pbProgressBar, [&] { during = tick(0)->wholeText(); });
  });
  run();
  EXPECT_EQ(during, QStringLiteral("SONGS"));
}

TEST_F(WholeRunTest, ASecondRunFollowsWithTheSameFields) {
  plugStick("sdb");
  addFolderWithOneFile();
  run();
  message.clear();
  panelUi().userNameField->clear();
  panelUi().passwordField->clear();
  run();
  EXPECT_EQ(message, "Process Completed.");
  EXPECT_EQ(ports.disks.kinds(), (Texts{"unmount", "mount", "unmount", "mount"}));
}

}  // namespace
}  // namespace fillstation::test
