#include "CopyRig.h"

#include <limits>
#include <tuple>

// The fields of a task, its counting, and its ownership.

namespace fillstation::test {
namespace {

// A task's error, player, list, three figures, handle and collection.
using Properties = std::tuple<bool, std::shared_ptr<TRPlayer>, std::shared_ptr<TRFileList>,
                              std::int64_t, std::int64_t, std::int64_t, std::shared_ptr<void>,
                              std::shared_ptr<TRFileCopyTaskCollection>>;
Properties propertiesOf(const TRFileCopyTask& task) {
  return {task.error(),       task.player(),          task.files(),   task.totalSize(),
          task.currentSize(), task.currentProgress(), task.authRef(), task.taskGroup()};
}

class TRFileCopyTaskTest : public CopyTest {
 protected:
  std::shared_ptr<TRPlayer> player = addDisk("sdb", "/media/p");
};

TEST_F(TRFileCopyTaskTest, NewTaskTakesItsArgumentsAndSumsTheRoots) {
  const auto list = roots({fileRoot("/a.mp3", 300), fileRoot("/b.mp3", 700)});
  const auto lock = std::make_shared<std::mutex>();
  const auto group = collectionFor(list, {});
  const auto task = std::make_shared<TRFileCopyTask>(player, list, lock, group);
  EXPECT_EQ(propertiesOf(*task),
            Properties(false, player, task->files(), 1000, 0, 0, nullptr, group));
  EXPECT_NE(task->files(), list);
  EXPECT_EQ(*task->files(), *list);
  EXPECT_EQ(TRFileCopyTask::sharedLocker(), lock);
}

TEST_F(TRFileCopyTaskTest, ListOfATaskIsItsOwnAndARootWithoutASizeCountsAsZero) {
  const auto unknown = fileRoot("/a.mp3", 0);
  unknown->setSize(Number());
  const auto list = roots({unknown, fileRoot("/b.mp3", 7)});
  const auto task = std::make_shared<TRFileCopyTask>(player, list, nullptr, nullptr);
  list->clear();
  EXPECT_EQ(task->files()->size(), 2U);
  EXPECT_EQ(task->totalSize(), 7);
}

TEST_F(TRFileCopyTaskTest, WithoutAPlayerOrAListNothingOfTheTaskIsSet) {
  const auto list = roots({fileRoot("/a.mp3", 300)});
  const auto lock = std::make_shared<std::mutex>();
  const auto group = collectionFor(list, {});
  for (const auto& task : {std::make_shared<TRFileCopyTask>(nullptr, list, lock, group),
                           std::make_shared<TRFileCopyTask>(player, nullptr, lock, group),
                           std::make_shared<TRFileCopyTask>()}) {
    EXPECT_EQ(propertiesOf(*task), Properties(false, nullptr, nullptr, 0, 0, 0, nullptr, nullptr));
  }
  EXPECT_NE(TRFileCopyTask::sharedLocker(), lock);
}

TEST_F(TRFileCopyTaskTest, EveryCreationAssignsTheFileManagerAgain) {
  TestFileManager other;
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
  EXPECT_EQ(propertiesOf(*task), Properties(true, player, list, 1, 2, 3, handle, group));
}

TEST_F(TRFileCopyTaskTest, PercentageIsExactAndTruncatedAndOfNothingAHundred) {
  constexpr std::int64_t kLargest = std::numeric_limits<std::int64_t>::max() - 1;
  struct Case {
    std::int64_t total;
    std::int64_t done;
    std::int64_t percent;
  };
  for (const auto& each :
       {Case{1000, 999, 99}, Case{kLargest, kLargest / 2 - 1, 49}, Case{kLargest, kLargest / 2, 50},
        Case{kLargest, kLargest, 100}, Case{1, 0, 0}, Case{0, 0, 100}}) {
    TRFileCopyTask task;
    task.setTotalSize(each.total);
    task.updateProgressWith(each.done);
    EXPECT_EQ(task.currentSize(), each.done);
    EXPECT_EQ(task.currentProgress(), each.percent) << each.total;
  }
}

// Ownership of tasks and collections.
class CopyOwnershipTest : public CopyTest {
 protected:
  std::shared_ptr<TRFileCopyTask> alone(const std::shared_ptr<TRFileCopyTaskCollection>& group) {
    return std::make_shared<TRFileCopyTask>(player, roots(), nullptr, group);
  }

  std::shared_ptr<TRPlayer> player = addDisk("sdb", "/media/p");
  std::shared_ptr<TRFileCopyTaskCollection> collection = collectionFor(roots(), {});
  std::weak_ptr<TRFileCopyTaskCollection> watched = collection;
};

TEST_F(CopyOwnershipTest, CollectionSetToItsOwnTasksIsNoCycle) {
  collection->addPlayer(player);
  collection->addPlayer(nullptr);
  auto before = collection->tasks();
  collection->setTasks(before);
  EXPECT_EQ(collection->tasks(), before);
  before.clear();
  collection.reset();
  EXPECT_TRUE(watched.expired());
}

TEST_F(CopyOwnershipTest, TaskOutlivesItsRemovalFromTheListTogetherWithTheCollection) {
  collection->addPlayer(player);
  auto task = collection->tasks().at(0);
  collection->setTasks({});
  EXPECT_TRUE(collection->tasks().empty());
  collection.reset();
  EXPECT_EQ(task->player(), player);
  EXPECT_EQ(task->taskGroup(), watched.lock());
  EXPECT_NE(task->taskGroup(), nullptr);
  task.reset();
  EXPECT_TRUE(watched.expired());
}

TEST_F(CopyOwnershipTest, TaskMadeAloneHoldsItsCollectionAndListedThenIsNoCycle) {
  auto task = alone(collection);
  collection.reset();
  ASSERT_NE(task->taskGroup(), nullptr);
  task->taskGroup()->setTasks({task});
  EXPECT_EQ(watched.lock(), nullptr) << "the task itself no longer holds it";
}

TEST_F(CopyOwnershipTest, ListedTaskThatGetsItsCollectionLaterIsNoCycle) {
  auto task = alone(nullptr);
  collection->setTasks({alone(nullptr), task});
  task->setTaskGroup(collection);
  EXPECT_EQ(task->taskGroup(), collection);
  task.reset();
  collection.reset();
  EXPECT_TRUE(watched.expired());
}

TEST_F(CopyOwnershipTest, UnlistedTaskHoldsTheCollectionThatItIsGivenUntilAnotherIsSet) {
  const auto task = alone(nullptr);
  collection->addPlayer(player);
  EXPECT_EQ(task->taskGroup(), nullptr);
  task->setTaskGroup(collection);
  collection.reset();
  EXPECT_NE(task->taskGroup(), nullptr);
  task->setTaskGroup(nullptr);
  EXPECT_EQ(task->taskGroup(), nullptr);
  EXPECT_TRUE(watched.expired());
}

TEST_F(CopyOwnershipTest, TaskOfAnotherCollectionKeepsThatOneAlive) {
  collection->addPlayer(player);
  auto other = collectionFor(roots(), {});
  const std::weak_ptr<TRFileCopyTaskCollection> watchedOther = other;
  other->setTasks(collection->tasks());
  collection.reset();
  EXPECT_EQ(other->tasks().at(0)->taskGroup(), watched.lock());
  EXPECT_FALSE(watched.expired());
  other.reset();
  EXPECT_TRUE(watched.expired());
  EXPECT_TRUE(watchedOther.expired());
}

}  // namespace
}  // namespace fillstation::test
