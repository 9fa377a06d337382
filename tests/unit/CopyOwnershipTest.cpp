#include "CopyRig.h"

// Who keeps whom alive.

namespace fillstation::test {
namespace {

class CopyOwnershipTest : public CopyTest {
 protected:
  std::shared_ptr<TRFileCopyTask> alone(const std::shared_ptr<TRFileCopyTaskCollection>& group) {
    return std::make_shared<TRFileCopyTask>(player, roots(), nullptr, group);
  }

  std::shared_ptr<TRPlayer> player = addDisk("sdb", "/media/p");
  std::shared_ptr<TRFileCopyTaskCollection> collection = collectionFor(roots(), {});
  std::weak_ptr<TRFileCopyTaskCollection> watched = collection;
};

TEST_F(CopyOwnershipTest, TaskThatIsHeldKeepsItsCollectionAlive) {
  collection->addPlayer(player);
  auto task = collection->tasks().at(0);
  collection.reset();
  ASSERT_NE(task->taskGroup(), nullptr);
  EXPECT_EQ(task->taskGroup()->userName(), "admin");
  EXPECT_EQ(task->taskGroup()->tasks().at(0), task);
  task.reset();
  EXPECT_TRUE(watched.expired());
}

TEST_F(CopyOwnershipTest, CollectionKeepsATaskThatNobodyElseHolds) {
  collection->addPlayer(player);
  collection->tasks().at(0)->setTotalSize(5);
  EXPECT_EQ(collection->tasks().at(0)->totalSize(), 5);
  const std::weak_ptr<TRPlayer> watchedPlayer = player;
  player.reset();
  EXPECT_FALSE(watchedPlayer.expired());
  collection.reset();
  EXPECT_TRUE(watched.expired());
  EXPECT_TRUE(watchedPlayer.expired());
}

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

TEST_F(CopyOwnershipTest, TaskMadeAloneHoldsItsCollection) {
  auto task = alone(collection);
  collection.reset();
  EXPECT_EQ(task->taskGroup(), watched.lock());
  EXPECT_FALSE(watched.expired());
  task.reset();
  EXPECT_TRUE(watched.expired());
}

TEST_F(CopyOwnershipTest, TaskMadeAloneAndThenListedIsNoCycle) {
  auto task = alone(collection);
  collection->setTasks({task});
  EXPECT_EQ(collection->tasks().at(0), task);
  EXPECT_EQ(task->taskGroup(), collection);
  task = collection->tasks().at(0);
  collection.reset();
  EXPECT_NE(task->taskGroup(), nullptr);
  task.reset();
  EXPECT_TRUE(watched.expired());
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
