#include <gtest/gtest.h>

#include <QCoreApplication>

#include "MockMachine.h"

int main(int argc, char** argv) {
  fillstation::test::preloadMockUdev(argv);
  testing::InitGoogleTest(&argc, argv);
  const QCoreApplication application(argc, argv);
  return RUN_ALL_TESTS();
}
