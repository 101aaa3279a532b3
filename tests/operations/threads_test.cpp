// Work shared over threads: each thread runs it, and a throw waits for the rest.

#include "operations/threads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>

namespace melos {

TEST(RunOnThreads, EveryThreadRunsTheWorkAndAThrowOnTheCallerWaitsForTheOthers) {
  const std::thread::id caller = std::this_thread::get_id();
  std::mutex mutex;
  std::set<std::thread::id> ran;
  std::atomic<int> finished{0};
  EXPECT_THROW(runOnThreads(4,
                            [&] {
                              const std::lock_guard lock(mutex);
                              ran.insert(std::this_thread::get_id());
                              if (std::this_thread::get_id() == caller) throw std::runtime_error("stop");
                              std::this_thread::sleep_for(std::chrono::milliseconds(20));
                              ++finished;
                            }),
               std::runtime_error);
  EXPECT_EQ(std::tuple(ran.size(), ran.contains(caller), finished.load()), std::tuple(4u, true, 3));
}

}  // namespace melos
