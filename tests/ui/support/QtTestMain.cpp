// main() of every Qt test: the offscreen platform unless a display was asked
// for, one QApplication for the whole run, then GoogleTest.
#include <gtest/gtest.h>
#include <QApplication>

#include <cstdlib>

int main(int argc, char** argv) {
  if (std::getenv("QT_QPA_PLATFORM") == nullptr) setenv("QT_QPA_PLATFORM", "offscreen", 1);
  ::testing::InitGoogleTest(&argc, argv);
  QApplication app(argc, argv);
  return RUN_ALL_TESTS();
}
