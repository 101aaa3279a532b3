#pragma once
// Every file operation of the engine goes through these wrappers, so that tests
// can make the n-th call of an operation fail. Without an injector installed a
// wrapper costs one relaxed atomic load.

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <string>

#include "engine/bytes.h"

namespace melos {

enum class FileOp { Open, Read, Write, Fsync, Rename, Unlink, Truncate, Utimensat, Link, Chmod };

// Returns an errno value to make the call fail, or 0 to let it run.
class FaultInjector {
 public:
  virtual ~FaultInjector() = default;
  virtual int failure(FileOp op) noexcept = 0;
};

void setFaultInjector(FaultInjector* injector) noexcept;

namespace sys {
int open(const char* path, int flags, mode_t mode = 0) noexcept;
ssize_t read(int fd, void* buffer, size_t size) noexcept;
ssize_t pread(int fd, void* buffer, size_t size, off_t offset) noexcept;
ssize_t write(int fd, const void* buffer, size_t size) noexcept;
ssize_t pwrite(int fd, const void* buffer, size_t size, off_t offset) noexcept;
// Counts as a write for the injector: it is the output that matters.
ssize_t copyFileRange(int from, off_t* fromOffset, int to, off_t* toOffset, size_t size) noexcept;
int fsync(int fd) noexcept;
int rename(const char* from, const char* to) noexcept;
int unlink(const char* path) noexcept;
int link(const char* from, const char* to) noexcept;
int ftruncate(int fd, off_t length) noexcept;
int truncate(const char* path, off_t length) noexcept;
int utimensat(const char* path, const struct timespec times[2]) noexcept;
// Both count as Chmod for the injector: they give the file its access.
int fchmod(int fd, mode_t mode) noexcept;
int fchown(int fd, uid_t owner, gid_t group) noexcept;
}  // namespace sys

// A move-only open file that closes on every path.
class File {
 public:
  File() noexcept = default;
  explicit File(int fd) noexcept : fd_(fd) {}
  File(File&& other) noexcept : fd_(other.fd_) { other.fd_ = -1; }
  File& operator=(File&& other) noexcept;
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  ~File() { close(); }

  // On failure the File is closed and errno tells why.
  static File openRead(const std::string& path) noexcept;
  static File openReadWrite(const std::string& path) noexcept;

  bool isOpen() const noexcept { return fd_ >= 0; }
  int fd() const noexcept { return fd_; }
  void close() noexcept;

  // Size from the open file; -1 on failure.
  int64_t size() const noexcept;
  // Reads up to buffer.size() bytes at offset, retrying short reads; returns the
  // count read (less at the end of the file), or -1 on an error.
  int64_t readAt(uint64_t offset, std::span<uint8_t> buffer) const noexcept;
  bool readExactAt(uint64_t offset, std::span<uint8_t> buffer) const noexcept;
  // Writes the bytes at offset, retrying short writes; returns the count
  // written, less than asked only on a failure (errno tells why).
  int64_t writeAt(uint64_t offset, ByteSpan bytes) const noexcept;

 private:
  int fd_ = -1;
};

// Buffered forward reading with seeks, for the byte-at-a-time scans.
class BufferedReader {
 public:
  static constexpr size_t kBufferSize = 65536;

  explicit BufferedReader(const File& file, uint64_t position = 0) noexcept;
  uint64_t tell() const noexcept { return pos_; }
  // A read failed (as opposed to reaching the end); errno told why then.
  bool failed() const noexcept { return error_ != 0; }
  int error() const noexcept { return error_; }
  void seek(uint64_t position) noexcept { pos_ = position; }
  // -1 at the end of the file or on an error.
  int readByte() noexcept {
    if (pos_ >= bufStart_ && pos_ < bufStart_ + bufLen_) return buf_[static_cast<size_t>(pos_++ - bufStart_)];
    return readByteSlow();
  }
  // Returns the count read (less at the end). The scans read a frame header
  // at a time, so what the buffer holds is copied without a call.
  size_t read(uint8_t* out, size_t count) noexcept {
    if (pos_ >= bufStart_ && pos_ + count <= bufStart_ + bufLen_) {
      std::memcpy(out, buf_.get() + (pos_ - bufStart_), count);
      pos_ += count;
      return count;
    }
    return readSlow(out, count);
  }

 private:
  bool fill(uint64_t position) noexcept;
  int readByteSlow() noexcept;
  size_t readSlow(uint8_t* out, size_t count) noexcept;

  const File& file_;
  uint64_t pos_ = 0;
  uint64_t bufStart_ = 0;
  size_t bufLen_ = 0;
  int error_ = 0;
  std::unique_ptr<uint8_t[]> buf_;
};

std::string errorText(int error);

}  // namespace melos
