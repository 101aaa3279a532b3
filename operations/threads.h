#pragma once
// Work shared out over several threads, the calling one among them.

#include <functional>
#include <thread>
#include <vector>

namespace melos {

// Runs `work` on `count` threads at once, the calling thread being one of
// them, and returns when every one has ended, also when the calling one
// throws. When the system gives fewer threads, those there are do the work.
inline void runOnThreads(int count, const std::function<void()>& work) {
  std::vector<std::thread> helpers;
  try {
    for (int i = 1; i < count; ++i) helpers.emplace_back(work);
  } catch (...) {
  }
  struct JoinAll {
    std::vector<std::thread>& threads;
    ~JoinAll() {
      for (std::thread& thread : threads) thread.join();
    }
  } joinAll{helpers};
  work();
}

}  // namespace melos
