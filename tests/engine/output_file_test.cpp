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
  for (uint8_t& byte : bytes) byte = static_cast<uint8_t>((state = state * 1103515245u + 12345u) >> 16);
  return bytes;
}

// Writes a head of its own, then copies the source from an offset, the way a save puts a new tag before
// the old audio: what arrives is the head and the copied part of the source, whatever stops the copy.
TEST(OutputFileCopy, WhatArrivesAndWhy) {
  constexpr size_t kBlock = kCopyBlockSize;
  // A fault at the NTH call of OP (Open: none) fails with ERROR and, if STOPS, ends the copy; BEYOND asks for
  // that much past the end of the source.
  struct Case { const char* name; size_t sourceSize, head; uint64_t offset; FileOp op = FileOp::Open; int nth = 0, error = 0; bool stops = false; uint64_t beyond = 0; };
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
      // A short source stops at its end without an error.
      {"short source", kBlock + 500, 0, 100, FileOp::Open, 0, 0, false, 100},
      {"short source behind a head", kBlock + 500, 333, 100, FileOp::Open, 0, 0, false, 100},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const Bytes source = patterned(c.sourceSize);
    test::FailNth fail(c.op, c.nth, 1, c.error);
    std::optional<test::ScopedInjector> scope;
    if (c.nth > 0) scope.emplace(fail);
    test::TempDir dir;
    const std::string path = dir.write("in.mp3", source);
    File input = File::openRead(path);
    OutputFile output = OutputFile::createBeside(path);
    ASSERT_TRUE(output.write(Bytes(c.head, 0xAA)));
    errno = 0;
    const uint64_t copied = output.copyFrom(input, c.offset, source.size() - c.offset + c.beyond);
    const int error = errno;
    EXPECT_EQ(output.size(), c.head + copied);
    scope.reset();
    ASSERT_TRUE(output.finish());
    EXPECT_TRUE(c.nth == 0 || fail.fired());
    if (c.stops || c.beyond > 0) { EXPECT_EQ(error, c.error); }
    EXPECT_TRUE(c.stops ? copied < source.size() : copied == source.size() - c.offset) << copied;
    Bytes expected(c.head, 0xAA);
    expected.insert(expected.end(), source.begin() + static_cast<long>(c.offset), source.begin() + static_cast<long>(c.offset + copied));
    EXPECT_EQ(test::readFile(output.path()), expected);
  }
}

}  // namespace
}  // namespace melos
