#include "engine/file_state.h"

#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <thread>
#include <utility>
#include <vector>

#include "engine/log.h"

namespace melos {

FileState recordFileState(const std::string& path) noexcept {
  FileState state;
  struct stat st;
  if (::stat(path.c_str(), &st) != 0) return state;
  state.valid = true;
  state.accessed = st.st_atim;
  state.modified = st.st_mtim;
  state.mode = st.st_mode & 07777;
  state.owner = st.st_uid;
  state.group = st.st_gid;
  return state;
}

bool restoreFileDates(const std::string& path, const FileState& state) noexcept {
  if (!state.valid) return false;
  const struct timespec times[2] = {state.accessed, state.modified};
  if (sys::utimensat(path.c_str(), times) == 0) return true;
  LogMessage(LogError, "Failed to restore the dates of the file '%s' (error: %s)", path.c_str(),
             errorText(errno).c_str());
  return false;
}

bool applyFileMode(int fd, const FileState& state) noexcept {
  if (!state.valid) return true;
  struct stat st;
  if (::fstat(fd, &st) != 0) return false;
  if (st.st_uid != state.owner || st.st_gid != state.group) {
    // Only root may give a file away, and then it must; anyone else keeps the
    // file as their own and tries the group, which may still be allowed.
    if (sys::fchown(fd, state.owner, state.group) != 0) {
      if (::geteuid() == 0) return false;
      (void)sys::fchown(fd, static_cast<uid_t>(-1), state.group);
    }
  }
  // After the owner: chown clears the set-id bits.
  return sys::fchmod(fd, state.mode) == 0;
}

std::string resolveTrackPath(const std::string& path) {
  struct stat st;
  if (::lstat(path.c_str(), &st) != 0 || !S_ISLNK(st.st_mode)) return path;
  char resolved[PATH_MAX];
  if (::realpath(path.c_str(), resolved) == nullptr) return path;
  return resolved;
}

namespace {

constexpr auto kLockPoll = std::chrono::milliseconds(20);
std::atomic<int> g_lockWait{kLockWaitMilliseconds};

// The files this thread holds a TrackLock on, by device and inode.
thread_local std::vector<std::pair<uint64_t, uint64_t>> t_held;

bool sameFile(const struct stat& a, const struct stat& b) { return a.st_dev == b.st_dev && a.st_ino == b.st_ino; }

bool heldHere(const struct stat& st) {
  return std::find(t_held.begin(), t_held.end(), std::pair<uint64_t, uint64_t>(st.st_dev, st.st_ino)) !=
         t_held.end();
}

// Opens the path and locks what it names, waiting for another holder; a file
// put in the place while we waited is opened again.
File openAndLock(const std::string& path, int flags) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(g_lockWait.load());
  for (;;) {
    File file(sys::open(path.c_str(), flags));
    if (!file.isOpen()) return file;
    struct stat opened, current;
    if (::fstat(file.fd(), &opened) == 0 && heldHere(opened)) return file;
    bool replaced = false;
    if (::flock(file.fd(), LOCK_EX | LOCK_NB) == 0) {
      if (::fstat(file.fd(), &opened) == 0 && ::stat(path.c_str(), &current) == 0 && sameFile(opened, current))
        return file;
      replaced = true;  // the holder put a new file in this place: that one is to be locked
    } else if (errno != EWOULDBLOCK && errno != EINTR) {
      const int error = errno;
      file.close();
      errno = error;
      return file;
    }
    file.close();
    if (std::chrono::steady_clock::now() >= deadline) {
      errno = EWOULDBLOCK;
      return File();
    }
    if (!replaced) std::this_thread::sleep_for(kLockPoll);
  }
}

}  // namespace

void setLockWaitForTesting(int milliseconds) noexcept { g_lockWait = milliseconds; }

TrackLock::TrackLock(TrackLock&& other) noexcept
    : file_(std::move(other.file_)), device_(other.device_), inode_(other.inode_) {}

TrackLock::~TrackLock() {
  if (!file_.isOpen()) return;
  auto held = std::find(t_held.begin(), t_held.end(), std::pair<uint64_t, uint64_t>(device_, inode_));
  if (held != t_held.end()) t_held.erase(held);
}

TrackLock TrackLock::acquire(const std::string& path) noexcept {
  TrackLock lock;
  try {
    lock.file_ = openAndLock(path, O_RDONLY);
    struct stat st;
    if (!lock.file_.isOpen() || ::fstat(lock.file_.fd(), &st) != 0) {
      const int error = errno;
      lock.file_.close();
      if (error == EWOULDBLOCK) logLockHeld(path);
      else LogMessage(LogError, "Failed to open the file '%s' (error: %s)", path.c_str(), errorText(error).c_str());
      errno = error;
      return lock;
    }
    lock.device_ = st.st_dev;
    lock.inode_ = st.st_ino;
    t_held.emplace_back(lock.device_, lock.inode_);
  } catch (...) {
    lock.file_.close();
    errno = ENOMEM;
  }
  return lock;
}

File openLocked(const std::string& path, int flags) noexcept {
  try {
    return openAndLock(path, flags);
  } catch (...) {
    errno = ENOMEM;
    return File();
  }
}

bool readWhole(const ID3Tag& track) noexcept {
  if (track.readError == 0) return true;
  LogMessage(LogError, "Failed to read the file '%s' whole (error: %s); it was left alone", track.path().c_str(),
             errorText(track.readError).c_str());
  return false;
}

void logLockHeld(const std::string& path) noexcept {
  LogMessage(LogError, "The file '%s' is being saved by another task; it was left alone", path.c_str());
}

}  // namespace melos
