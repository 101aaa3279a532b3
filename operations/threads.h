#pragma once
// Work shared out over several threads, the calling one among them.

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <functional>
#include <thread>
#include <vector>

namespace melos {

// Runs `work` on `count` threads at once, the calling thread being one of
// them, and returns when every one has ended, also when the calling one
// throws. When the system gives fewer threads, those there are do the work.
// Background work (reading a folder, a group update) yields to the thread
// that draws the windows: on a busy machine with few cores, workers at the
// same priority make the windows stutter. Linux gives each thread its own
// nice value; elsewhere this does nothing.
inline void lowerCurrentThreadPriority() noexcept {
#ifdef __linux__
  constexpr int kBackgroundNice = 10;
  const auto thread = static_cast<id_t>(syscall(SYS_gettid));
  setpriority(PRIO_PROCESS, thread, kBackgroundNice);
#endif
}

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
