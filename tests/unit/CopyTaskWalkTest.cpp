#include "CopyRig.h"

// What a task does to a volume.

namespace fillstation::test {
namespace {

class TRFileCopyTaskWalkTest : public CopyTest {
 protected:
  // Runs a task of these roots and gives what it does after the formatting.
  Lines copied(const std::shared_ptr<TRFileList>& list) {
    const auto collection = collectionFor(list, {player});
    task = collection->tasks().at(0);
    reports = run(collection);
    return copyEvents();
  }

  // The log texts and the reports of a task of these roots; "error: " before those that come when
  // its error is set.
  Lines markedByError(const std::shared_ptr<TRFileList>& list) {
    const auto collection = collectionFor(list, {player});
    task = collection->tasks().at(0);
    Trace marked;
    const auto note = [&](const std::string& event) {
      marked.add((task->error() ? "error: " : "") + event);
    };
    log.onWrite = note;
    const auto receiver = std::make_shared<Reports>();
    receiver->onProgress = [&note] { note("report"); };
    run(collection, receiver);
    log.onWrite = nullptr;
    return marked.events();
  }

  std::shared_ptr<TRPlayer> player = addDisk("sdb", "/media/p", 7);
  std::shared_ptr<TRFileCopyTask> task;
  std::shared_ptr<Reports> reports;
};

const Lines kEnd{"flush", "read back", "log copy Done!!!\n", "log done\n"};
const Lines kFailedEnd{"flush", "log copy Done!!!\n", "log done\n"};
constexpr const char* kOpen = "open /media/p of /dev/sdb 7";

TEST_F(TRFileCopyTaskWalkTest, FolderRootsContentLandsAtTheTopOfTheVolume) {
  const Lines events = copied(roots(
      {folderRoot("/home/a/Audio", {folder("/home/a/Audio/My Album", "My%20Album/"),
                                    file("/home/a/Audio/My Album/01.mp3", "My%20Album/01.mp3")})}));
  EXPECT_EQ(events, (Lines{kOpen, "log Copy /home/a/Audio/My Album\n",
                           "exists? file:///home/a/Audio/My%20Album/", "mkdir /media/p/My Album",
                           "log Copy /home/a/Audio/My Album/01.mp3\n",
                           "exists? file:///home/a/Audio/My%20Album/01.mp3",
                           "copy /home/a/Audio/My Album/01.mp3 -> /media/p/My Album/01.mp3",
                           "log Copy successful"} +
                     kEnd));
  EXPECT_FALSE(task->error());
}

TEST_F(TRFileCopyTaskWalkTest, FileRootIsCopiedOntoTheVolumesOwnPathAndFails) {
  files.failing = {"copy /home/a/song.mp3 -> /media/p"};
  const Lines events = copied(roots({fileRoot("/home/a/song.mp3", 5)}));
  EXPECT_EQ(events, (Lines{kOpen, "exists? file:///home/a/song.mp3", "log Copy /home/a/song.mp3\n",
                           "copy /home/a/song.mp3 -> /media/p", "log Copy failed"} +
                     kFailedEnd));
  EXPECT_TRUE(task->error());
  EXPECT_EQ(task->currentSize(), 5);
  EXPECT_EQ(reports->progress, std::vector<std::int64_t>{100});
}

TEST_F(TRFileCopyTaskWalkTest, FileRootThatCanBeCopiedSetsNoError) {
  const Lines events = copied(roots({fileRoot("/home/a/song.mp3", 5)}));
  EXPECT_EQ(Lines(events.begin() + 3, events.end()),
            (Lines{"copy /home/a/song.mp3 -> /media/p", "log Copy successful"} + kEnd));
  EXPECT_FALSE(task->error());
}

TEST_F(TRFileCopyTaskWalkTest, SubfolderAndThreeFilesReport0And0And0And100) {
  copied(roots({folderRoot("/s", {folder("/s/d", "d/"), file("/s/d/a", "d/a", 1),
                                  file("/s/d/b", "d/b", 1), file("/s/d/c", "d/c", 998)})}));
  EXPECT_EQ(reports->progress, (std::vector<std::int64_t>{0, 0, 0, 100}));
  EXPECT_EQ(task->currentSize(), task->totalSize());
}

TEST_F(TRFileCopyTaskWalkTest, FailedFormatSetsTheErrorAndReports100Once) {
  answerScript = [](std::size_t) { return ScriptOutcome{{}, 1, "failed"}; };
  const auto collection = collectionFor(
      roots({folderRoot("/s", {file("/s/a", "a", 40), file("/s/b", "b", 60)})}), {player});
  task = collection->tasks().at(0);
  reports = run(collection);
  EXPECT_TRUE(task->error());
  EXPECT_EQ(task->currentSize(), 100);
  EXPECT_EQ(reports->progress, std::vector<std::int64_t>{100});
  EXPECT_EQ(eventsAfter("log dd operation failed.\n"), Lines{"log done\n"});
}

TEST_F(TRFileCopyTaskWalkTest, FailedCopyOfOneFileDoesNotStopTheOthers) {
  files.failing = {"copy /s/b -> /media/p/b"};
  const Lines events = copied(roots(
      {folderRoot("/s", {file("/s/a", "a", 1), file("/s/b", "b", 1), file("/s/c", "c", 2)})}));
  EXPECT_EQ(events,
            (Lines{kOpen, "log Copy /s/a\n", "exists? file:///s/a", "copy /s/a -> /media/p/a",
                   "log Copy successful", "log Copy /s/b\n", "exists? file:///s/b",
                   "copy /s/b -> /media/p/b", "log Copy failed", "log Copy /s/c\n",
                   "exists? file:///s/c", "copy /s/c -> /media/p/c", "log Copy successful"} +
             kFailedEnd));
  EXPECT_TRUE(task->error());
  EXPECT_EQ(reports->progress, (std::vector<std::int64_t>{25, 50, 100}));
}

TEST_F(TRFileCopyTaskWalkTest, DirectoryThatCannotBeCreatedSetsTheErrorAndIsNotLogged) {
  files.failing = {"mkdir /media/p/d"};
  const Lines events =
      copied(roots({folderRoot("/s", {folder("/s/d", "d/"), file("/s/d/a", "d/a")})}));
  EXPECT_EQ(events, (Lines{kOpen, "log Copy /s/d\n", "exists? file:///s/d/", "mkdir /media/p/d",
                           "log Copy /s/d/a\n", "exists? file:///s/d/a",
                           "copy /s/d/a -> /media/p/d/a", "log Copy successful"} +
                     kFailedEnd));
  EXPECT_TRUE(task->error());
  EXPECT_EQ(reports->progress, (std::vector<std::int64_t>{0, 100}));
}

TEST_F(TRFileCopyTaskWalkTest, ErrorIsSetBeforeAFailedCopyIsLoggedAndReported) {
  files.failing = {"copy /s/a -> /media/p/a"};
  const Lines events = markedByError(roots({folderRoot("/s", {file("/s/a", "a")})}));
  EXPECT_EQ(Lines(events.end() - 5, events.end()),
            lines("Copy /s/a\n", "error: Copy failed", "error: report", "error: copy Done!!!\n",
                  "error: done\n"));
}

TEST_F(TRFileCopyTaskWalkTest, ErrorIsSetBeforeADirectoryThatCannotBeCreatedIsReported) {
  files.failing = {"mkdir /media/p/d"};
  const Lines events = markedByError(roots({folderRoot("/s", {folder("/s/d", "d/")})}));
  EXPECT_EQ(Lines(events.end() - 4, events.end()),
            lines("Copy /s/d\n", "error: report", "error: copy Done!!!\n", "error: done\n"));
}

TEST_F(TRFileCopyTaskWalkTest, ErrorIsSetBeforeAFailedFormatIsReported) {
  answerScript = [](std::size_t) { return ScriptOutcome{{}, 1, "failed"}; };
  const Lines events = markedByError(roots({fileRoot("/a", 1)}));
  EXPECT_EQ(Lines(events.end() - 3, events.end()),
            lines("dd operation failed.\n", "error: report", "error: done\n"));
}

TEST_F(TRFileCopyTaskWalkTest, ErrorIsSetBeforeAFailedFlushIsFollowedByTheLastText) {
  files.failing = {"flush"};
  const Lines events = markedByError(roots());
  EXPECT_EQ(Lines(events.end() - 2, events.end()), lines("error: copy Done!!!\n", "error: done\n"));
}

TEST_F(TRFileCopyTaskWalkTest, FileNamedWithABlankLandsUnderItsDecodedName) {
  const Lines events = copied(roots({folderRoot("/s", {file("/s/a b.mp3", "a%20b.mp3")})}));
  EXPECT_EQ(events.at(3), "copy /s/a b.mp3 -> /media/p/a b.mp3");
}

TEST_F(TRFileCopyTaskWalkTest, EscapesAreDecodedOnce) {
  const Lines events = copied(roots(
      {folderRoot("/s", {file("/s/100%25.mp3", "100%2525.mp3"), folder("/s/%41", "%2541/")})}));
  EXPECT_EQ(events.at(3), "copy /s/100%25.mp3 -> /media/p/100%25.mp3");
  EXPECT_EQ(events.at(7), "mkdir /media/p/%41");
}

TEST_F(TRFileCopyTaskWalkTest, NameThatIsNotUtf8KeepsItsBytes) {
  const Lines events = copied(roots({folderRoot("/s", {file("/s/\xFF.mp3", "%FF.mp3")})}));
  EXPECT_EQ(events.at(3), "copy /s/\xFF.mp3 -> /media/p/\xFF.mp3");
}

TEST_F(TRFileCopyTaskWalkTest, MountPathIsDecodedToo) {
  player = addDisk("sdc", "/media/MY PLAYER", 3);
  const Lines events = copied(roots({folderRoot("/s", {file("/s/a", "a")})}));
  EXPECT_EQ(events.at(0), "open /media/MY PLAYER of /dev/sdc 3");
  EXPECT_EQ(events.at(3), "copy /s/a -> /media/MY PLAYER/a");
}

TEST_F(TRFileCopyTaskWalkTest, NodeWithoutAPlaceOrASourceFailsLikeAFileRoot) {
  const auto lost = std::make_shared<TRFile>();
  lost->setPath("/s/lost");
  const Lines events = copied(roots({folderRoot("/s", {lost})}));
  EXPECT_EQ(Lines(events.begin(), events.begin() + 4),
            (Lines{kOpen, "log Copy /s/lost\n", "exists? ", "copy  -> /media/p"}));
}

TEST_F(TRFileCopyTaskWalkTest, TwoFolderRootsMergeAtTheTopOfTheVolume) {
  const Lines events =
      copied(roots({folderRoot("/s", {file("/s/a", "a")}), folderRoot("/t", {file("/t/b", "b")})}));
  EXPECT_EQ(events.at(3), "copy /s/a -> /media/p/a");
  EXPECT_EQ(events.at(7), "copy /t/b -> /media/p/b");
}

TEST_F(TRFileCopyTaskWalkTest, EmptyFolderRootLeavesNothingAndReportsNothing) {
  EXPECT_EQ(copied(roots({folderRoot("/s", {})})), Lines{kOpen} + kEnd);
  EXPECT_EQ(reports->progress, std::vector<std::int64_t>{});
  EXPECT_FALSE(task->error());
}

TEST_F(TRFileCopyTaskWalkTest, FolderRootWithoutAListLeavesNothing) {
  EXPECT_EQ(copied(roots({node("/s", "/", 0, true)})), Lines{kOpen} + kEnd);
}

TEST_F(TRFileCopyTaskWalkTest, NodeWhoseAddressTextExistsAsAPathIsLoggedAndNotCopied) {
  files.existing = {"file:///s/a%20b", "file:///s/d/"};
  const Lines events =
      copied(roots({folderRoot("/s", {file("/s/a b", "a%20b", 3), folder("/s/d", "d/")})}));
  EXPECT_EQ(events, (Lines{kOpen, "log Copy /s/a b\n", "exists? file:///s/a%20b", "log Copy /s/d\n",
                           "exists? file:///s/d/"} +
                     kEnd));
  EXPECT_FALSE(task->error());
  EXPECT_EQ(reports->progress, (std::vector<std::int64_t>{100, 100}));
}

TEST_F(TRFileCopyTaskWalkTest, FileRootWhoseAddressTextExistsAsAPathIsNotEvenLogged) {
  files.existing = {"file:///s/a"};
  EXPECT_EQ(copied(roots({fileRoot("/s/a", 3)})), (Lines{kOpen, "exists? file:///s/a"} + kEnd));
  EXPECT_FALSE(task->error());
  EXPECT_EQ(reports->progress, std::vector<std::int64_t>{100});
}

TEST_F(TRFileCopyTaskWalkTest, ExistenceOfTheSourceOrTheDestinationPathPlaysNoPart) {
  files.existing = {"/s/a", "/media/p/a"};
  EXPECT_EQ(copied(roots({folderRoot("/s", {file("/s/a", "a")})})).at(3),
            "copy /s/a -> /media/p/a");
}

TEST_F(TRFileCopyTaskWalkTest, VolumeThatCannotBeOpenedFailsEachNodeSingly) {
  files.refused = {"/media/p"};
  const Lines events = copied(roots(
      {folderRoot("/s", {folder("/s/d", "d/"), file("/s/d/a", "d/a", 1)}), fileRoot("/b", 1)}));
  EXPECT_EQ(events,
            (Lines{kOpen, "log Copy /s/d\n", "exists? file:///s/d/", "log Copy /s/d/a\n",
                   "exists? file:///s/d/a", "log Copy failed", "exists? file:///b", "log Copy /b\n",
                   "log Copy failed", "log copy Done!!!\n", "log done\n"}));
  EXPECT_TRUE(task->error());
  EXPECT_EQ(reports->progress, (std::vector<std::int64_t>{0, 50, 100}));
}

TEST_F(TRFileCopyTaskWalkTest, FolderAloneOnAVolumeThatCannotBeOpenedIsAnError) {
  files.refused = {"/media/p"};
  copied(roots({folderRoot("/s", {folder("/s/d", "d/")})}));
  EXPECT_TRUE(task->error());
}

TEST_F(TRFileCopyTaskWalkTest, VolumeThatCannotBeOpenedIsNoErrorWithoutANode) {
  files.refused = {"/media/p"};
  EXPECT_EQ(copied(roots()), (Lines{kOpen, "log copy Done!!!\n", "log done\n"}));
  EXPECT_FALSE(task->error());
}

TEST_F(TRFileCopyTaskWalkTest, PlayerThatLosesItsPathIsLikeAVolumeThatCannotBeOpened) {
  atPause = [this](std::size_t number) {
    if (number == 5) {  // after the refresh
      player->setPath(std::nullopt);
    }
  };
  EXPECT_EQ(copied(roots({fileRoot("/b", 1)})),
            (Lines{"exists? file:///b", "log Copy /b\n", "log Copy failed", "log copy Done!!!\n",
                   "log done\n"}));
  EXPECT_TRUE(task->error());
}

TEST_F(TRFileCopyTaskWalkTest, FlushThatFailsSetsTheErrorAndIsNotLogged) {
  files.failing = {"flush"};
  EXPECT_EQ(copied(roots()), Lines{kOpen} + kFailedEnd);
  EXPECT_TRUE(task->error());
}

TEST_F(TRFileCopyTaskWalkTest, WhatWasCopiedIsReadBackInItsOrder) {
  Lines items;
  files.onReadBack = [&items](const CopiedItems& all) {
    all([&items](const CopiedItem& item) {
      items.push_back((item.isDirectory() ? "folder " : "file ") + item.source() + " -> " +
                      item.destination() + " " + std::to_string(item.size()));
      return items.size() < 4;
    });
  };
  files.existing = {"file:///s/left%20out"};
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
            (Lines{kOpen, "log Copy /s/a\n", "exists? file:///s/a", "copy /s/a -> /media/p/a",
                   "log Copy successful"} +
             kEnd));
  EXPECT_TRUE(task->error());
  EXPECT_EQ(reports->progress, std::vector<std::int64_t>{100});
}

TEST_F(TRFileCopyTaskWalkTest, NodeWithoutASizeCountsAsZero) {
  const auto unknown = file("/s/a", "a");
  unknown->setSize(Number());
  copied(roots({folderRoot("/s", {unknown, file("/s/b", "b", 4)})}));
  EXPECT_EQ(reports->progress, (std::vector<std::int64_t>{0, 100}));
}

TEST_F(TRFileCopyTaskWalkTest, TaskWithoutAListCopiesNothing) {
  const auto collection = collectionFor(roots({fileRoot("/b", 1)}), {player});
  collection->tasks().at(0)->setFiles(nullptr);
  run(collection);
  EXPECT_EQ(copyEvents(), Lines{kOpen} + kEnd);
}

TEST_F(TRFileCopyTaskWalkTest, TaskWithoutAPlayerEndsWithAnErrorAtAHundredPercent) {
  const auto collection = collectionFor(roots({fileRoot("/b", 1)}), {nullptr});
  task = collection->tasks().at(0);
  run(collection);
  EXPECT_TRUE(task->error());
  EXPECT_EQ(task->currentProgress(), 100);
  EXPECT_EQ(trace.events(), (Lines{"log Beginning operation.\n",
                                   "log Beginning format operation.\n", "log done\n"}));
}

// Ends the program during the named request to a volume.
class TRFileCopyTaskWalkEndingTest : public TRFileCopyTaskWalkTest {
 protected:
  void runAndStopAt(const std::string& stopAt, const std::shared_ptr<TRFileList>& list) {
    files.onRequest = [this, stopAt](const std::string& request) {
      trace.add(request);
      if (request == stopAt) {
        ports.workers.stop();
      }
    };
    copied(list);
  }
};

TEST_F(TRFileCopyTaskWalkEndingTest, NoFurtherNodeOfAFolderIsBegun) {
  runAndStopAt("copy /s/a -> /media/p/a",
               roots({folderRoot("/s", {file("/s/a", "a"), file("/s/b", "b")})}));
  EXPECT_EQ(copyEvents(), (Lines{kOpen, "log Copy /s/a\n", "exists? file:///s/a",
                                 "copy /s/a -> /media/p/a", "log Copy successful", "log done\n"}));
  EXPECT_TRUE(task->error());
  EXPECT_EQ(task->currentSize(), 1);
}

TEST_F(TRFileCopyTaskWalkEndingTest, NoFurtherFileRootIsBegun) {
  runAndStopAt("copy /a -> /media/p", roots({fileRoot("/a", 1), fileRoot("/b", 1)}));
  EXPECT_EQ(copyEvents(), (Lines{kOpen, "exists? file:///a", "log Copy /a\n", "copy /a -> /media/p",
                                 "log Copy successful", "log done\n"}));
  EXPECT_TRUE(task->error());
}

TEST_F(TRFileCopyTaskWalkEndingTest, NothingIsFlushedOrCalledDone) {
  runAndStopAt("mkdir /media/p/d", roots({folderRoot("/s", {folder("/s/d", "d/")})}));
  EXPECT_EQ(copyEvents(), (Lines{kOpen, "log Copy /s/d\n", "exists? file:///s/d/",
                                 "mkdir /media/p/d", "log done\n"}));
  EXPECT_TRUE(task->error());
}

TEST_F(TRFileCopyTaskWalkEndingTest, FormatThatIsCutShortIsAnError) {
  ports.workers.stop();
  const auto collection = collectionFor(roots({fileRoot("/b", 1)}), {player});
  task = collection->tasks().at(0);
  run(collection);
  EXPECT_TRUE(task->error());
  EXPECT_EQ(ports.scripts.calls().size(), 0U);
}

}  // namespace
}  // namespace fillstation::test
