#include "CopyRig.h"
#include "TestUsbBus.h"

// The fields of a player's log record.

namespace fillstation::test {
namespace {

using Fields = std::map<std::string, std::string>;

class TaskRecordTest : public CopyTest {
 protected:
  TaskRecordTest() { platform().usbBus = &bus; }
  ~TaskRecordTest() override { platform().usbBus = nullptr; }

  // The fields of a whole run with that player.
  Fields fieldsOfARun(const std::shared_ptr<TRPlayer>& player) {
    player->setSize(Number(4096));
    const auto set = roots(
        {folderRoot("/b", {folder("/b/A", "A/"), file("/b/A/1", "A/1", 5), file("/b/2", "2", 7)})});
    run(*collectionFor(set, {player}));
    const auto all = ports.log.fieldsOf("done\n");
    EXPECT_EQ(all.size(), 1U);
    return all.empty() ? Fields() : all.back();
  }

  TestUsbBus bus{ports.mainThread};
};

TEST_F(TaskRecordTest, AFilledPlayersPlaceSetAndTimes) {
  bus.places[0x10002] = {"1-4.2", "7", "480"};
  atPause = [this](std::size_t) {
    ports.clock.passed = ports.clock.passed.load() + std::chrono::milliseconds(250);
  };
  Fields fields = fieldsOfARun(addDisk("sdb", "/media/p", 0x10002));
  EXPECT_NE(fields["RUN"], "");
  fields.erase("RUN");
  EXPECT_EQ(fields, (Fields{{"PORT", "1-4.2"},
                            {"SLOT", "7"},
                            {"LINK", "480"},
                            {"PLAYER", "/dev/sdb"},
                            {"SIZE", "4096"},
                            {"FILES", "2"},
                            {"BYTES", "12"},
                            {"UNMOUNT", "0.500"},
                            {"WIPE", "0.250"},
                            {"FORMAT", "0.000"},
                            {"MOUNT", "0.500"},
                            {"COPY", "0.000"},
                            {"FLUSH", "0.000"},
                            {"CHECK", "0.000"},
                            {"RESULT", "filled"}}));
}

TEST_F(TaskRecordTest, TheStepThatFailedFirstAndItsFile) {
  files.failing = {"copy /b/A/1 -> /media/p/A/1", "flush"};
  Fields fields = fieldsOfARun(addDisk("sdb", "/media/p"));
  EXPECT_EQ(fields["RESULT"], "failed");
  EXPECT_EQ(fields["STEP"], "copy");
  EXPECT_EQ(fields["FILE"], "copy /b/A/1 -> /media/p/A/1");
  EXPECT_EQ(fields["ERRNO"], std::to_string(EIO));
}

TEST_F(TaskRecordTest, EachStepCanBeTheOneThatFailed) {
  for (const auto& [failing, step] : {std::pair("flush", "flush"), {"read back", "check"}}) {
    files.failing = {failing};
    ports.log.clear();
    EXPECT_EQ(fieldsOfARun(addDisk("sdb", "/media/p"))["STEP"], step);
  }
  std::size_t before = 0;
  for (const auto& [failsFrom, step] : {std::pair(1, "wipe"), {2, "format"}}) {
    answerScript = [&, from = failsFrom](std::size_t number) {
      return number - before >= static_cast<std::size_t>(from) ? ScriptOutcome{{}, 1, {}}
                                                               : ScriptOutcome{"", {}, {}};
    };
    before = ports.scripts.calls().size();
    ports.log.clear();
    const Fields fields = fieldsOfARun(addDisk("sdb", "/media/p"));
    EXPECT_EQ(fields.at("STEP"), step);
    EXPECT_FALSE(fields.contains("FILE") || fields.contains("ERRNO") || fields.contains("COPY"));
  }
}

}  // namespace
}  // namespace fillstation::test
