#include "FatCheck.h"

#include <gtest/gtest.h>

#include <tuple>

namespace fillstation {
namespace {

struct Node {
  std::string path;
  bool isDirectory = false;
  std::int64_t size = 1;
};

std::shared_ptr<TRFile> rootOf(const std::vector<Node>& nodes) {
  auto files = std::make_shared<TRFileList>();
  for (const auto& node : nodes) {
    files->push_back(std::make_shared<TRFile>());
    files->back()->setIsDir(node.isDirectory);
    files->back()->setSize(Number(node.size));
    files->back()->setDestRelativeUrl(
        Url::withString(Url::fromPath("/" + node.path, node.isDirectory)
                            .absoluteString()
                            .substr(std::string("file:///").size())));
  }
  auto root = std::make_shared<TRFile>();
  root->setIsDir(true);
  root->setFiles(files);
  return root;
}

using Refused = std::vector<std::tuple<std::size_t, std::string, FatReason>>;

Refused refused(const TRFileList& roots) {
  Refused all;
  for (const auto& each : refusedByFat(roots, [] { return false; })) {
    all.emplace_back(each.root, each.path, each.reason);
  }
  return all;
}

TEST(FatCheck, ASetThatFatTakesHasNoRefusal) {
  const auto root = rootOf({{"A", true}, {"A/1.mp3"}, {"A/B", true}, {"A/B/1.mp3"}, {"1.mp3"}});
  EXPECT_EQ(refused({root}), Refused());
  EXPECT_EQ(refused({std::make_shared<TRFile>()}), Refused());
}

TEST(FatCheck, AFolderThatIsRefusedTakesEverythingInItWithIt) {
  const auto root = rootOf({{"A?", true}, {"A?/1.mp3"}, {"A?/B", true}, {"b", false, 1}});
  EXPECT_EQ(refused({root}), (Refused{{0, "A?", FatReason::kName},
                                      {0, "A?/1.mp3", FatReason::kName},
                                      {0, "A?/B", FatReason::kName}}));
}

TEST(FatCheck, FoldersMergeAndFilesDoNot) {
  const auto one = rootOf({{"A", true}, {"A/1.mp3"}, {"x"}});
  const auto other = rootOf({{"a", true}, {"a/1.MP3"}, {"a/2.mp3"}, {"X", true}, {"X/1"}});
  EXPECT_EQ(refused({one, other}), (Refused{{1, "a/1.MP3", FatReason::kSamePlace},
                                            {1, "X", FatReason::kSamePlace},
                                            {1, "X/1", FatReason::kSamePlace}}));
}

TEST(FatCheck, FourGibibytesAreTooMany) {
  const std::int64_t most = 0xFFFFFFFF;
  EXPECT_EQ(refused({rootOf({{"a", false, most}, {"b", false, most + 1}})}),
            (Refused{{0, "b", FatReason::kTooLarge}}));
}

TEST(FatCheck, AFolderHasALimitOfSlots) {
  std::vector<Node> nodes{{"A", true}};
  for (int number = 0; number < 65533; ++number) {
    nodes.push_back({"A/F" + std::to_string(number)});
  }
  nodes.push_back({"A/ONE"});
  nodes.push_back({"ONE"});
  EXPECT_EQ(refused({rootOf(nodes)}), (Refused{{0, "A/ONE", FatReason::kTooMany}}));
}

TEST(FatCheck, StopsOnRequest) {
  int asked = 0;
  EXPECT_EQ(refusedByFat({rootOf({{"a?"}, {"b?"}})}, [&] { return ++asked > 1; }).size(), 1U);
}

}  // namespace
}  // namespace fillstation
