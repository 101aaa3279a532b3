#include "engine/tag_removal.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "engine/log.h"
#include "engine/open_track.h"
#include "tests/support/aiff_builder.h"
#include "tests/support/ape_builder.h"
#include "tests/support/fault_injector.h"
#include "tests/support/id3v1_builder.h"
#include "tests/support/id3v2_builder.h"
#include "tests/support/log_capture.h"
#include "tests/support/mp3_file_builder.h"
#include "tests/support/open_helpers.h"

namespace melos {
namespace {

using test::readFile;

const Bytes kAudio = test::shortAudio(8);
const Bytes kV2 = test::Id3v2Builder(3).text("TIT2", test::Enc::Latin1, "Title").padding(64).build();
const Bytes kV1 = test::id3v1Tag({"V1", "", "", "", "", 0, 255});

// Writes the bytes to NAME in the folder and opens them as a track.
ID3Tag opened(const test::TempDir& dir, const std::string& name, const Bytes& bytes) {
  ID3Tag track;
  EXPECT_NE(test::openBytes(dir, name, bytes, track), 0u);
  return track;
}

// Everything but the tag stays, in an MP3 and around the sound of an AIFF, which loses every ID3 chunk; without a
// tag the file is rewritten as it is, and no other file stays.
TEST(V2Remove, KeepsEverythingButTheTag) {
  auto aiff = [](bool withTags) {
    test::AiffBuilder b;
    b.chunk(test::commChunk(1, 2, 8, 8000.0));
    if (withTags) b.chunk(test::id3Chunk(kV2));
    b.chunk(test::ssndChunk({1, 2, 3}));
    if (withTags) b.chunk(test::id3Chunk(kV2));
    return b.chunk("ANNO", {'x'}).build();
  };
  const std::tuple<const char*, Bytes, Bytes> cases[] = {{"a.mp3", test::concat({kV2, kAudio, kV1}), test::concat({kAudio, kV1})},
                                                         {"a.aif", aiff(true), aiff(false)}};
  for (const auto& [name, original, after] : cases) {
    test::TempDir dir;
    ID3Tag track = opened(dir, name, original);
    for (int i = 0; i < 2; ++i) {
      ASSERT_EQ(removeV2FromTrack(track, false, false), 0);
      EXPECT_EQ(readFile(track.path()), after);
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), std::filesystem::directory_iterator()), 1);
  }
  ID3Tag noPath;
  EXPECT_EQ(removeV2FromTrack(noPath, false, false), 1);
}

// 1 when a tag was cut; a tag that cannot be one is kept. Only MP3 files have one, and a failure is logged.
TEST(ApeStrip, Cases) {
  struct Case { void (*change)(test::ApeTag&); bool withV1; int expected; };
  const Case cases[] = {
      {[](test::ApeTag&) {}, true, 1},
      {[](test::ApeTag&) {}, false, 1},  // at the very end
      {[](test::ApeTag& t) { t.lowerCaseId = true; }, true, 1},
      {[](test::ApeTag& t) { t.header = false; }, true, 0},
      {[](test::ApeTag& t) { t.sizeOverride = 1u << 30; }, false, 0},  // a size past the start
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(&c - cases);
    test::ApeTag ape;
    ape.items = {test::apeText("Artist", "Someone")};
    c.change(ape);
    test::TempDir dir;
    const Bytes original = test::mp3File({kV2, kAudio, test::apeTag(ape), c.withV1 ? kV1 : Bytes{}});
    ID3Tag track = opened(dir, "a.mp3", original);
    EXPECT_EQ(stripAPETag(track, track.path()), c.expected);
    EXPECT_EQ(readFile(track.path()), c.expected == 1 ? test::mp3File({kV2, kAudio, {}, {}}) : original);
    if (&c != cases) continue;
    ID3Tag aiff;
    aiff.isAiffFile = true;
    EXPECT_EQ(stripAPETag(aiff, track.path()), 0);
    test::TempDir other;
    ASSERT_NE(test::openBytes(other, "a.mp3", original, track), 0u);
    for (FileOp op : {FileOp::Open, FileOp::Truncate}) {
      test::LogCapture log;
      test::FailNth fail(op, 1);
      {
        test::ScopedInjector scoped(fail);
        EXPECT_EQ(stripAPETag(track, track.path()), 0);
      }
      EXPECT_TRUE(log.has(LogError, op == FileOp::Open ? "to remove the APE tag (error: " : "after removing the APE tag (error: "))
          << log.dump();
      EXPECT_EQ(readFile(track.path()), original);
    }
  }
}

}  // namespace
}  // namespace melos
