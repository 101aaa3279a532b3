#include "engine/output_file.h"

#include <gtest/gtest.h>

#include <optional>

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

TEST(OutputFileCopy, WhatArrivesAndWhy) {
  constexpr size_t kBlock = kCopyBlockSize;
  struct Case {
    const char* name;
    size_t sourceSize;
    size_t head;
    uint64_t offset;
    FileOp op = FileOp::Open;  // Open: no fault
    int nth = 0;
    int error = 0;       // injected
    bool stops = false;  // the fault ends the copy with errno `error`
  };
  const Case cases[] = {
      // More than two buffers and writeback pieces, and not a multiple of either.
      // Same place within the disk blocks (the kernel's copy), shifted by an odd
      // count either way (our own buffered copy), and from the very start.
      {"in place", 2 * kBlock + 70001, 4096, 8192},
      {"shifted forward", 2 * kBlock + 70001, 141184, 152260},
      {"shifted back", 2 * kBlock + 70001, 152260, 141184},
      {"from the start behind a head", 2 * kBlock + 70001, 10, 0},
      {"from the start", 2 * kBlock + 70001, 0, 0},
      // The head is written with the first write, so the second call fails
      // during the copy itself: in the kernel's copy and in the buffered one.
      {"write fails in the kernel's copy", 3 * kBlock, 0, 0, FileOp::Write, 2, ENOSPC, true},
      {"write fails in the buffered copy", 3 * kBlock, 17, 0, FileOp::Write, 3, ENOSPC, true},
      {"read fails", 3 * kBlock, 17, 0, FileOp::Read, 2, ENOSPC, true},
      // A kernel without the copy call falls back to buffers.
      {"no copy call", kBlock + 4096 * 3, 4096, 0, FileOp::Write, 2, ENOSYS},
      {"across file systems", kBlock + 4096 * 3, 4096, 0, FileOp::Write, 2, EXDEV},
      {"copy not supported", kBlock + 4096 * 3, 4096, 0, FileOp::Write, 2, EOPNOTSUPP},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const Bytes source = patterned(c.sourceSize);
    test::FailNth fail(c.op, c.nth, 1, c.error);
    std::optional<test::ScopedInjector> scope;
    if (c.nth > 0) scope.emplace(fail);
    const CopyRun run = copyBehindHead(source, c.head, c.offset, source.size() - c.offset);
    if (c.nth > 0) {
      EXPECT_TRUE(fail.fired());
    }
    if (c.stops) {
      EXPECT_LT(run.copied, source.size());
      EXPECT_EQ(run.error, c.error);
    } else {
      EXPECT_EQ(run.copied, source.size() - c.offset);
    }
    EXPECT_EQ(run.written, expectedCopy(source, c.head, c.offset, run.copied));
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

}  // namespace
}  // namespace melos
