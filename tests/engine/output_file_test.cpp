#include "engine/output_file.h"

#include <gtest/gtest.h>

#include "engine/aiff_copy.h"
#include "engine/log.h"
#include "tests/support/aiff_builder.h"
#include "tests/support/fault_injector.h"
#include "tests/support/log_capture.h"
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
      {"in place", 2 * kBlock + 70001, 4096, 8192}, {"shifted forward", 2 * kBlock + 70001, 141184, 152260},
      {"shifted back", 2 * kBlock + 70001, 152260, 141184}, {"from the start behind a head", 2 * kBlock + 70001, 10, 0},
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
    setFaultInjector(&fail);  // never fails when NTH is 0
    test::TempDir dir;
    const std::string path = dir.write("in.mp3", source);
    File input = File::openRead(path);
    OutputFile output = OutputFile::createBeside(path);
    ASSERT_TRUE(output.write(Bytes(c.head, 0xAA)));
    errno = 0;
    const uint64_t copied = output.copyFrom(input, c.offset, source.size() - c.offset + c.beyond);
    const int error = errno;
    EXPECT_EQ(output.size(), c.head + copied);
    setFaultInjector(nullptr);
    ASSERT_TRUE(output.finish());
    EXPECT_TRUE(c.nth == 0 || fail.fired());
    if (c.stops || c.beyond > 0) { EXPECT_EQ(error, c.error); }
    EXPECT_TRUE(c.stops ? copied < source.size() : copied == source.size() - c.offset) << copied;
    Bytes expected(c.head, 0xAA);
    expected.insert(expected.end(), source.begin() + static_cast<long>(c.offset), source.begin() + static_cast<long>(c.offset + copied));
    EXPECT_EQ(test::readFile(output.path()), expected);
  }
}

using test::AiffBuilder;

struct Copy { int result; Bytes output; };

Copy copyOf(const Bytes& source, bool tolerant, const char* stopAfter = nullptr) {
  test::TempDir dir;
  const std::string path = dir.write("in.aif", source);
  ID3Tag track;
  track.isAiffFile = true, track.aiffSizeTolerance = tolerant;
  File input = File::openRead(path);
  OutputFile output = OutputFile::createBeside(path);
  const int result = CopyAiffChunks(track, input, output, stopAfter, nullptr);
  output.finish();
  return {result, test::readFile(output.path())};
}

const test::AiffChunk kComm = test::commChunk(1, 4, 8, 8000.0);
const test::AiffChunk kSound = test::ssndChunk({1, 2, 3, 4, 5});

// The copy leaves out every tag chunk and keeps the rest whole; what is broken behind the sound may be
// tolerated, anything else is refused with 5.
TEST(AiffCopy, WhatACopyKeepsAndWhatItRefuses) {
  Bytes riff = AiffBuilder().chunk(kComm).build();
  riff[0] = 'R';
  test::AiffChunk tooLong("ANNO", {'x', 'y'});
  tooLong.sizeOverride = 4000;
  const Bytes longAfter = AiffBuilder().chunk(kComm).chunk(kSound).chunk(tooLong).build();
  Bytes cut = AiffBuilder().chunk(kComm).chunk(test::ssndChunk(Bytes(100, 7))).build();
  cut.resize(cut.size() - 40);
  Bytes cutFixed = cut;  // the FORM and sound sizes say what is there
  writeU32BE(&cutFixed[4], static_cast<uint32_t>(cutFixed.size() - 8));
  writeU32BE(&cutFixed[cutFixed.size() - 76 + 4], 68);
  struct Case { Bytes source; bool tolerant; int result; const char* logged; Bytes output; /* of a copy that succeeds */ };
  const Case cases[] = {
      {AiffBuilder("AIFC").chunk(kComm).chunk(test::id3Chunk({'I', 'D', '3'})).chunk(kSound).chunk("NAME", {'a'}).chunk("id3 ", {1, 2}).build(),
       false, 0, nullptr, AiffBuilder("AIFC").chunk(kComm).chunk(kSound).chunk("NAME", {'a'}).build()},
      {riff, true, 5, "Could not find the AIFF form for copying", {}},
      {AiffBuilder().chunk(kComm).formSize(38).build(), true, 5, "Error reading the AIFF chunk ID", {}},  // 8 bytes short
      {AiffBuilder("WAVE").chunk(kComm).build(), true, 5, "Could not find the AIFF data start for copying", {}},
      {longAfter, true, 0, "AIFF data integrity error for the chunk ANNO (4000/2) (ignoring...)",
       AiffBuilder().chunk(kComm).chunk(kSound).build()},
      {longAfter, false, 5, "AIFF data integrity error for the chunk ANNO (4000/2)", {}},
      {AiffBuilder().chunk(kComm).chunk(tooLong).chunk(kSound).build(), true, 5, "integrity error for the chunk ANNO (4000/", {}},
      {cut, true, 0, "Copied 76 of AIFF chunk SSND but expected 116 (ignoring truncation...)", cutFixed},
      {cut, false, 5, "Could not copy the AIFF chunk SSND (76/116)", {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(&c - cases);
    test::LogCapture log;
    const Copy copy = copyOf(c.source, c.tolerant);
    EXPECT_EQ(copy.result, c.result);
    EXPECT_TRUE(c.logged == nullptr ? log.count(LogError) == 0 : log.has(LogError, c.logged)) << log.dump();
    if (c.result == 0) { EXPECT_EQ(copy.output, c.output); }
  }
  // Stopping behind the sound leaves the rest out and fixes the FORM size.
  EXPECT_EQ(copyOf(cases[0].source, false, "ssnd").output, AiffBuilder("AIFC").chunk(kComm).chunk(kSound).build());
  ID3Tag mp3;
  File none;
  OutputFile output;
  EXPECT_EQ(CopyAiffChunks(mp3, none, output, nullptr, nullptr), 1);
  const uint8_t id[4] = {'A', 0x01, 0x7F, 'z'};
  EXPECT_EQ(printableChunkId(id), "A??z");
}

}  // namespace
}  // namespace melos
