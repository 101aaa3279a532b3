#pragma once
// Work shared out over several threads, the calling one among them, and what
// the programs set up so that reading many files on them stays fast.

#include <malloc.h>
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

// Reading a folder goes file after file, each with tag buffers the size of its
// pictures. Left to its defaults the allocator hands that memory back to the
// system after every file and takes it again, page fault by page fault, for
// the next: that doubles the time a file takes. Keeping it costs a few
// megabytes. Called once, at the start of each program.
inline void keepFreedMemoryForReuse() noexcept {
#ifdef __GLIBC__
  mallopt(M_MMAP_THRESHOLD, 32 << 20);
  mallopt(M_TRIM_THRESHOLD, 64 << 20);
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
