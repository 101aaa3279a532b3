#pragma once
// Work shared out over several threads, and what the programs set up so that
// reading many files on them stays fast and leaves the windows responsive.

#include <functional>

namespace melos {

// Runs `work` on `count` threads at once, the calling thread being one of
// them, and returns when every one has ended, also when the calling one
// throws. When the system gives fewer threads, those there are do the work.
void runOnThreads(int count, const std::function<void()>& work);

// Background work (reading a folder, a group update) yields to the thread
// that draws the windows: on a busy machine with few cores, workers at the
// same priority make the windows stutter. Linux gives each thread its own
// nice value; elsewhere this does nothing.
void lowerCurrentThreadPriority() noexcept;

// Reading a folder goes file after file, each with tag buffers the size of its
// pictures. Left to its defaults the allocator hands that memory back to the
// system after every file and takes it again, page fault by page fault, for
// the next: that doubles the time a file takes. Keeping it costs a few
// megabytes. Called once, at the start of each program.
void keepFreedMemoryForReuse() noexcept;

}  // namespace melos
