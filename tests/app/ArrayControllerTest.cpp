#include "ArrayController.h"

#include <gtest/gtest.h>

#include "TRFile.h"

namespace fillstation {
namespace {

std::shared_ptr<TRFile> file(const std::string& path) {
  auto made = std::make_shared<TRFile>();
  made->setPath(path);
  return made;
}

using Controller = ArrayController<TRFile>;

TEST(ArrayController, HasNoListAtFirst) {
  const Controller controller;
  EXPECT_EQ(controller.arrangedObjects(), nullptr);
  EXPECT_TRUE(controller.listed().empty());
  EXPECT_FALSE(controller.contains(*file("/a")));
}

TEST(ArrayController, MakesTheListWhenSomethingIsAdded) {
  Controller controller;
  const auto a = file("/a");
  controller.addObject(a);
  ASSERT_NE(controller.arrangedObjects(), nullptr);
  EXPECT_EQ(*controller.arrangedObjects(), Controller::List{a});
}

TEST(ArrayController, AppendsAlsoWhatIsEqual) {
  Controller controller;
  const auto first = file("/a");
  const auto second = file("/a");
  controller.setArrangedObjects({first});
  controller.addObject(second);
  EXPECT_EQ(controller.listed(), (Controller::List{first, second}));
}

TEST(ArrayController, ComparesByEquality) {
  Controller controller;
  controller.addObject(file("/a"));
  EXPECT_TRUE(controller.contains(*file("/a")));
  EXPECT_FALSE(controller.contains(*file("/b")));
}

TEST(ArrayController, RemovesEveryEqualObjectAndNoOther) {
  Controller controller;
  const auto b = file("/b");
  controller.setArrangedObjects({file("/a"), b, file("/a")});
  controller.removeObject(*file("/a"));
  EXPECT_EQ(controller.listed(), Controller::List{b});
}

TEST(ArrayController, LeavesAListThatWasTakenAsItWas) {
  Controller controller;
  const auto a = file("/a");
  controller.addObject(a);
  const auto taken = controller.arrangedObjects();
  controller.removeObject(*a);
  controller.addObject(file("/b"));
  EXPECT_EQ(*taken, Controller::List{a});
}

TEST(ArrayController, TellsItsObserverOfEachChangeAfterwards) {
  Controller controller;
  std::vector<std::size_t> sizes;
  controller.setObserver([&] { sizes.push_back(controller.listed().size()); });
  controller.setArrangedObjects({});
  controller.addObject(file("/a"));
  controller.objectsChanged();
  controller.removeObject(*file("/a"));
  EXPECT_EQ(sizes, (std::vector<std::size_t>{0, 1, 1, 0}));
}

TEST(ArrayController, NeedsNoObserver) {
  const Controller controller;
  controller.objectsChanged();
}

}  // namespace
}  // namespace fillstation
