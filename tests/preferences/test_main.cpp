// Every test runs with Qt's test paths, so that nothing can reach the user's
// real settings even by way of the default settings location.

#include <gtest/gtest.h>

#include <QStandardPaths>

int main(int argc, char** argv) {
  QStandardPaths::setTestModeEnabled(true);
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
