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

TEST(ArrayController, HasNoListAtFirstAndMakesItWhenSomethingIsAdded) {
  Controller controller;
  EXPECT_EQ(controller.arrangedObjects(), nullptr);
  EXPECT_TRUE(controller.listed().empty());
  EXPECT_FALSE(controller.contains(*file("/a")));
  controller.objectsChanged();  // without an observer
  const auto a = file("/a");
  controller.addObject(a);
  ASSERT_NE(controller.arrangedObjects(), nullptr);
  EXPECT_EQ(*controller.arrangedObjects(), Controller::List{a});
}

TEST(ArrayController, ComparesByEqualityAndAppendsAlsoWhatIsEqual) {
  Controller controller;
  const auto first = file("/a");
  const auto second = file("/a");
  controller.setArrangedObjects({first});
  controller.addObject(second);
  EXPECT_EQ(controller.listed(), (Controller::List{first, second}));
  EXPECT_TRUE(controller.contains(*file("/a")));
  EXPECT_FALSE(controller.contains(*file("/b")));
}

TEST(ArrayController, RemovesEveryEqualObjectAndLeavesAListThatWasTaken) {
  Controller controller;
  const auto b = file("/b");
  controller.setArrangedObjects({file("/a"), b, file("/a")});
  const auto taken = controller.arrangedObjects();
  controller.removeObject(*file("/a"));
  EXPECT_EQ(controller.listed(), Controller::List{b});
  EXPECT_EQ(taken->size(), 3U);
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

}  // namespace
}  // namespace fillstation
