#include "operations/threads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>

namespace melos {
namespace {

TEST(RunOnThreads, EveryThreadRunsTheWorkTheCallerAmongThem) {
  std::mutex mutex;
  std::set<std::thread::id> ran;
  runOnThreads(4, [&] {
    std::lock_guard lock(mutex);
    ran.insert(std::this_thread::get_id());
  });
  EXPECT_EQ(ran.size(), 4u);
  EXPECT_TRUE(ran.contains(std::this_thread::get_id()));
}

TEST(RunOnThreads, AThrowOnTheCallerWaitsForTheOthersFirst) {
  const std::thread::id caller = std::this_thread::get_id();
  std::atomic<int> finished{0};
  EXPECT_THROW(runOnThreads(3,
                            [&] {
                              if (std::this_thread::get_id() == caller) throw std::runtime_error("stop");
                              std::this_thread::sleep_for(std::chrono::milliseconds(20));
                              ++finished;
                            }),
               std::runtime_error);
  EXPECT_EQ(finished, 2);
}

}  // namespace
}  // namespace melos
