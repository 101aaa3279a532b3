#pragma once
// What a rewrite must carry over from the original file: its dates, its mode
// and owner; and the lock that keeps two saves of one file apart.

#include <sys/stat.h>

#include <string>

#include "engine/file_io.h"
#include "engine/id3_tag.h"

namespace melos {

struct FileState {
  bool valid = false;
  struct timespec accessed {};
  struct timespec modified {};
  mode_t mode = 0;
  uid_t owner = 0;
  gid_t group = 0;
};

FileState recordFileState(const std::string& path) noexcept;
// Access and modification times to the nanosecond; failures are logged.
bool restoreFileDates(const std::string& path, const FileState& state) noexcept;
// The permission bits, and the owner where the process may set it. False
// (errno tells why) when the bits, or an owner that root must be able to
// give, could not be set: the copy would not be as accessible as the original.
bool applyFileMode(int fd, const FileState& state) noexcept;

// The file a symbolic link points at, so that a save rewrites the target and
// keeps the link; other paths are returned as they are.
std::string resolveTrackPath(const std::string& path);

// How long a save waits for another save of the same file to end.
inline constexpr int kLockWaitMilliseconds = 10000;
// For tests that check the refusal without waiting the whole time.
void setLockWaitForTesting(int milliseconds) noexcept;

// A save's hold on one file, taken before the track is read so that what it
// rewrites is what it read: another save of the same file, in this process or
// another, waits until the hold ends. The path is checked to name the locked
// file once the lock is had (the other save may have put a new file there),
// and the engine's own saves on this thread pass through the hold.
class TrackLock {
 public:
  TrackLock() noexcept = default;
  TrackLock(TrackLock&& other) noexcept;
  TrackLock& operator=(TrackLock&&) = delete;
  TrackLock(const TrackLock&) = delete;
  ~TrackLock();

  // Waits up to the lock wait; not held on failure (logged), errno
  // EWOULDBLOCK when another save kept the file the whole time.
  static TrackLock acquire(const std::string& path) noexcept;
  bool isHeld() const noexcept { return file_.isOpen(); }

 private:
  File file_;
  uint64_t device_ = 0;
  uint64_t inode_ = 0;
};

// Opens the track and takes an exclusive advisory lock on it for as long as the
// File stays open, unless this thread already holds a TrackLock on the file.
// Another save of the same file is waited for, up to the lock wait; then the
// result is closed with errno EWOULDBLOCK. A file replaced while we waited is
// opened again.
File openLocked(const std::string& path, int flags) noexcept;

// False, with a line in the log, for a track whose last open met a read
// error: a save from it would write what could not be read as missing.
bool readWhole(const ID3Tag& track) noexcept;

// The line every operation logs when the lock is held.
void logLockHeld(const std::string& path) noexcept;

}  // namespace melos
