#include "engine/aiff_copy.h"

#include <gtest/gtest.h>

#include "engine/log.h"
#include "tests/support/aiff_builder.h"
#include "tests/support/log_capture.h"
#include "tests/support/temp_dir.h"

namespace melos {
namespace {

using test::AiffBuilder;

struct Copy { int result; Bytes output; };

Copy copyOf(const Bytes& source, bool tolerant, const char* stopAfter = nullptr) {
  test::TempDir dir;
  const std::string path = dir.write("in.aif", source);
  ID3Tag track;
  track.isAiffFile = true;
  track.aiffSizeTolerance = tolerant;
  File input = File::openRead(path);
  OutputFile output = OutputFile::createBeside(path);
  Copy copy{CopyAiffChunks(track, input, output, stopAfter, nullptr), {}};
  output.finish();
  copy.output = test::readFile(output.path());
  return copy;
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
      {AiffBuilder("AIFC").chunk(kComm).chunk(test::id3Chunk({'I', 'D', '3'})).chunk(kSound).chunk("NAME", {'a'})
           .chunk("id3 ", {1, 2}).build(),
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
