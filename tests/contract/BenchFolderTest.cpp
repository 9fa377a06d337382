#include <filesystem>

#include "BenchBackEnd.h"
#include "ChildProcess.h"
#include "ScriptCompiler.h"

namespace fillstation::contract {

namespace {

class BenchFolderTest : public BenchTest {
 protected:
  std::string at(const std::string& below) const { return bench->folder.path(below); }

  // The output of a shell command line.
  static std::string said(const std::string& line) { return runShell(line).out; }
};
INSTANTIATE_TEST_SUITE_P(Bench, BenchFolderTest, ::testing::Values(kBench), nameOfKind);

TEST_P(BenchFolderTest, AnImageWithoutAnIdentityIsAStandardPlayer) {
  watchBus();
  bench->make(plan);
  std::filesystem::remove(at("a.json"));
  identity = plugInAgain("a");
  EXPECT_EQ(vendor(identity), "ACTIONS");
  EXPECT_EQ(identity.node, "/dev/vp0");
  EXPECT_EQ(identity.usbHandle, 0x10002U);
}

TEST_P(BenchFolderTest, AnIdentityWithAMistakeIsLoggedAndThePlayerLeftOut) {
  watchBus();
  bench->make(plan);
  bench->folder.write("a.json", "{\n  \"vendor\": 1\n}\n");
  bench->plug("a");
  EXPECT_TRUE(bench->await([&] { return !bench->log.texts().empty(); }));
  EXPECT_EQ(bench->log.texts(),
            std::vector<std::string>({at("a.json") + ": vendor: must be a text\n"}));
  bench->settle();
  EXPECT_TRUE(told.empty());
}

TEST_P(BenchFolderTest, AnImageThatIsNoFileIsLogged) {
  bench->folder.makeFolder("a.img");
  watchBus();
  EXPECT_EQ(bench->log.texts(), std::vector<std::string>({at("a.img") + ": can't be opened\n"}));
}

TEST_P(BenchFolderTest, AFolderThatDoesNotExistCannotBeOpened) {
  Bench nowhere(at("missing"), BenchServices{bench->stop, bench->mainThread, bench->clock,
                                             bench->workers, bench->log});
  Platform installed;
  nowhere.installInto(installed);
  EXPECT_FALSE(installed.usbBus->open("IOUSBDevice"));
}

TEST_P(BenchFolderTest, OtherFilesAreNoPlayers) {
  watchBus();
  bench->folder.write("a.txt", "x");
  bench->folder.write(".img", "x");
  bench->folder.write("a.img.part", "x");
  bench->make(plan);
  identity = plugInAgain("a");
  EXPECT_EQ(told.size(), 1U);
  EXPECT_TRUE(bench->log.texts().empty());
}

TEST_P(BenchFolderTest, AnImageThatIsCopiedInAppearsWhenItIsComplete) {
  watchBus();
  bench->make(plan);
  EXPECT_EQ(said("cp '" + at("pulled/a.img") + "' '" + at("a.img") + "'"), "");
  ASSERT_TRUE(bench->await([&] { return told.size() == 1; }));
  identity = {"/dev/vp0", told[0].handle};
  EXPECT_EQ(mediaSize(identity), 64 << 20);
  EXPECT_TRUE(bench->await([&] { return mountPath(identity).has_value(); }));
}

TEST_P(BenchFolderTest, AnImageThatIsWrittenToWhileItIsPluggedInIsTheSamePlayer) {
  plugPlan();
  bench->writeHead("a", "x");
  bench->settle();
  EXPECT_EQ(told.size(), 1U);
}

TEST_P(BenchFolderTest, AnImageThatIsDeletedIsPulledOut) {
  plugPlanMounted();
  std::filesystem::remove(at("a.img"));
  EXPECT_TRUE(bench->await([&] { return told.size() == 2; }));
  EXPECT_FALSE(told[1].arrived);
}

TEST_P(BenchFolderTest, OutAndInAtOnceIsALeavingAndAnArrival) {
  plugPlan();
  bench->unplug("a");
  bench->plug("a");
  ASSERT_TRUE(bench->await([&] { return told.size() == 3; }));
  EXPECT_FALSE(told[1].arrived);
  EXPECT_TRUE(told[2].arrived);
  EXPECT_NE(told[2].handle, told[0].handle);
}

TEST_P(BenchFolderTest, InAndOutBetweenTwoLooksIsNoEvent) {
  watchBus();
  bench->make(plan);
  bench->plug("a");
  bench->unplug("a");
  bench->settle();
  EXPECT_TRUE(told.empty());
  EXPECT_TRUE(bench->log.texts().empty());
}

TEST_P(BenchFolderTest, AnotherImageOverTheOldOneIsALeavingAndAnArrival) {
  plugPlan();
  bench->make(plan);
  bench->plug("a");
  ASSERT_TRUE(bench->await([&] { return told.size() == 3; }));
  EXPECT_FALSE(told[1].arrived);
  EXPECT_EQ(told[1].handle, told[0].handle);
  EXPECT_TRUE(told[2].arrived);
}

TEST_P(BenchFolderTest, DiskNamesAreTheLowestFreeOnes) {
  watchBus();
  for (const std::string name : {"a", "b", "c"}) {
    plugIn(name);
  }
  EXPECT_EQ(told[0].diskName, "vp0");
  EXPECT_EQ(told[1].diskName, "vp1");
  EXPECT_EQ(told[2].diskName, "vp2");
  pullOut("b");
  pullOut("a");
  plugInAgain("b");
  EXPECT_EQ(told.back().diskName, "vp0");
}

TEST_P(BenchFolderTest, DeviceNumbersAreNotUsedAgainBeforeTheyHaveRunOut) {
  watchBus();
  bench->make("stays", {});
  plugInAgain("stays");
  plan.identity.disk = false;
  bench->make(plan);
  std::vector<std::uint32_t> handles;
  for (int time = 0; time < 126; ++time) {
    handles.push_back(plugInAgain("a").usbHandle);
    pullOut("a");
  }
  EXPECT_EQ(told[0].handle, 0x10002U);
  EXPECT_EQ(handles.front(), 0x10003U);
  EXPECT_EQ(handles[124], 0x1007FU);
  EXPECT_EQ(handles[125], 0x10003U);
}

TEST_P(BenchFolderTest, MountsOfAnEarlierBenchAreRemovedAndEqualLabelsAreNumbered) {
  bench->folder.write("volumes/BOOKS/old.mp3", "x");
  watchBus();
  EXPECT_EQ(mountPath(plugInMounted("a")), at("volumes/BOOKS"));
  EXPECT_FALSE(std::filesystem::exists(at("volumes/BOOKS/old.mp3")));
  EXPECT_EQ(mountPath(plugInMounted("b")), at("volumes/BOOKS1"));
  EXPECT_EQ(mountPath(plugInMounted("c")), at("volumes/BOOKS2"));
}

TEST_P(BenchFolderTest, AsSoonAsMoreThan16MiBAreWaitingTheyAreWritten) {
  plugPlanMounted();
  const std::string source = sources.write("source", "");
  std::filesystem::resize_file(source, 16 << 20);
  for (const std::size_t before : {0U, 2U}) {
    const std::string number = std::to_string(before);
    EXPECT_TRUE(volume->copyItem(source, root + "/large" + number));
    EXPECT_EQ(bench->content("a").size(), before);
    EXPECT_TRUE(copy("x", "small" + number));
    EXPECT_EQ(bench->content("a").size(), before + 2);
  }
}

TEST_P(BenchFolderTest, ModificationTimesReachTheImage) {
  plugPlanMounted();
  const std::string source = sources.write("source", "x");
  said("touch -d '2001-02-03 04:05:06' '" + source + "'");
  EXPECT_TRUE(volume->copyItem(source, root + "/x.mp3"));
  EXPECT_TRUE(volume->flush());
  EXPECT_NE(said("mdir -i '" + bench->image("a") + "' ::").find("2001-02-03   4:05"),
            std::string::npos);
}

TEST_P(BenchFolderTest, ManyFilesKeepTheirOrder) {
  plugPlanMounted();
  const std::string source = sources.write("source", "x");
  std::vector<std::string> names;
  for (int number = 0; number < 400; ++number) {
    names.push_back(std::to_string(number) + std::string(120, 'n') + ".mp3");
    ASSERT_TRUE(volume->copyItem(source, root + "/" + names.back()));
  }
  EXPECT_TRUE(volume->flush());
  std::vector<std::string> found;
  for (const auto& file : bench->content("a")) {
    found.push_back(file.path);
  }
  EXPECT_EQ(found, names);
}

TEST_P(BenchFolderTest, APlayerHasAPort) {
  plugPlan();
  const DiskIdentity other = plugIn("b");
  EXPECT_EQ(bench->usbBus().placeOf(identity.usbHandle).port, "1-2");
  EXPECT_EQ(bench->usbBus().placeOf(other.usbHandle).port, "1-3");
  EXPECT_EQ(bench->usbBus().placeOf(other.usbHandle + 1).port, "");
}

TEST_P(BenchFolderTest, ARefusalHasItsErrorNumberAndText) {
  const DiskIdentity nobody{"/dev/vp0", 0x10002};
  const auto refused = [&](const std::string& command, const std::string& user,
                           const std::string& password) {
    const auto outcome = bench->scriptRunner().run(scriptFor(command, user, password), nobody);
    return std::pair(outcome.errorNumber.value_or(0), outcome.errorMessage.value_or(""));
  };
  const std::string wipe = wipeCommand("/dev/vp0");
  const std::pair wrong(ScriptError::kWrongCredentials,
                        std::string("The user name or the password is wrong."));
  EXPECT_EQ(refused(wipe, "anna", "bench"), wrong);
  EXPECT_EQ(refused(wipe, "bench", "secret"), wrong);
  EXPECT_EQ(refused(wipe, "bench", "bench").first, ScriptError::kNotThePlayer);
  EXPECT_EQ(refused("true", "bench", "bench"),
            std::pair(ScriptError::kNotAPlayerCommand,
                      std::string("The command is not one for this player.")));
}

}  // namespace

}  // namespace fillstation::contract
