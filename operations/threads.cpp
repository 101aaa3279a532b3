#include "operations/threads.h"

#include <malloc.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <thread>
#include <vector>

namespace melos {

void runOnThreads(int count, const std::function<void()>& work) {
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

void lowerCurrentThreadPriority() noexcept {
#ifdef __linux__
  constexpr int kBackgroundNice = 10;
  const auto thread = static_cast<id_t>(syscall(SYS_gettid));
  setpriority(PRIO_PROCESS, thread, kBackgroundNice);
#endif
}

void keepFreedMemoryForReuse() noexcept {
#ifdef __GLIBC__
  mallopt(M_MMAP_THRESHOLD, 32 << 20);
  mallopt(M_TRIM_THRESHOLD, 64 << 20);
#endif
}

}  // namespace melos
