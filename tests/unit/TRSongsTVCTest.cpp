#include "TRSongsTVC.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace fillstation::test {
namespace {

// Counts its reloads and keeps the total that each of them found.
class CountingTable : public TableView {
 public:
  explicit CountingTable(const TRSongsTVC& list) : list_(list) {}
  void reloadData() override { totals.push_back(list_.totalFileSize().value()); }
  std::vector<std::int64_t> totals;

 private:
  const TRSongsTVC& list_;
};

std::shared_ptr<TRFile> root(const std::string& name, Number size) {
  auto file = std::make_shared<TRFile>();
  file->setName(name);
  file->setSize(std::move(size));
  return file;
}

class TRSongsTVCTest : public testing::Test {
 protected:
  TRSongsTVCTest() {
    list.setTblView(table);
    for (const auto& [name, size] :
         {std::pair("a", 1), std::pair("b", 20), std::pair("c", 300), std::pair("d", 4000)}) {
      list.addTRFile(root(name, Number(size)));
    }
    table->totals.clear();
  }

  std::string names() const {
    std::string all;
    for (const auto& file : *list.list()) {
      all += file->name().value_or("?");
    }
    return all;
  }

  TRSongsTVC list;
  std::shared_ptr<CountingTable> table = std::make_shared<CountingTable>(list);
};

TEST(TRSongsTVC, CountsEachRootOfAListWithoutATable) {
  TRSongsTVC list;
  EXPECT_EQ(list.numberOfRowsInTableView(nullptr), 0U);
  EXPECT_EQ(textOf(list.totalFileSize()), "0");
  EXPECT_EQ(list.tblView(), nullptr);
  const auto file = root("a", Number(5));
  list.addTRFile(file);
  list.addTRFile(file);
  list.addTRFile(root("b", Number()));
  EXPECT_EQ(list.numberOfRowsInTableView(nullptr), 3U);
  EXPECT_EQ(list.totalFileSize().value(), 10);
}

TEST_F(TRSongsTVCTest, RemovingIndexesLeavesTheOtherRowsInTheirOrder) {
  EXPECT_EQ(names(), "abcd");
  list.removeTRFileAt(2);
  EXPECT_EQ(names(), "abd");
  list.addTRFile(root("e", Number(50000)));
  list.removeTRFiles({0, 2});
  EXPECT_EQ(names(), "be");
  EXPECT_EQ(list.totalFileSize().value(), 50020);
  list.removeTRFiles({});
  EXPECT_EQ(names(), "be");
  list.removeTRFiles({0, 1});
  EXPECT_EQ(names(), "");
  EXPECT_EQ(table->totals, (std::vector<std::int64_t>{4021, 54021, 50020, 50020, 0}));
}

TEST_F(TRSongsTVCTest, IndexOutOfRangeThrowsAndChangesNothing) {
  EXPECT_THROW(list.removeTRFileAt(4), std::out_of_range);
  EXPECT_THROW(list.removeTRFiles({0, 4}), std::out_of_range);
  EXPECT_THROW(list.removeTRFiles({0, 99}), std::out_of_range);
  EXPECT_EQ(names(), "abcd");
  EXPECT_TRUE(table->totals.empty());
}

TEST_F(TRSongsTVCTest, CellIsTheFieldNamedByTheColumn) {
  EXPECT_EQ(std::get<std::string>(list.tableView(table.get(), "name", 1)), "b");
  EXPECT_EQ(std::get<Number>(list.tableView(nullptr, "size", 3)).value(), 4000);
}

TEST_F(TRSongsTVCTest, CellThatDoesNotExistThrows) {
  EXPECT_THROW(list.tableView(nullptr, "name", 4), std::out_of_range);
  EXPECT_THROW(list.tableView(nullptr, "name", -1), std::out_of_range);
  EXPECT_THROW(list.tableView(nullptr, "title", 0), std::out_of_range);
}

TEST_F(TRSongsTVCTest, ChangeMadeToTheListItselfCountsFromTheNextRefreshInANewBox) {
  const Number before = list.totalFileSize();
  list.refresh();
  EXPECT_EQ(list.totalFileSize().value(), 4321);
  EXPECT_FALSE(list.totalFileSize().isSame(before));
  list.list()->push_back(root("e", Number(50000)));
  EXPECT_EQ(list.totalFileSize().value(), 4321);
  list.refresh();
  EXPECT_EQ(list.totalFileSize().value(), 54321);
}

TEST_F(TRSongsTVCTest, FieldsKeepTheirValues) {
  const auto other = std::make_shared<TRFileList>();
  const Number total(9);
  list.setList(other);
  list.setTotalFileSize(total);
  EXPECT_EQ(list.list(), other);
  EXPECT_TRUE(list.totalFileSize().isSame(total));
  EXPECT_EQ(list.tblView(), table);
}

}  // namespace
}  // namespace fillstation::test
