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

namespace fs = std::filesystem;
using test::Enc;
using test::readFile;

const Bytes kAudio = test::shortAudio(8);

Bytes v2() { return test::Id3v2Builder(3).text("TIT2", Enc::Latin1, "Title").padding(64).build(); }
Bytes v1() {
  test::Id3v1Fields fields;
  fields.title = "V1";
  return test::id3v1Tag(fields);
}

size_t fileCount(const std::string& folder) {
  return static_cast<size_t>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

TEST(V2Remove, Mp3KeepsEverythingBehindTheTag) {
  test::TempDir dir;
  const Bytes behind = test::concat({kAudio, v1()});
  ID3Tag track;
  ASSERT_NE(test::openBytes(dir, "a.mp3", test::concat({v2(), behind}), track), 0u);
  ASSERT_EQ(removeV2FromTrack(track, false, false), 0);
  EXPECT_EQ(readFile(track.path()), behind);
  // Without a tag the file is rewritten as it is.
  ASSERT_EQ(removeV2FromTrack(track, false, false), 0);
  EXPECT_EQ(readFile(track.path()), behind);
  EXPECT_EQ(fileCount(dir.path()), 1u);
  ID3Tag noPath;
  EXPECT_EQ(removeV2FromTrack(noPath, false, false), 1);
}

TEST(V2Remove, AiffLosesEveryId3ChunkAndNothingElse) {
  test::TempDir dir;
  auto build = [](bool withTags) {
    test::AiffBuilder b;
    b.chunk(test::commChunk(1, 2, 8, 8000.0));
    if (withTags) b.chunk(test::id3Chunk(v2()));
    b.chunk(test::ssndChunk({1, 2, 3}));
    if (withTags) b.chunk(test::id3Chunk(v2()));
    b.chunk("ANNO", {'x'});
    return b.build();
  };
  ID3Tag track;
  ASSERT_NE(test::openBytes(dir, "a.aif", build(true), track), 0u);
  ASSERT_EQ(removeV2FromTrack(track, false, false), 0);
  EXPECT_EQ(readFile(track.path()), build(false));
}

TEST(ApeStrip, Cases) {
  struct Case {
    const char* name;
    test::ApeTag ape;
    bool withV1;
    int expected;
  };
  auto tag = [](auto change) {
    test::ApeTag t;
    t.items = {test::apeText("Artist", "Someone")};
    change(t);
    return t;
  };
  auto same = [](test::ApeTag&) {};
  const Case cases[] = {
      {"with a V1 tag behind", tag(same), true, 1},
      {"at the very end", tag(same), false, 1},
      {"identifier in lower case", tag([](test::ApeTag& t) { t.lowerCaseId = true; }), true, 1},
      {"no header: kept", tag([](test::ApeTag& t) { t.header = false; }), true, 0},
      {"a size past the start: kept", tag([](test::ApeTag& t) { t.sizeOverride = 1u << 30; }), false, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    test::TempDir dir;
    const Bytes before = test::mp3File({v2(), kAudio, {}, {}});
    const Bytes original = test::mp3File({v2(), kAudio, test::apeTag(c.ape), c.withV1 ? v1() : Bytes{}});
    ID3Tag track;
    ASSERT_NE(test::openBytes(dir, "a.mp3", original, track), 0u);
    EXPECT_EQ(stripAPETag(track, track.path()), c.expected);
    EXPECT_EQ(readFile(track.path()), c.expected == 1 ? before : original);
  }
}

TEST(ApeStrip, OnlyMp3FilesAndFailuresAreLogged) {
  test::TempDir dir;
  test::ApeTag apeTag;
  apeTag.items = {test::apeText("A", "b")};
  const Bytes original = test::mp3File({{}, kAudio, test::apeTag(apeTag), v1()});
  ID3Tag track;
  ASSERT_NE(test::openBytes(dir, "a.mp3", original, track), 0u);
  ID3Tag aiff;
  aiff.isAiffFile = true;
  EXPECT_EQ(stripAPETag(aiff, track.path()), 0);

  for (FileOp op : {FileOp::Open, FileOp::Truncate}) {
    test::LogCapture log;
    test::FailNth fail(op, 1);
    {
      test::ScopedInjector scoped(fail);
      EXPECT_EQ(stripAPETag(track, track.path()), 0);
    }
    EXPECT_TRUE(log.has(LogError, op == FileOp::Open ? "to remove the APE tag (error: "
                                                     : "after removing the APE tag (error: "))
        << log.dump();
    EXPECT_EQ(readFile(track.path()), original);
  }
}

}  // namespace
}  // namespace melos
