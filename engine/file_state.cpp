#include "engine/file_state.h"

#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>

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

File openLocked(const std::string& path, int flags) noexcept {
  for (int attempt = 0; attempt < 3; ++attempt) {
    File file(sys::open(path.c_str(), flags));
    if (!file.isOpen()) return file;
    if (::flock(file.fd(), LOCK_EX | LOCK_NB) != 0) {
      int error = errno == EINTR ? EWOULDBLOCK : errno;
      file.close();
      errno = error;
      return file;
    }
    // The save that held the lock may have put a new file in this place.
    struct stat opened, current;
    if (::fstat(file.fd(), &opened) == 0 && ::stat(path.c_str(), &current) == 0 &&
        opened.st_dev == current.st_dev && opened.st_ino == current.st_ino)
      return file;
  }
  errno = EWOULDBLOCK;
  return File();
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
