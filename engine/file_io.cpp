#include "engine/file_io.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace melos {

namespace {
std::atomic<FaultInjector*> g_injector{nullptr};

// True when the injector asks this call to fail; errno is set then.
inline bool injected(FileOp op) noexcept {
  FaultInjector* injector = g_injector.load(std::memory_order_relaxed);
  if (injector == nullptr) return false;
  int error = injector->failure(op);
  if (error == 0) return false;
  errno = error;
  return true;
}
}  // namespace

void setFaultInjector(FaultInjector* injector) noexcept {
  g_injector.store(injector, std::memory_order_relaxed);
}

namespace sys {
int open(const char* path, int flags, mode_t mode) noexcept {
  if (injected(FileOp::Open)) return -1;
  int fd;
  do fd = ::open(path, flags | O_CLOEXEC, mode);
  while (fd < 0 && errno == EINTR);
  return fd;
}
ssize_t read(int fd, void* buffer, size_t size) noexcept {
  if (injected(FileOp::Read)) return -1;
  ssize_t n;
  do n = ::read(fd, buffer, size);
  while (n < 0 && errno == EINTR);
  return n;
}
ssize_t pread(int fd, void* buffer, size_t size, off_t offset) noexcept {
  if (injected(FileOp::Read)) return -1;
  ssize_t n;
  do n = ::pread(fd, buffer, size, offset);
  while (n < 0 && errno == EINTR);
  return n;
}
ssize_t write(int fd, const void* buffer, size_t size) noexcept {
  if (injected(FileOp::Write)) return -1;
  ssize_t n;
  do n = ::write(fd, buffer, size);
  while (n < 0 && errno == EINTR);
  return n;
}
ssize_t pwrite(int fd, const void* buffer, size_t size, off_t offset) noexcept {
  if (injected(FileOp::Write)) return -1;
  ssize_t n;
  do n = ::pwrite(fd, buffer, size, offset);
  while (n < 0 && errno == EINTR);
  return n;
}
ssize_t copyFileRange(int from, off_t* fromOffset, int to, off_t* toOffset, size_t size) noexcept {
  if (injected(FileOp::Write)) return -1;
  ssize_t n;
  do n = ::copy_file_range(from, fromOffset, to, toOffset, size, 0);
  while (n < 0 && errno == EINTR);
  return n;
}
int fsync(int fd) noexcept { return injected(FileOp::Fsync) ? -1 : ::fsync(fd); }
int rename(const char* from, const char* to) noexcept {
  return injected(FileOp::Rename) ? -1 : ::rename(from, to);
}
int unlink(const char* path) noexcept { return injected(FileOp::Unlink) ? -1 : ::unlink(path); }
int link(const char* from, const char* to) noexcept {
  return injected(FileOp::Link) ? -1 : ::link(from, to);
}
int ftruncate(int fd, off_t length) noexcept {
  return injected(FileOp::Truncate) ? -1 : ::ftruncate(fd, length);
}
int truncate(const char* path, off_t length) noexcept {
  return injected(FileOp::Truncate) ? -1 : ::truncate(path, length);
}
int utimensat(const char* path, const struct timespec times[2]) noexcept {
  return injected(FileOp::Utimensat) ? -1 : ::utimensat(AT_FDCWD, path, times, 0);
}
int fchmod(int fd, mode_t mode) noexcept { return injected(FileOp::Chmod) ? -1 : ::fchmod(fd, mode); }
int fchown(int fd, uid_t owner, gid_t group) noexcept {
  return injected(FileOp::Chmod) ? -1 : ::fchown(fd, owner, group);
}
}  // namespace sys

File& File::operator=(File&& other) noexcept {
  if (this != &other) {
    close();
    fd_ = other.fd_;
    other.fd_ = -1;
  }
  return *this;
}

File File::openRead(const std::string& path) noexcept {
  return File(sys::open(path.c_str(), O_RDONLY));
}

File File::openReadWrite(const std::string& path) noexcept {
  return File(sys::open(path.c_str(), O_RDWR));
}

void File::close() noexcept {
  if (fd_ >= 0) {
    int saved = errno;
    ::close(fd_);
    errno = saved;
    fd_ = -1;
  }
}

int64_t File::size() const noexcept {
  struct stat st;
  if (fd_ < 0 || ::fstat(fd_, &st) != 0) return -1;
  return st.st_size;
}

int64_t File::readAt(uint64_t offset, std::span<uint8_t> buffer) const noexcept {
  size_t done = 0;
  while (done < buffer.size()) {
    ssize_t n = sys::pread(fd_, buffer.data() + done, buffer.size() - done,
                           static_cast<off_t>(offset + done));
    if (n < 0) return -1;
    if (n == 0) break;
    done += static_cast<size_t>(n);
  }
  return static_cast<int64_t>(done);
}

int64_t File::writeAt(uint64_t offset, ByteSpan bytes) const noexcept {
  size_t done = 0;
  while (done < bytes.size()) {
    ssize_t n = sys::pwrite(fd_, bytes.data() + done, bytes.size() - done, static_cast<off_t>(offset + done));
    if (n <= 0) {
      if (n == 0) errno = ENOSPC;
      break;
    }
    done += static_cast<size_t>(n);
  }
  return static_cast<int64_t>(done);
}

bool File::readExactAt(uint64_t offset, std::span<uint8_t> buffer) const noexcept {
  int64_t n = readAt(offset, buffer);
  if (n >= 0 && static_cast<size_t>(n) != buffer.size()) errno = 0;
  return n >= 0 && static_cast<size_t>(n) == buffer.size();
}

BufferedReader::BufferedReader(const File& file, uint64_t position) noexcept
    : file_(file), pos_(position) {}

bool BufferedReader::fill(uint64_t position) noexcept {
  if (!buf_) {
    try {
      // Every byte used is read first: filling it with zeros would be wasted.
      buf_ = std::make_unique_for_overwrite<uint8_t[]>(kBufferSize);
    } catch (...) {
      return false;
    }
  }
  int64_t n = file_.readAt(position, std::span<uint8_t>(buf_.get(), kBufferSize));
  if (n <= 0) {
    if (n < 0) error_ = errno;
    bufLen_ = 0;
    return false;
  }
  bufStart_ = position;
  bufLen_ = static_cast<size_t>(n);
  return true;
}

int BufferedReader::readByteSlow() noexcept {
  if (pos_ < bufStart_ || pos_ >= bufStart_ + bufLen_) {
    if (!fill(pos_)) return -1;
  }
  return buf_[static_cast<size_t>(pos_++ - bufStart_)];
}

size_t BufferedReader::readSlow(uint8_t* out, size_t count) noexcept {
  size_t done = 0;
  while (done < count) {
    if (pos_ < bufStart_ || pos_ >= bufStart_ + bufLen_) {
      if (!fill(pos_)) break;
    }
    size_t offset = static_cast<size_t>(pos_ - bufStart_);
    size_t n = std::min(count - done, bufLen_ - offset);
    std::memcpy(out + done, buf_.get() + offset, n);
    done += n;
    pos_ += n;
  }
  return done;
}

std::string errorText(int error) {
  if (error == 0) return "unexpected end of file";
  return std::strerror(error);
}

}  // namespace melos
