#include "engine/v1_update.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "engine/id3v1.h"
#include "engine/log.h"
#include "engine/open_track.h"
#include "tests/support/ape_builder.h"
#include "tests/support/fault_injector.h"
#include "tests/support/id3v1_builder.h"
#include "tests/support/log_capture.h"
#include "tests/support/mp3_file_builder.h"
#include "tests/support/open_helpers.h"

namespace melos {
namespace {

using test::readFile;

const Bytes kAudio = test::shortAudio(8);

Bytes v1(const std::string& title, uint8_t track = 0, uint8_t genre = 255) {
  test::Id3v1Fields fields;
  fields.title = title;
  fields.track = track;
  fields.genre = genre;
  return test::id3v1Tag(fields);
}

Bytes ape() {
  test::ApeTag tag;
  tag.items = {test::apeText("Title", "ape")};
  return test::apeTag(tag);
}

V1Tag sample() {
  V1Tag tag;
  tag.enabled = true;
  tag.title = "Title";
  tag.artist = "Artist";
  tag.album = "Album";
  tag.year = "1999";
  tag.comment = "Comment";
  tag.track = 7;
  tag.genre = 17;
  return tag;
}

TEST(V1Save, TheBlockAsWritten) {
  uint8_t block[kV1TagSize];
  V1Tag tag = sample();
  tag.comment = std::string(29, 'c');  // fills byte 125: no terminator before the track
  buildV1Block(tag, false, block);
  Bytes expected(128, 0);
  auto put = [&](size_t at, std::string_view text) { std::copy(text.begin(), text.end(), expected.begin() + static_cast<long>(at)); };
  put(0, "TAG");
  put(3, "Title");
  put(33, "Artist");
  put(63, "Album");
  put(93, "1999");
  put(97, std::string(29, 'c'));
  expected[126] = 7;   // track
  expected[127] = 17;  // genre
  EXPECT_EQ(Bytes(block, block + 128), expected);
}

TEST(V1Save, FieldRules) {
  struct Case {
    const char* name;
    V1Tag tag;
    bool trim;
    V1Tag readBack;
  };
  auto with = [](auto change) {
    V1Tag t = sample();
    change(t);
    return t;
  };
  const Case cases[] = {
      {"30 characters are kept, a 31st is cut", with([](V1Tag& t) { t.title = std::string(31, 't'); }), false,
       with([](V1Tag& t) { t.title = std::string(30, 't'); })},
      {"a 29-character comment fills byte 125", with([](V1Tag& t) { t.comment = std::string(29, 'c'); }), false,
       with([](V1Tag& t) { t.comment = std::string(29, 'c'); })},
      {"the year has four", with([](V1Tag& t) { t.year = "19999"; }), false, with([](V1Tag& t) { t.year = "1999"; })},
      {"trimmed", with([](V1Tag& t) { t.artist = " \tA r\n"; }), true, with([](V1Tag& t) { t.artist = "A r"; })},
      {"untrimmed", with([](V1Tag& t) { t.artist = " A "; }), false, with([](V1Tag& t) { t.artist = " A "; })},
      {"track 0 is none", with([](V1Tag& t) { t.track = 0; }), false, with([](V1Tag& t) { t.track = kUnsetV1; })},
      {"track 255 is none", with([](V1Tag& t) { t.track = 255; }), false, with([](V1Tag& t) { t.track = kUnsetV1; })},
      {"track 254 is kept", with([](V1Tag& t) { t.track = 254; }), false, with([](V1Tag& t) { t.track = 254; })},
      {"genre 255 reads as Other", with([](V1Tag& t) { t.genre = 255; }), false, with([](V1Tag& t) { t.genre = 12; })},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    test::TempDir dir;
    ID3Tag track;
    ASSERT_NE(test::openBytes(dir, "a.mp3", test::mp3File({{}, kAudio, {}, {}}), track), 0u);
    track.v1 = c.tag;
    test::LogCapture log;
    ASSERT_EQ(updateV1ToTrack(track, false, false, c.trim), 0) << log.dump();
    EXPECT_EQ(track.v1, c.readBack);
    ID3Tag again;
    ASSERT_NE(OpenTrack(again, track.path(), kScanQuick, nullptr, false), 0u);
    EXPECT_EQ(again.v1, c.readBack);
  }
}

TEST(V1Save, OverwritesOrAppendsAndLeavesOneTag) {
  test::TempDir dir;
  const Bytes audioOnly = test::mp3File({{}, kAudio, {}, {}});
  ID3Tag track;
  ASSERT_NE(test::openBytes(dir, "a.mp3", audioOnly, track), 0u);
  track.v1 = sample();
  ASSERT_EQ(updateV1ToTrack(track, false, false, false), 0);
  ASSERT_EQ(updateV1ToTrack(track, false, false, false), 0);
  const Bytes saved = readFile(track.path());
  ASSERT_EQ(saved.size(), audioOnly.size() + 128);
  EXPECT_EQ(Bytes(saved.begin(), saved.end() - 128), audioOnly);
  EXPECT_EQ(std::string(saved.end() - 128, saved.end() - 125), "TAG");
}

TEST(V1Save, NotAnMp3OrNoPathIsCode1) {
  ID3Tag none;
  none.isMp3File = true;
  EXPECT_EQ(updateV1ToTrack(none, false, false, false), 1);
  EXPECT_EQ(removeV1FromTrack(none, false, false), 1);
  test::TempDir dir;
  const std::string path = dir.write("a.tdf", {});
  ID3Tag tdf;
  GetFileKind(path, &tdf);
  tdf.setPath(path);
  EXPECT_EQ(updateV1ToTrack(tdf, false, false, false), 1);
  EXPECT_TRUE(readFile(path).empty());
}

TEST(V1Save, ApeTagIsCutAndTheNewV1TagStillWritten) {
  test::TempDir dir;
  const Bytes original = test::mp3File({{}, kAudio, ape(), v1("Old")});
  ID3Tag track;
  ASSERT_NE(test::openBytes(dir, "a.mp3", original, track), 0u);
  track.v1 = sample();
  ASSERT_EQ(updateV1ToTrack(track, true, false, false), 0);
  const Bytes saved = readFile(track.path());
  ASSERT_EQ(saved.size(), test::mp3File({{}, kAudio, {}, {}}).size() + 128);
  ID3Tag again;
  OpenTrack(again, track.path(), kScanQuick, nullptr, false);
  EXPECT_EQ(again.v1.title, "Title");
}

TEST(V1Remove, CutsTheLast128BytesOnlyWhenTheyAreATag) {
  test::TempDir dir;
  const Bytes audioOnly = test::mp3File({{}, kAudio, {}, {}});
  ID3Tag track;
  ASSERT_NE(test::openBytes(dir, "a.mp3", test::mp3File({{}, kAudio, {}, v1("Old")}), track), 0u);
  ASSERT_EQ(removeV1FromTrack(track, false, false), 0);
  EXPECT_EQ(readFile(track.path()), audioOnly);
  // Nothing to remove: unchanged and 0.
  ASSERT_EQ(removeV1FromTrack(track, false, false), 0);
  EXPECT_EQ(readFile(track.path()), audioOnly);
}

TEST(V1Remove, WithTheApeTagTheV1TagGoesToo) {
  test::TempDir dir;
  ID3Tag track;
  ASSERT_NE(test::openBytes(dir, "a.mp3", test::mp3File({{}, kAudio, ape(), v1("Old")}), track), 0u);
  const struct timespec times[2] = {{1000000000, 5}, {1000000000, 6}};
  ASSERT_EQ(::utimensat(AT_FDCWD, track.path().c_str(), times, 0), 0);
  ASSERT_EQ(removeV1FromTrack(track, true, true), 0);
  EXPECT_EQ(readFile(track.path()), test::mp3File({{}, kAudio, {}, {}}));
  struct stat st;
  ASSERT_EQ(::stat(track.path().c_str(), &st), 0);
  EXPECT_EQ(st.st_mtim.tv_nsec, 6);
}

}  // namespace
}  // namespace melos
