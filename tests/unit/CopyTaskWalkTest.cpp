#include "CopyRig.h"

// The effects of a task on a volume.

namespace fillstation::test {
namespace {

class TRFileCopyTaskWalkTest : public CopyTest {
 protected:
  void runTask(const std::shared_ptr<TRFileList>& list,
               std::shared_ptr<Reports> receiver = std::make_shared<Reports>()) {
    const auto collection = collectionFor(list, {player});
    task = collection->tasks().at(0);
    reports = run(*collection, std::move(receiver));
  }
  // Runs a task with these roots; returns its calls after the formatting.
  Lines copied(const std::shared_ptr<TRFileList>& list) {
    runTask(list);
    return copyEvents();
  }
  // The last log texts and reports of a task with these roots; "error: " before those that follow
  // the setting of its error.
  Lines lastMarked(std::ptrdiff_t count, const std::shared_ptr<TRFileList>& list) {
    Lines marked;
    const auto note = [&](const std::string& event) {
      marked.push_back((task->error() ? "error: " : "") + event);
    };
    onLog = note;
    const auto receiver = std::make_shared<Reports>();
    receiver->onProgress = [&note] { note("report"); };
    runTask(list, receiver);
    onLog = [](const std::string&) {};
    return Lines(marked.end() - count, marked.end());
  }

  std::shared_ptr<TRPlayer> player = addDisk("sdb", "/media/p", 7);
  std::shared_ptr<TRFileCopyTask> task;
  std::shared_ptr<Reports> reports;
};

const Lines kEnd{"flush", "read back", "log copy Done!!!\n", "log done\n"};
const Lines kFailedEnd{"flush", "log copy Done!!!\n", "log done\n"};
constexpr const char* kOpen = "open /media/p of /dev/sdb 7";

TEST_F(TRFileCopyTaskWalkTest, FileRootIsCopiedOntoTheVolumesOwnPathAndFails) {
  files.failing = {"copy /home/a/song.mp3 -> /media/p"};
  const Lines events = copied(roots({fileRoot("/home/a/song.mp3", 5)}));
  EXPECT_EQ(events, (Lines{kOpen, "exists file:///home/a/song.mp3", "log Copy /home/a/song.mp3\n",
                           "copy /home/a/song.mp3 -> /media/p", "log Copy failed"} +
                     kFailedEnd));
  EXPECT_TRUE(task->error());
  EXPECT_EQ(task->currentSize(), 5);
  EXPECT_EQ(reports->progress, std::vector<std::int64_t>{100});
}

TEST_F(TRFileCopyTaskWalkTest, FailedFormatSetsTheErrorAndReports100Once) {
  answerScript = [](std::size_t) { return ScriptOutcome{{}, 1, "failed"}; };
  const Lines last =
      lastMarked(3, roots({folderRoot("/s", {file("/s/a", "a", 40), file("/s/b", "b", 60)})}));
  EXPECT_EQ(last, lines("dd operation failed.\n", "error: report", "error: done\n"));
  EXPECT_EQ(task->currentSize(), 100);
  EXPECT_EQ(reports->progress, std::vector<std::int64_t>{100});
}

TEST_F(TRFileCopyTaskWalkTest, FailedCopyOfOneFileDoesNotStopTheOthers) {
  files.failing = {"copy /s/b -> /media/p/b"};
  const Lines events = copied(roots(
      {folderRoot("/s", {file("/s/a", "a", 1), file("/s/b", "b", 1), file("/s/c", "c", 2)})}));
  EXPECT_EQ(events,
            (Lines{kOpen, "log Copy /s/a\n", "exists file:///s/a", "copy /s/a -> /media/p/a",
                   "log Copy successful", "log Copy /s/b\n", "exists file:///s/b",
                   "copy /s/b -> /media/p/b", "log Copy failed", "log Copy /s/c\n",
                   "exists file:///s/c", "copy /s/c -> /media/p/c", "log Copy successful"} +
             kFailedEnd));
  EXPECT_EQ(reports->progress, (std::vector<std::int64_t>{25, 50, 100}));
}

TEST_F(TRFileCopyTaskWalkTest, ErrorIsSetBeforeAFailureIsLoggedOrReported) {
  files.failing = {"copy /s/a -> /media/p/a", "mkdir /media/p/d", "flush"};
  EXPECT_EQ(lastMarked(5, roots({folderRoot("/s", {file("/s/a", "a")})})),
            lines("Copy /s/a\n", "error: Copy failed", "error: report", "error: copy Done!!!\n",
                  "error: done\n"));
  EXPECT_EQ(lastMarked(4, roots({folderRoot("/s", {folder("/s/d", "d/")})})),
            lines("Copy /s/d\n", "error: report", "error: copy Done!!!\n", "error: done\n"));
  EXPECT_EQ(lastMarked(2, roots()), lines("error: copy Done!!!\n", "error: done\n"));
}

TEST_F(TRFileCopyTaskWalkTest, NamesAreDecodedOnceAndTheMountPathToo) {
  player = addDisk("sdc", "/media/MY PLAYER", 3);
  copied(roots({folderRoot("/s", {file("/s/100%25.mp3", "100%2525.mp3"), folder("/s/%41", "%2541/"),
                                  file("/s/\xFF.mp3", "%FF.mp3")}),
                folderRoot("/t", {file("/t/b", "b")})}));
  for (const std::string event :
       {"open /media/MY PLAYER of /dev/sdc 3", "copy /s/100%25.mp3 -> /media/MY PLAYER/100%25.mp3",
        "mkdir /media/MY PLAYER/%41", "copy /s/\xFF.mp3 -> /media/MY PLAYER/\xFF.mp3",
        "copy /t/b -> /media/MY PLAYER/b"}) {
    EXPECT_EQ(count(event), 1) << event;
  }
}

TEST_F(TRFileCopyTaskWalkTest, NodeWithoutAPlaceOrASourceFailsLikeAFileRoot) {
  const auto lost = std::make_shared<TRFile>();
  lost->setPath(std::nullopt);
  const Lines events = copied(roots({folderRoot("/s", {lost})}));
  EXPECT_EQ(Lines(events.begin(), events.begin() + 4),
            (Lines{kOpen, "log Copy (null)\n", "exists ", "copy  -> /media/p"}));
}

TEST_F(TRFileCopyTaskWalkTest, FolderRootWithNothingInItLeavesNothingAndReportsNothing) {
  EXPECT_EQ(copied(roots({folderRoot("/s", {}), node("/t", "/", 0, true)})), Lines{kOpen} + kEnd);
  EXPECT_EQ(reports->progress, std::vector<std::int64_t>{});
  EXPECT_FALSE(task->error());
}

TEST_F(TRFileCopyTaskWalkTest, NodeWhoseAddressTextExistsAsAPathIsNotCopied) {
  // The source or the destination path plays no part.
  for (const char* path :
       {"file:///s/a%20b", "file:///s/d/", "file:///s/c", "/s/e", "/media/p/e"}) {
    files.addFile(path, 1);
  }
  EXPECT_EQ(copied(roots({folderRoot("/s", {file("/s/a b", "a%20b", 3), folder("/s/d", "d/")}),
                          fileRoot("/s/c", 3), folderRoot("/s", {file("/s/e", "e", 0)})})),
            (Lines{kOpen, "log Copy /s/a b\n", "exists file:///s/a%20b", "log Copy /s/d\n",
                   "exists file:///s/d/", "exists file:///s/c", "log Copy /s/e\n",
                   "exists file:///s/e", "copy /s/e -> /media/p/e", "log Copy successful"} +
             kEnd));
  EXPECT_FALSE(task->error());
  EXPECT_EQ(reports->progress, (std::vector<std::int64_t>{50, 50, 100, 100}));
}

TEST_F(TRFileCopyTaskWalkTest, VolumeThatCannotBeOpenedFailsEachNodeSingly) {
  files.open = [](const auto&, const auto&) { return nullptr; };
  const Lines events = copied(roots(
      {folderRoot("/s", {folder("/s/d", "d/"), file("/s/d/a", "d/a", 1)}), fileRoot("/b", 1)}));
  EXPECT_EQ(events,
            (Lines{kOpen, "log Copy /s/d\n", "exists file:///s/d/", "log Copy /s/d/a\n",
                   "exists file:///s/d/a", "log Copy failed", "exists file:///b", "log Copy /b\n",
                   "log Copy failed", "log copy Done!!!\n", "log done\n"}));
  EXPECT_TRUE(task->error());
  EXPECT_EQ(reports->progress, (std::vector<std::int64_t>{0, 50, 100}));
}

TEST_F(TRFileCopyTaskWalkTest, PlayerThatLosesItsPathIsLikeAVolumeThatCannotBeOpened) {
  atPause = [this](std::size_t number) {
    if (number == 5) {  // after the refresh
      player->setPath(std::nullopt);
    }
  };
  EXPECT_EQ(copied(roots({fileRoot("/b", 1)})),
            (Lines{"exists file:///b", "log Copy /b\n", "log Copy failed", "log copy Done!!!\n",
                   "log done\n"}));
  EXPECT_TRUE(task->error());
}

TEST_F(TRFileCopyTaskWalkTest, FlushThatFailsSetsTheErrorAndIsNotLogged) {
  files.failing = {"flush"};
  EXPECT_EQ(copied(roots()), Lines{kOpen} + kFailedEnd);
  EXPECT_TRUE(task->error());
  // An open volume would keep its device, and the device's name, until the end of the run.
  EXPECT_EQ(files.openVolumes, 0);
}

TEST_F(TRFileCopyTaskWalkTest, CopiedFilesAreReadBackInTheirOrder) {
  Lines items;
  files.onReadBack = [&items](const CopiedItems& all) {
    all([&items](const CopiedItem& item) {
      items.push_back((item.isDirectory ? "folder " : "file ") + item.source + " -> " +
                      item.destination + " " + std::to_string(item.size));
      return items.size() < 4;
    });
  };
  files.addFile("file:///s/left%20out", 1);
  copied(roots({folderRoot("/s", {folder("/s/d", "d/"), file("/s/left out", "left%20out"),
                                  file("/s/d/a b", "d/a%20b", 7)}),
                folderRoot("/empty", {}), folderRoot("/t", {file("/t/c", "c", 1)}),
                folderRoot("/u", {file("/u/d", "d", 2), file("/u/e", "e", 3)})}));
  EXPECT_EQ(items, (Lines{"folder /s/d -> /media/p/d 0", "file /s/d/a b -> /media/p/d/a b 7",
                          "file /t/c -> /media/p/c 1", "file /u/d -> /media/p/d 2"}));
  EXPECT_FALSE(task->error());
}

TEST_F(TRFileCopyTaskWalkTest, ReadingBackThatFailsSetsTheErrorAndIsNotLogged) {
  files.failing = {"read back"};
  EXPECT_EQ(copied(roots({folderRoot("/s", {file("/s/a", "a", 1)})})),
            (Lines{kOpen, "log Copy /s/a\n", "exists file:///s/a", "copy /s/a -> /media/p/a",
                   "log Copy successful"} +
             kEnd));
  EXPECT_TRUE(task->error());
  EXPECT_EQ(reports->progress, std::vector<std::int64_t>{100});
}

TEST_F(TRFileCopyTaskWalkTest, TaskWithoutAListCopiesNothing) {
  const auto collection = collectionFor(roots({fileRoot("/b", 1)}), {player});
  collection->tasks().at(0)->setFiles(nullptr);
  run(*collection);
  EXPECT_EQ(copyEvents(), Lines{kOpen} + kEnd);
}

TEST_F(TRFileCopyTaskWalkTest, TaskWithoutAPlayerEndsWithAnErrorAtAHundredPercent) {
  player = nullptr;
  runTask(roots({fileRoot("/b", 1)}));
  EXPECT_TRUE(task->error());
  EXPECT_EQ(task->currentProgress(), 100);
  EXPECT_EQ(trace.texts(), (Lines{"log Beginning operation.\n", "log Beginning format operation.\n",
                                  "log done\n"}));
}

// Neither is anything flushed or called done.
TEST_F(TRFileCopyTaskWalkTest, NoFurtherNodeOrRootIsBegunOnceTheProgramEnds) {
  struct Case {
    std::string lastRequest;
    std::shared_ptr<TRFileList> list;
    Lines events;
  };
  for (const auto& each : std::vector<Case>{
           {"copy /s/a -> /media/p/a",
            roots({folderRoot("/s", {file("/s/a", "a"), file("/s/b", "b")})}),
            {"log Copy /s/a\n", "exists file:///s/a", "copy /s/a -> /media/p/a",
             "log Copy successful"}},
           {"copy /a -> /media/p",
            roots({fileRoot("/a", 1), fileRoot("/b", 1)}),
            {"exists file:///a", "log Copy /a\n", "copy /a -> /media/p", "log Copy successful"}},
           {"mkdir /media/p/d",
            roots({folderRoot("/s", {folder("/s/d", "d/")})}),
            {"log Copy /s/d\n", "exists file:///s/d/", "mkdir /media/p/d"}}}) {
    TestWorkers workers;
    platform().workers = &workers;
    files.onRequest = [&](const std::string& request) {
      trace.write(request);
      if (request == each.lastRequest) {
        workers.stop();
      }
    };
    trace.clear();
    EXPECT_EQ(copied(each.list), lines(kOpen) + each.events + lines("log done\n"));
    EXPECT_TRUE(task->error());
    platform().workers = &ports.workers;
  }
}

}  // namespace
}  // namespace fillstation::test
