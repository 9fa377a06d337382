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
  void run(const char* userName = "admin", const char* password = "secret") {
    click(ui().btnStart);
    enter(userName, password);
    answerAlert([this](QMessageBox&) { barUnderAlert = ui().pbProgressBar->value(); });
    ports.log.clear();
    click(panelUi().btnPassOk);
    runUntil([&] { return ui().btnStart->isEnabled(); });
    ports.workers.join();
  }

  static Texts sorted(Texts texts) {
    std::sort(texts.begin(), texts.end());
    return texts;
  }

  std::mutex lock;
  Texts requests;
  int barUnderAlert = -1;
};

TEST_F(WholeRunTest, APlayerThatIsTickedIsFormattedAndFilledWithTheCredentialsAsTheyWereTyped) {
  plugStick("sdb", 0x10002);
  plugStick("sdc", 0x10003);
  addFolderWithOneFile();
  click(ui().btnAll);
  QTest::mouseClick(tick(1), Qt::LeftButton, {}, QPoint(8, tick(1)->height() / 2));
  EXPECT_EQ(tick(0)->wholeText(), QStringLiteral("/dev/sdb (SONGS)"));
  QString during;
  QObject::connect(ui().pbProgressBar, &QProgressBar::valueChanged, ui().pbProgressBar, [&](int) {
    QTimer::singleShot(0, ui().pbProgressBar, [&] { during = tick(0)->wholeText(); });
  });
  run("  the  boss ", " pass  word  ");
  EXPECT_EQ(during, QStringLiteral("SONGS"));
  EXPECT_EQ(message, "Process Completed.");
  EXPECT_EQ(barUnderAlert, 100);
  EXPECT_EQ(ports.disks.kinds(), (Texts{"unmount", "mount"}));
  for (const auto& request : ports.disks.requests) {
    EXPECT_EQ(request.expected.node, "/dev/sdb");
  }
  ASSERT_EQ(ports.scripts.calls().size(), 2U);
  EXPECT_EQ(ports.scripts.calls().at(0).source,
            "do shell script \"dd if=/dev/zero of=/dev/sdb bs=4k count=10\" user name "
            "\"  the  boss \" password \" pass  word  \" with administrator privileges");
  EXPECT_NE(std::find(requests.begin(), requests.end(), "copy /music/01.mp3 -> /media/sdb/01.mp3"),
            requests.end());
  const Texts log = logTexts();
  EXPECT_EQ(std::count(log.begin(), log.end(), "\nafter task call!!!!\n"), 1);
  EXPECT_EQ(std::count(log.begin(), log.end(), "\nSelection !\n"), 0);
}

TEST_F(WholeRunTest, TheLinkWorksDuringARunAndChangesNothingInIt) {
  plugStick("sdb");
  addFolderWithOneFile();
  click(ui().btnAll);
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

// Counts those that are kept awake.
class TestWakefulness : public Wakefulness {
 public:
  std::shared_ptr<void> keepAwake(const std::string& why) override {
    reasons.push_back(why);
    ++held;
    return {nullptr, [this](void*) { --held; }};
  }

  Texts reasons;
  int held = 0;
};

TEST_F(WholeRunTest, TheMachineIsKeptAwakeForAsLongAsItLasts) {
  TestWakefulness wakefulness;
  platform().wakefulness = &wakefulness;
  int heldInSummary = -1;
  const auto answer = [&](const char* userName) {
    click(ui().btnStart);
    enter(userName, "secret");
    answerAlert([&](QMessageBox&) { heldInSummary = wakefulness.held; });
    EXPECT_EQ(wakefulness.held, 0);
    click(panelUi().btnPassOk);
  };
  answer("");
  EXPECT_TRUE(wakefulness.reasons.empty());
  answer("admin");
  EXPECT_EQ(wakefulness.held, 1);
  EXPECT_EQ(wakefulness.reasons, Texts{"Players are being filled"});
  runUntil([&] { return ui().btnStart->isEnabled(); });
  EXPECT_EQ(heldInSummary, 0);
}

}  // namespace
}  // namespace fillstation::test
