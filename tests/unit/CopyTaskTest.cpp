#include "CopyRig.h"

#include <limits>

// What a task is made of, and how it counts.

namespace fillstation::test {
namespace {

class TRFileCopyTaskTest : public CopyTest {
 protected:
  std::shared_ptr<TRPlayer> player = addDisk("sdb", "/media/p");
};

TEST_F(TRFileCopyTaskTest, NewTaskTakesItsArgumentsAndSumsTheRoots) {
  const auto list = roots({fileRoot("/a.mp3", 300), fileRoot("/b.mp3", 700)});
  const auto lock = std::make_shared<std::mutex>();
  const auto group = collectionFor(list, {});
  const auto task = std::make_shared<TRFileCopyTask>(player, list, lock, group);
  EXPECT_FALSE(task->error());
  EXPECT_EQ(task->player(), player);
  EXPECT_NE(task->files(), list);
  EXPECT_EQ(*task->files(), *list);
  EXPECT_EQ(task->totalSize(), 1000);
  EXPECT_EQ(task->currentSize(), 0);
  EXPECT_EQ(task->currentProgress(), 0);
  EXPECT_EQ(task->authRef(), nullptr);
  EXPECT_EQ(task->taskGroup(), group);
  EXPECT_EQ(TRFileCopyTask::sharedLocker(), lock);
}

TEST_F(TRFileCopyTaskTest, ListOfATaskIsItsOwn) {
  const auto list = roots({fileRoot("/a.mp3", 300)});
  const auto task = std::make_shared<TRFileCopyTask>(player, list, nullptr, nullptr);
  list->clear();
  EXPECT_EQ(task->files()->size(), 1U);
}

TEST_F(TRFileCopyTaskTest, RootWithoutASizeCountsAsZero) {
  const auto unknown = fileRoot("/a.mp3", 0);
  unknown->setSize(Number());
  const TRFileCopyTask task(player, roots({unknown, fileRoot("/b.mp3", 7)}), nullptr, nullptr);
  EXPECT_EQ(task.totalSize(), 7);
}

TEST_F(TRFileCopyTaskTest, WithoutAPlayerNothingOfTheTaskIsSet) {
  const auto list = roots({fileRoot("/a.mp3", 300)});
  const auto lock = std::make_shared<std::mutex>();
  const TRFileCopyTask task(nullptr, list, lock, collectionFor(list, {}));
  EXPECT_EQ(task.files(), nullptr);
  EXPECT_EQ(task.totalSize(), 0);
  EXPECT_EQ(task.taskGroup(), nullptr);
  EXPECT_NE(TRFileCopyTask::sharedLocker(), lock);
}

TEST_F(TRFileCopyTaskTest, WithoutAListNothingOfTheTaskIsSet) {
  const auto lock = std::make_shared<std::mutex>();
  const TRFileCopyTask task(player, nullptr, lock, collectionFor(roots(), {}));
  EXPECT_EQ(task.player(), nullptr);
  EXPECT_EQ(task.files(), nullptr);
  EXPECT_EQ(task.taskGroup(), nullptr);
  EXPECT_NE(TRFileCopyTask::sharedLocker(), lock);
}

TEST_F(TRFileCopyTaskTest, TaskMadeWithoutArgumentsHasNothing) {
  const TRFileCopyTask task;
  EXPECT_FALSE(task.error());
  EXPECT_EQ(task.player(), nullptr);
  EXPECT_EQ(task.files(), nullptr);
  EXPECT_EQ(task.totalSize(), 0);
  EXPECT_EQ(task.currentSize(), 0);
  EXPECT_EQ(task.currentProgress(), 0);
  EXPECT_EQ(task.authRef(), nullptr);
  EXPECT_EQ(task.taskGroup(), nullptr);
}

TEST_F(TRFileCopyTaskTest, EveryCreationAssignsTheFileManagerAgain) {
  TestVolumes other;
  const TRFileCopyTask first;
  EXPECT_EQ(TRFileCopyTask::filemgr(), &files);
  platform().fileManager = &other;
  EXPECT_EQ(TRFileCopyTask::filemgr(), &files);
  const TRFileCopyTask second;
  EXPECT_EQ(TRFileCopyTask::filemgr(), &other);
}

TEST_F(TRFileCopyTaskTest, EveryPropertyCanBeSet) {
  const auto task = std::make_shared<TRFileCopyTask>();
  const auto list = roots();
  const auto group = collectionFor(list, {});
  const auto handle = std::make_shared<int>(1);
  task->setError(true);
  task->setPlayer(player);
  task->setFiles(list);
  task->setTotalSize(1);
  task->setCurrentSize(2);
  task->setCurrentProgress(3);
  task->setAuthRef(handle);
  task->setTaskGroup(group);
  EXPECT_TRUE(task->error());
  EXPECT_EQ(task->player(), player);
  EXPECT_EQ(task->files(), list);
  EXPECT_EQ(task->totalSize(), 1);
  EXPECT_EQ(task->currentSize(), 2);
  EXPECT_EQ(task->currentProgress(), 3);
  EXPECT_EQ(task->authRef(), handle);
  EXPECT_EQ(task->taskGroup(), group);
}

TEST_F(TRFileCopyTaskTest, TwoFileRootsOf300And700BytesReport30And100) {
  const auto group = collectionFor(roots({fileRoot("/a", 300), fileRoot("/b", 700)}), {player});
  const auto task = group->tasks().at(0);
  task->updateProgressWith(300);
  EXPECT_EQ(task->currentSize(), 300);
  EXPECT_EQ(task->currentProgress(), 30);
  EXPECT_EQ(group->progress().value(), 30);
  task->updateProgressWith(700);
  EXPECT_EQ(task->currentSize(), 1000);
  EXPECT_EQ(task->currentProgress(), 100);
  EXPECT_EQ(group->progress().value(), 100);
}

TEST_F(TRFileCopyTaskTest, PercentageIsTruncated) {
  const auto task = std::make_shared<TRFileCopyTask>();
  task->setTotalSize(1000);
  task->updateProgressWith(999);
  EXPECT_EQ(task->currentProgress(), 99);
}

TEST_F(TRFileCopyTaskTest, PercentageOfTheLargestSizesIsExact) {
  constexpr std::int64_t kLargest = std::numeric_limits<std::int64_t>::max() - 1;
  const auto task = std::make_shared<TRFileCopyTask>();
  task->setTotalSize(kLargest);
  task->updateProgressWith(kLargest / 2 - 1);
  EXPECT_EQ(task->currentProgress(), 49);
  task->updateProgressWith(1);
  EXPECT_EQ(task->currentProgress(), 50);
  task->updateProgressWith(kLargest / 2);
  EXPECT_EQ(task->currentProgress(), 100);
}

TEST_F(TRFileCopyTaskTest, TotalOfZeroIsAHundredPercent) {
  const auto group = collectionFor(roots({fileRoot("/empty", 0)}), {player});
  const auto task = group->tasks().at(0);
  task->updateProgressWith(0);
  EXPECT_EQ(task->currentSize(), 0);
  EXPECT_EQ(task->currentProgress(), 100);
  EXPECT_EQ(group->progress().value(), 100);
}

TEST_F(TRFileCopyTaskTest, TotalOfOneByteIsCounted) {
  const auto task = std::make_shared<TRFileCopyTask>();
  task->setTotalSize(1);
  task->updateProgressWith(0);
  EXPECT_EQ(task->currentProgress(), 0);
}

}  // namespace
}  // namespace fillstation::test
