#include "engine/v1_update.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "engine/log.h"
#include "engine/tag_removal.h"
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
const Bytes kV1 = test::id3v1Tag({"Old", "", "", "", "", 0, 255});
const Bytes kApe = test::apeTag({{test::apeText("Title", "ape")}, true, true, false, 2000, {}});

V1Tag sample() { return V1Tag{true, "Title", "Artist", "Album", "1999", "Comment", 7, 17}; }

ID3Tag reopen(const std::string& path) {
  ID3Tag track;
  EXPECT_NE(OpenTrack(track, path, kScanQuick, nullptr, false), 0u);
  return track;
}

// Writes the bytes to NAME in the folder and opens them as a track.
ID3Tag opened(const test::TempDir& dir, const std::string& name, const Bytes& bytes) { return reopen(dir.write(name, bytes)); }

// What a field becomes on its way through the 128 bytes, as the track holds it and as it is read again.
TEST(V1Save, FieldRules) {
  struct Case { void (*change)(V1Tag&); bool trim; void (*readBack)(V1Tag&); };
  const Case cases[] = {
      // A 29-character comment fills byte 125: no terminator before the track.
      {[](V1Tag& t) { t.title = std::string(31, 't'), t.year = "19999", t.comment = std::string(29, 'c'); }, false,
       [](V1Tag& t) { t.title = std::string(30, 't'), t.year = "1999", t.comment = std::string(29, 'c'); }},
      {[](V1Tag& t) { t.artist = " \tA r\n"; }, true, [](V1Tag& t) { t.artist = "A r"; }},
      {[](V1Tag& t) { t.artist = " A "; }, false, [](V1Tag& t) { t.artist = " A "; }},
      {[](V1Tag& t) { t.track = 0; }, false, [](V1Tag& t) { t.track = kUnsetV1; }},
      {[](V1Tag& t) { t.track = 255, t.genre = 255; }, false, [](V1Tag& t) { t.track = kUnsetV1, t.genre = 12; }},  // genre read as Other
      {[](V1Tag& t) { t.track = 254; }, false, [](V1Tag& t) { t.track = 254; }},
      {[](V1Tag& t) { t.track = 1; }, false, [](V1Tag& t) { t.track = 1; }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(&c - cases);
    test::TempDir dir;
    ID3Tag track = opened(dir, "a.mp3", kAudio);
    track.v1 = sample();
    c.change(track.v1);
    V1Tag expected = sample();
    c.readBack(expected);
    test::LogCapture log;
    ASSERT_EQ(updateV1ToTrack(track, false, false, c.trim), 0) << log.dump();
    EXPECT_EQ(track.v1, expected);
    EXPECT_EQ(reopen(track.path()).v1, expected);
  }
}

// A second save overwrites the first, and an APE tag is cut with the old V1 tag when asked, even one at the very
// start: one tag stays, laid out as readers expect it. A removal cuts it (with the APE tag when asked) and keeps the
// dates when asked; the last 128 bytes go only when they are a tag.
TEST(V1Save, OverwritesOrAppendsAndLeavesOneTagThatRemovalCuts) {
  const Bytes expected = test::id3v1Tag({"Title", "Artist", "Album", "1999", "Comment", 7, 17});
  const std::tuple<Bytes, bool, Bytes> cases[] = {
      {kAudio, false, kAudio}, {test::concat({kAudio, kApe, kV1}), true, kAudio}, {test::concat({kApe, kV1}), true, {}}};
  const struct timespec times[2] = {{1000000000, 5}, {1000000000, 6}};
  for (const auto& [original, withApe, kept] : cases) {
    test::TempDir dir;
    ID3Tag track;
    test::openBytes(dir, "a.mp3", original, track);  // no audio to open in the last, but a file to save
    track.v1 = sample();
    ASSERT_EQ(updateV1ToTrack(track, withApe, false, false), 0);
    ASSERT_EQ(updateV1ToTrack(track, withApe, false, false), 0);
    EXPECT_EQ(readFile(track.path()), test::concat({kept, expected}));
    if (withApe) test::openBytes(dir, "a.mp3", original, track);  // the APE tag back for the removal
    ASSERT_EQ(::utimensat(AT_FDCWD, track.path().c_str(), times, 0), 0);
    for (int i = 0; i < 2; ++i) {
      ASSERT_EQ(removeV1FromTrack(track, withApe, true), 0);
      EXPECT_EQ(readFile(track.path()), kept);
    }
    struct stat st;
    ASSERT_EQ(::stat(track.path().c_str(), &st), 0);
    EXPECT_EQ(st.st_mtim.tv_nsec, 6);
  }
}

// Fails the first write and every unlink: the copy without the APE tag fails and its temporary file stays.
struct CopyAndCleanupFail : FaultInjector {
  int failure(FileOp op) noexcept override { return op == FileOp::Unlink || (op == FileOp::Write && ++writes == 1) ? EIO : 0; }
  int writes = 0;
};

// Not an MP3 or no path is code 1, a copy that fails is 5; the file stays as it was.
TEST(V1Save, WhatCannotBeSavedIsLeftAlone) {
  ID3Tag none;
  none.isMp3File = true;
  EXPECT_EQ(updateV1ToTrack(none, false, false, false), 1);
  EXPECT_EQ(removeV1FromTrack(none, false, false), 1);
  ID3Tag tdf;
  tdf.setPath("a.tdf");
  EXPECT_EQ(updateV1ToTrack(tdf, false, false, false), 1);
  test::TempDir dir;
  const Bytes original = test::concat({kAudio, kApe, kV1});
  ID3Tag track = opened(dir, "a.mp3", original);
  track.v1 = sample();
  CopyAndCleanupFail fail;
  test::LogCapture log;
  setFaultInjector(&fail);
  EXPECT_EQ(updateV1ToTrack(track, true, false, false), 5);
  setFaultInjector(nullptr);
  EXPECT_EQ(readFile(track.path()), original);
}

// Everything but the tag stays, in an MP3 and around the sound of an AIFF, which loses every ID3 chunk; without a
// tag the file is rewritten as it is, and no other file stays.
TEST(V2Remove, KeepsEverythingButTheTag) {
  auto aiff = [](bool withTags) {
    test::AiffBuilder b;
    for (const test::AiffChunk& chunk : {test::commChunk(1, 2, 8, 8000.0), test::id3Chunk(kV2), test::ssndChunk({1, 2, 3}), test::id3Chunk(kV2), test::AiffChunk("ANNO", {'x'})})
      if (withTags || chunk.id != "ID3 ") b.chunk(chunk);
    return b.build();
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

// 1 when a tag was cut; a tag that cannot be one is kept. The failures are in FaultSweep.EachFailureHasItsCodeAndMessage.
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
    ID3Tag aiff;  // only MP3 files have one
    aiff.isAiffFile = true;
    EXPECT_EQ(stripAPETag(aiff, track.path()), 0);
  }
}

}  // namespace
}  // namespace melos
