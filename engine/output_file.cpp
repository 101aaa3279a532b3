#include "engine/output_file.h"

#include <fcntl.h>
#include <sys/statfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>

namespace melos {

namespace {

// Pieces the disk is told to start writing while the next one is copied, so
// the flush at the end waits for the last piece only. Smaller pieces cost more
// calls than they save; larger ones leave the disk idle longer.
constexpr size_t kWritebackPiece = size_t{1} << 20;
constexpr uint64_t kBlockAlignment = 4096;

constexpr long kNfsMagic = 0x6969;
constexpr long kSmbMagic = 0x517B;
constexpr long kCifsMagic = 0xFF534D42;
constexpr long kSmb2Magic = 0xFE534D42;

bool isRemoteFileSystem(int fd) noexcept {
  struct statfs info {};
  if (::fstatfs(fd, &info) != 0) return false;
  const auto type = static_cast<long>(static_cast<uint32_t>(info.f_type));
  return type == kNfsMagic || type == kSmbMagic || type == kCifsMagic || type == kSmb2Magic;
}

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

bool OutputFile::kernelCopyPays(const File& source, uint64_t offset) const noexcept {
  // Where the audio keeps its place within the disk blocks, a file system
  // that shares blocks copies none of them; a network file system copies on
  // the server without a round trip through us. Anywhere else the kernel
  // moves the bytes page piece by page piece, which is slower than our own
  // large reads and writes when a changed tag size has shifted the audio.
  return offset % kBlockAlignment == size_ % kBlockAlignment || isRemoteFileSystem(source.fd());
}

uint64_t OutputFile::copyFrom(const File& source, uint64_t offset, uint64_t length) noexcept {
  if (!kernelCopyPays(source, offset)) return copyBlocks(source, offset, length);
  uint64_t done = 0;
  off_t from = static_cast<off_t>(offset);
  while (done < length) {
    off_t to = static_cast<off_t>(size_);
    size_t piece = static_cast<size_t>(std::min<uint64_t>(length - done, kWritebackPiece));
    ssize_t n = sys::copyFileRange(source.fd(), &from, file_.fd(), &to, piece);
    if (n < 0) {
      if (errno == EXDEV || errno == ENOSYS || errno == EOPNOTSUPP || errno == EINVAL || errno == EBADF)
        return done + copyBlocks(source, offset + done, length - done);
      return done;
    }
    if (n == 0) {
      errno = 0;
      return done;
    }
    startWriteback(static_cast<uint64_t>(n));
    done += static_cast<uint64_t>(n);
    size_ += static_cast<uint64_t>(n);
  }
  return done;
}

uint64_t OutputFile::copyBlocks(const File& source, uint64_t offset, uint64_t length) noexcept {
  std::unique_ptr<uint8_t[]> block;
  try {
    block = std::make_unique_for_overwrite<uint8_t[]>(kCopyBlockSize);
  } catch (...) {
    errno = ENOMEM;
    return 0;
  }
  uint64_t done = 0;
  while (done < length) {
    size_t want = static_cast<size_t>(std::min<uint64_t>(length - done, kCopyBlockSize));
    errno = 0;
    int64_t n = source.readAt(offset + done, std::span<uint8_t>(block.get(), want));
    if (n <= 0) return done;
    if (!write(ByteSpan(block.get(), static_cast<size_t>(n)))) return done;
    startWriteback(static_cast<uint64_t>(n));
    done += static_cast<uint64_t>(n);
    if (static_cast<size_t>(n) < want) {
      errno = 0;
      return done;
    }
  }
  return done;
}

void OutputFile::startWriteback(uint64_t justWritten) noexcept {
  // Only a hint: a file system without it still gets the flush at the end.
  ::sync_file_range(file_.fd(), static_cast<off_t>(size_ - justWritten), static_cast<off_t>(justWritten),
                    SYNC_FILE_RANGE_WRITE);
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
