#include "engine/aiff_copy.h"

#include <gtest/gtest.h>

#include "engine/log.h"
#include "tests/support/aiff_builder.h"
#include "tests/support/log_capture.h"
#include "tests/support/temp_dir.h"

namespace melos {
namespace {

using test::AiffBuilder;
using test::AiffChunk;

struct Copy {
  int result;
  Bytes output;
};

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

const AiffChunk kComm = test::commChunk(1, 4, 8, 8000.0);
const AiffChunk kSound = test::ssndChunk({1, 2, 3, 4, 5});

TEST(AiffCopy, RefusesWhatIsNoAiffForm) {
  ID3Tag mp3;
  File none;
  OutputFile output;
  EXPECT_EQ(CopyAiffChunks(mp3, none, output, nullptr, nullptr), 1);

  struct Case {
    Bytes source;
    const char* logged;
  };
  Bytes riff = AiffBuilder().chunk(kComm).build();
  riff[0] = 'R';
  for (const Case& c : {Case{riff, "Could not find the AIFF form for copying"},
                        Case{AiffBuilder("WAVE").chunk(kComm).build(), "Could not find the AIFF data start for copying"}}) {
    test::LogCapture log;
    EXPECT_EQ(copyOf(c.source, true).result, 5);
    EXPECT_TRUE(log.has(LogError, c.logged)) << log.dump();
  }
}

TEST(AiffCopy, ACopyIsTheSameFileWithoutItsTagChunks) {
  const Bytes plain = AiffBuilder("AIFC").chunk(kComm).chunk(kSound).chunk("NAME", {'a'}).build();
  const Bytes tagged = AiffBuilder("AIFC").chunk(kComm).chunk(test::id3Chunk({'I', 'D', '3'})).chunk(kSound)
                           .chunk("NAME", {'a'}).chunk("id3 ", {1, 2}).build();
  EXPECT_EQ(copyOf(tagged, false).output, plain);
  // Stopping behind the sound leaves the rest out and fixes the FORM size.
  EXPECT_EQ(copyOf(tagged, false, "ssnd").output, AiffBuilder("AIFC").chunk(kComm).chunk(kSound).build());
}

TEST(AiffCopy, SizeTolerancesAfterTheSound) {
  AiffChunk tooLong("ANNO", {'x', 'y'});
  tooLong.sizeOverride = 4000;
  struct Case {
    const char* name;
    bool soundFirst;
    bool tolerant;
    int result;
    const char* logged;
  };
  const Case cases[] = {
      {"after the sound, tolerated", true, true, 0, "AIFF data integrity error for the chunk ANNO (4000/2) (ignoring...)"},
      {"after the sound, strict", true, false, 5, "AIFF data integrity error for the chunk ANNO (4000/2)"},
      {"before the sound", false, true, 5, "AIFF data integrity error for the chunk ANNO (4000/"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    AiffBuilder builder;
    builder.chunk(kComm);
    if (c.soundFirst) builder.chunk(kSound);
    builder.chunk(tooLong);
    if (!c.soundFirst) builder.chunk(kSound);
    test::LogCapture log;
    const Copy copy = copyOf(builder.build(), c.tolerant);
    EXPECT_EQ(copy.result, c.result);
    EXPECT_TRUE(log.has(LogError, c.logged)) << log.dump();
    if (c.result == 0) {
      EXPECT_EQ(copy.output, AiffBuilder().chunk(kComm).chunk(kSound).build());
    }
  }
}

TEST(AiffCopy, ATruncatedSoundChunkIsCutToWhatIsThere) {
  Bytes source = AiffBuilder().chunk(kComm).chunk(test::ssndChunk(Bytes(100, 7))).build();
  source.resize(source.size() - 40);
  {
    test::LogCapture log;
    const Copy copy = copyOf(source, true);
    EXPECT_EQ(copy.result, 0);
    EXPECT_TRUE(log.has(LogError, "Copied 76 of AIFF chunk SSND but expected 116 (ignoring truncation...)")) << log.dump();
    Bytes expected = source;
    writeU32BE(&expected[4], static_cast<uint32_t>(expected.size() - 8));
    writeU32BE(&expected[expected.size() - 76 + 4], 68);
    EXPECT_EQ(copy.output, expected);
  }
  test::LogCapture log;
  EXPECT_EQ(copyOf(source, false).result, 5);
  EXPECT_TRUE(log.has(LogError, "Could not copy the AIFF chunk SSND (76/116)")) << log.dump();
}

TEST(AiffCopy, UnprintableIdsAreShownWithQuestionMarks) {
  const uint8_t id[4] = {'A', 0x01, 0x7F, 'z'};
  EXPECT_EQ(printableChunkId(id), "A??z");
}

}  // namespace
}  // namespace melos
