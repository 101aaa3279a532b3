#include "engine/output_file.h"

#include <gtest/gtest.h>

#include "tests/support/fault_injector.h"
#include "tests/support/temp_dir.h"

namespace melos {
namespace {

Bytes patterned(size_t size) {
  Bytes bytes(size);
  uint32_t state = 12345;
  for (uint8_t& byte : bytes) {
    state = state * 1103515245u + 12345u;
    byte = static_cast<uint8_t>(state >> 16);
  }
  return bytes;
}

struct CopyRun {
  uint64_t copied;
  int error;
  Bytes written;
};

// Writes `head` bytes of its own, then copies `length` bytes of the source
// from `offset`, the way a save puts a new tag before the old audio.
CopyRun copyBehindHead(const Bytes& source, size_t head, uint64_t offset, uint64_t length) {
  test::TempDir dir;
  const std::string path = dir.write("in.mp3", source);
  File input = File::openRead(path);
  OutputFile output = OutputFile::createBeside(path);
  EXPECT_TRUE(output.write(Bytes(head, 0xAA)));
  errno = 0;
  CopyRun run{output.copyFrom(input, offset, length), errno, {}};
  EXPECT_EQ(output.size(), head + run.copied);
  EXPECT_TRUE(output.finish());
  run.written = test::readFile(output.path());
  return run;
}

Bytes expectedCopy(const Bytes& source, size_t head, uint64_t offset, uint64_t length) {
  Bytes expected(head, 0xAA);
  expected.insert(expected.end(), source.begin() + static_cast<ptrdiff_t>(offset),
                  source.begin() + static_cast<ptrdiff_t>(offset + length));
  return expected;
}

TEST(OutputFileCopy, AudioKeptInPlaceOrShiftedArrivesWhole) {
  // More than two buffers and writeback pieces, and not a multiple of either.
  const Bytes source = patterned(2 * kCopyBlockSize + 70001);
  struct Case {
    size_t head;
    uint64_t offset;
  };
  // Same place within the disk blocks (the kernel's copy), shifted by an
  // odd count either way (our own buffered copy), and from the very start.
  for (const Case& c : {Case{4096, 8192}, Case{141184, 152260}, Case{152260, 141184}, Case{10, 0}, Case{0, 0}}) {
    SCOPED_TRACE(testing::Message() << "head " << c.head << ", offset " << c.offset);
    const uint64_t length = source.size() - c.offset;
    const CopyRun run = copyBehindHead(source, c.head, c.offset, length);
    EXPECT_EQ(run.copied, length);
    EXPECT_EQ(run.written, expectedCopy(source, c.head, c.offset, length));
  }
}

TEST(OutputFileCopy, AShortSourceStopsAtItsEndWithoutAnError) {
  const Bytes source = patterned(kCopyBlockSize + 500);
  for (const size_t head : {size_t{0}, size_t{333}}) {
    SCOPED_TRACE(head);
    const CopyRun run = copyBehindHead(source, head, 100, source.size());
    EXPECT_EQ(run.copied, source.size() - 100);
    EXPECT_EQ(run.error, 0);
    EXPECT_EQ(run.written, expectedCopy(source, head, 100, source.size() - 100));
  }
}

TEST(OutputFileCopy, FailuresStopTheCopyWithTheirCause) {
  const Bytes source = patterned(3 * kCopyBlockSize);
  struct Case {
    FileOp op;
    int nth;
    size_t head;
    uint64_t offset;
  };
  // The head is written with the first write, so the second call fails
  // during the copy itself: in the kernel's copy and in the buffered one.
  for (const Case& c : {Case{FileOp::Write, 2, 0, 0}, Case{FileOp::Write, 3, 17, 0}, Case{FileOp::Read, 2, 17, 0}}) {
    SCOPED_TRACE(testing::Message() << test::fileOpName(c.op) << " " << c.nth << ", head " << c.head);
    test::FailNth fail(c.op, c.nth, 1, ENOSPC);
    test::ScopedInjector scope(fail);
    const CopyRun run = copyBehindHead(source, c.head, c.offset, source.size());
    EXPECT_TRUE(fail.fired());
    EXPECT_LT(run.copied, source.size());
    EXPECT_EQ(run.error, ENOSPC);
    EXPECT_EQ(run.written, expectedCopy(source, c.head, c.offset, run.copied));
  }
}

TEST(OutputFileCopy, AKernelWithoutTheCopyCallFallsBackToBuffers) {
  const Bytes source = patterned(kCopyBlockSize + 4096 * 3);
  for (const int error : {ENOSYS, EXDEV, EOPNOTSUPP}) {
    SCOPED_TRACE(error);
    // The first write is the head; the second is the kernel's copy.
    test::FailNth fail(FileOp::Write, 2, 1, error);
    test::ScopedInjector scope(fail);
    const CopyRun run = copyBehindHead(source, 4096, 0, source.size());
    EXPECT_TRUE(fail.fired());
    EXPECT_EQ(run.copied, source.size());
    EXPECT_EQ(run.written, expectedCopy(source, 4096, 0, source.size()));
  }
}

}  // namespace
}  // namespace melos
