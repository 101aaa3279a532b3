#pragma once
// The new copy of a track while it is written: a temporary file beside the
// original, removed again unless it is released to take the original's place.

#include <cstdint>
#include <string>

#include "engine/bytes.h"
#include "engine/file_io.h"

namespace melos {

inline constexpr int kMaxTemporaryNumber = 99;
// The buffer of a copy through our memory: large enough for few calls, and
// the same for a file of any size.
inline constexpr size_t kCopyBlockSize = size_t{1} << 20;

// "%s.t%d": the track path and a number from 0 to 99.
std::string temporaryName(const std::string& path, int number);

class OutputFile {
 public:
  OutputFile() noexcept = default;
  OutputFile(OutputFile&& other) noexcept;
  OutputFile& operator=(OutputFile&&) = delete;
  OutputFile(const OutputFile&) = delete;
  ~OutputFile() { discard(); }

  // Creates the first free temporary name beside `path`, readable and
  // writable by the owner only until the original's mode is applied. On
  // failure the result is closed, its path the last name tried, and errno
  // tells why.
  static OutputFile createBeside(const std::string& path) noexcept;

  bool isOpen() const noexcept { return file_.isOpen(); }
  int fd() const noexcept { return file_.fd(); }
  const std::string& path() const noexcept { return path_; }
  // The length written so far; writes always go to the end.
  uint64_t size() const noexcept { return size_; }

  bool write(ByteSpan bytes) noexcept;
  // Overwrites bytes already written (a size field), leaving the end as it is.
  bool writeAt(uint64_t offset, ByteSpan bytes) noexcept;
  // Copies `length` bytes of the source from `offset` to the end; returns the
  // count copied, less on a short source or an error (errno is 0 for the end).
  uint64_t copyFrom(const File& source, uint64_t offset, uint64_t length) noexcept;
  // Flushes to the disk and closes; false with errno on failure.
  bool finish() noexcept;

  // Closes and removes the file, unless released. Safe to call twice.
  void discard() noexcept;
  // The file has taken the original's place: it is no longer ours to remove.
  void release() noexcept;

 private:
  bool kernelCopyPays(const File& source, uint64_t offset) const noexcept;
  uint64_t copyBlocks(const File& source, uint64_t offset, uint64_t length) noexcept;
  // Starts the disk writing the bytes just added at the end.
  void startWriteback(uint64_t justWritten) noexcept;

  File file_;
  std::string path_;
  uint64_t size_ = 0;
  bool owned_ = false;
};

}  // namespace melos
