#include "engine/output_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace melos {

namespace {
constexpr size_t kWritebackChunk = size_t{4} << 20;
}  // namespace

std::string temporaryName(const std::string& path, int number) {
  return path + ".t" + std::to_string(number);
}

OutputFile::OutputFile(OutputFile&& other) noexcept
    : file_(std::move(other.file_)), path_(std::move(other.path_)), size_(other.size_), owned_(other.owned_) {
  other.owned_ = false;
}

OutputFile OutputFile::createBeside(const std::string& path) noexcept {
  OutputFile output;
  try {
    for (int number = 0; number <= kMaxTemporaryNumber; ++number) {
      output.path_ = temporaryName(path, number);
      // O_EXCL makes the test for a free name and its creation one step.
      int fd = sys::open(output.path_.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600);
      if (fd >= 0) {
        output.file_ = File(fd);
        output.owned_ = true;
        return output;
      }
      if (errno != EEXIST) return output;
    }
    errno = EEXIST;
  } catch (...) {
    errno = ENOMEM;
  }
  return output;
}

bool OutputFile::write(ByteSpan bytes) noexcept {
  if (!writeAt(size_, bytes)) return false;
  size_ += bytes.size();
  return true;
}

bool OutputFile::writeAt(uint64_t offset, ByteSpan bytes) noexcept {
  return file_.writeAt(offset, bytes) == static_cast<int64_t>(bytes.size());
}

uint64_t OutputFile::copyFrom(const File& source, uint64_t offset, uint64_t length) noexcept {
  // The kernel copies without a trip through our memory, and shares blocks
  // where the file system can; other file systems take the block loop.
  uint64_t done = 0;
  off_t from = static_cast<off_t>(offset);
  while (done < length) {
    off_t to = static_cast<off_t>(size_);
    size_t chunk = static_cast<size_t>(std::min<uint64_t>(length - done, kWritebackChunk));
    ssize_t n = sys::copyFileRange(source.fd(), &from, file_.fd(), &to, chunk);
    // The disk starts writing what is copied while the rest is copied, so the
    // flush at the end waits for the last piece only.
    if (n > 0) ::sync_file_range(file_.fd(), static_cast<off_t>(size_), n, SYNC_FILE_RANGE_WRITE);
    if (n < 0) {
      if (errno == EXDEV || errno == ENOSYS || errno == EOPNOTSUPP || errno == EINVAL || errno == EBADF)
        return done + copyBlocks(source, offset + done, length - done);
      return done;
    }
    if (n == 0) {
      errno = 0;
      return done;
    }
    done += static_cast<uint64_t>(n);
    size_ += static_cast<uint64_t>(n);
  }
  return done;
}

uint64_t OutputFile::copyBlocks(const File& source, uint64_t offset, uint64_t length) noexcept {
  Bytes block;
  try {
    block.resize(kCopyBlockSize);
  } catch (...) {
    errno = ENOMEM;
    return 0;
  }
  uint64_t done = 0;
  while (done < length) {
    size_t want = static_cast<size_t>(std::min<uint64_t>(length - done, kCopyBlockSize));
    errno = 0;
    int64_t n = source.readAt(offset + done, std::span<uint8_t>(block.data(), want));
    if (n <= 0) return done;
    if (!write(ByteSpan(block.data(), static_cast<size_t>(n)))) return done;
    done += static_cast<uint64_t>(n);
    if (static_cast<size_t>(n) < want) {
      errno = 0;
      return done;
    }
  }
  return done;
}

bool OutputFile::finish() noexcept {
  if (sys::fsync(file_.fd()) != 0) return false;
  file_.close();
  return true;
}

void OutputFile::discard() noexcept {
  file_.close();
  if (owned_ && !path_.empty()) {
    int saved = errno;
    // Once more on failure: a temporary file left behind is litter the user
    // has to find.
    if (sys::unlink(path_.c_str()) != 0 && errno != ENOENT) sys::unlink(path_.c_str());
    errno = saved;
  }
  owned_ = false;
}

void OutputFile::release() noexcept {
  file_.close();
  owned_ = false;
}

}  // namespace melos
