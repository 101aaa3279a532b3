// Work shared over threads: each thread runs it, and a throw waits for the rest.

#include "operations/threads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <set>
#include <stdexcept>

namespace melos {

TEST(RunOnThreads, EveryThreadRunsTheWorkAndAThrowOnTheCallerWaitsForTheOthers) {
  const std::thread::id caller = std::this_thread::get_id();
  std::mutex mutex;
  std::set<std::thread::id> ran;
  runOnThreads(4, [&] { const std::lock_guard lock(mutex); ran.insert(std::this_thread::get_id()); });
  EXPECT_EQ(ran.size(), 4u);
  EXPECT_TRUE(ran.contains(caller));
  std::atomic<int> finished{0};
  const auto work = [&] {
    if (std::this_thread::get_id() == caller) throw std::runtime_error("stop");
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    ++finished;
  };
  EXPECT_THROW(runOnThreads(3, work), std::runtime_error);
  EXPECT_EQ(finished, 2);
}

}  // namespace melos
