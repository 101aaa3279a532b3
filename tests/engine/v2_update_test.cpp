#include "engine/v2_update.h"

#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <thread>

#include "engine/compare.h"
#include "engine/file_state.h"
#include "engine/log.h"
#include "engine/output_file.h"
#include "engine/tag_writer.h"
#include "engine/trash.h"
#include "tests/support/aiff_builder.h"
#include "tests/support/byte_text.h"
#include "tests/support/fault_injector.h"
#include "tests/support/id3v1_builder.h"
#include "tests/support/id3v2_builder.h"
#include "tests/support/log_capture.h"
#include "tests/support/mp3_file_builder.h"
#include "tests/support/open_helpers.h"
#include "tests/support/tag_fixtures.h"

namespace melos {
namespace {

namespace fs = std::filesystem;
using test::Enc;
using test::readFile;

const Bytes kAudio = test::shortAudio(30);

Bytes oldTag() {
  return test::Id3v2Builder(3).text("TIT2", Enc::Latin1, "Old title").text("TPE1", Enc::Latin1, "Old").padding(300).build();
}

Bytes v1Block() {
  test::Id3v1Fields fields;
  fields.title = "V1 title";
  return test::id3v1Tag(fields);
}

Bytes mp3WithTags() {
  return test::mp3File({oldTag(), kAudio, {}, v1Block()});
}

Bytes tail(const Bytes& bytes, size_t from) { return Bytes(bytes.begin() + static_cast<long>(from), bytes.end()); }

std::vector<std::string> leftovers(const std::string& folder) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder))
    if (entry.path().filename().string().find(".t") != std::string::npos &&
        entry.path().extension().string().rfind(".t", 0) == 0 && entry.path().extension() != ".tdf")
      names.push_back(entry.path().filename().string());
  return names;
}

ID3Tag reopen(const std::string& path) {
  ID3Tag track;
  OpenTrack(track, path, kScanQuick, nullptr, false);
  return track;
}

void setAllFields(ID3Tag& track, bool unicode, int version) {
  track.tagData = test::fullTagData(unicode);
  track.tagData.enabled = true;
  if (version < 4) {
    track.tagData.releasetime.clear();
    track.tagData.recordtime.clear();
    track.tagData.producednotice.clear();
    track.tagData.mood.clear();
  }
}

// The whole path from the fields to the file and back: every field, both
// versions and encodings, trimmed or not, and a second save of what was reread
// writes the same bytes.
TEST(V2Save, Mp3RoundTripsEveryFieldAndKeepsTheAudio) {
  test::LogCapture log;
  for (int version : {3, 4}) {
    for (bool unicode : {false, true}) {
      for (bool trim : {false, true}) {
        SCOPED_TRACE("2." + std::to_string(version) + (unicode ? " utf16" : " latin1") + (trim ? " trim" : ""));
        test::TempDir dir;
        const Bytes original = mp3WithTags();
        ID3Tag track;
        ASSERT_NE(test::openBytes(dir, "a.mp3", original, track), 0u);
        setAllFields(track, unicode, version);
        track.v2Changed = true;

        ASSERT_EQ(updateV2ToTrack(track, false, version, false, trim, 0), kSaveOk) << log.dump();
        EXPECT_FALSE(track.v2Changed);
        const Bytes saved = readFile(track.path());
        ID3Tag again = reopen(track.path());
        EXPECT_EQ(again.v2Version, version);
        EXPECT_TRUE(again.tagData == test::rereadForm(track.tagData, version));
        // The audio and the V1 tag behind the old tag travel unchanged.
        const size_t newTag = 10 + syncsafeDecode(&saved[6]);
        EXPECT_EQ(newTag % 128, 0u);
        EXPECT_EQ(tail(saved, newTag), tail(original, oldTag().size()));
        EXPECT_TRUE(leftovers(dir.path()).empty());
        EXPECT_EQ(log.count(LogError), 0u) << log.dump();
        Bytes second;
        buildV2Tag(again, second, version, trim, false);
        EXPECT_EQ(second, Bytes(saved.begin(), saved.begin() + static_cast<long>(newTag)));
      }
    }
  }
}

Bytes aiffWith(bool id3First) {
  test::AiffBuilder builder;
  builder.chunk(test::commChunk(2, 4, 16, 44100.0));
  if (id3First) builder.chunk(test::id3Chunk(oldTag()));
  builder.chunk(test::ssndChunk({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}));
  builder.chunk("NAME", {'o', 'd', 'd'});  // an odd body with its pad byte
  if (!id3First) builder.chunk(test::id3Chunk(oldTag()));
  builder.chunk("ANNO", {'n', 'o', 't', 'e'});
  return builder.build();
}

struct Chunk {
  std::string id;
  Bytes bytes;  // header and body with its pad byte
  bool operator==(const Chunk&) const = default;
};

std::vector<Chunk> chunksOf(const Bytes& file) {
  std::vector<Chunk> chunks;
  EXPECT_EQ(readU32BE(&file[4]), file.size() - 8);
  size_t pos = 12;
  while (pos + 8 <= file.size()) {
    size_t size = readU32BE(&file[pos + 4]);
    size_t whole = 8 + size + (size & 1);
    chunks.push_back({std::string(file.begin() + static_cast<long>(pos), file.begin() + static_cast<long>(pos) + 4),
                      Bytes(file.begin() + static_cast<long>(pos), file.begin() + static_cast<long>(pos + whole))});
    pos += whole;
  }
  EXPECT_EQ(pos, file.size());
  return chunks;
}

std::vector<std::string> idsOf(const std::vector<Chunk>& chunks) {
  std::vector<std::string> ids;
  for (const Chunk& c : chunks) ids.push_back(c.id);
  return ids;
}

std::vector<Chunk> withoutId3(std::vector<Chunk> chunks) {
  std::erase_if(chunks, [](const Chunk& c) { return c.id == "ID3 "; });
  return chunks;
}

TEST(V2Save, AiffPlacesTheTagChunkBehindTheSoundOrAtTheEnd) {
  test::LogCapture log;
  for (bool afterSound : {true, false}) {
    for (int version : {3, 4}) {
      for (bool unicode : {false, true}) {
        SCOPED_TRACE(std::string(afterSound ? "after SSND" : "at the end") + " 2." + std::to_string(version) +
                     (unicode ? " utf16" : " latin1"));
        test::TempDir dir;
        const Bytes original = aiffWith(true);
        ID3Tag track;
        ASSERT_NE(test::openBytes(dir, "a.aif", original, track), 0u);
        track.id3ChunkAfterSound = afterSound;
        setAllFields(track, unicode, version);
        track.tagData.picdata.resize(1);  // an odd-sized tag body needs a pad byte
        track.tagData.picdata[0].data.push_back(1);

        ASSERT_EQ(updateV2ToTrack(track, false, version, false, false, 0), kSaveOk) << log.dump();
        const Bytes saved = readFile(track.path());
        const std::vector<Chunk> chunks = chunksOf(saved);
        const std::vector<std::string> behindSound{"COMM", "SSND", "ID3 ", "NAME", "ANNO"};
        const std::vector<std::string> atTheEnd{"COMM", "SSND", "NAME", "ANNO", "ID3 "};
        EXPECT_EQ(idsOf(chunks), afterSound ? behindSound : atTheEnd);
        EXPECT_EQ(withoutId3(chunks), withoutId3(chunksOf(original)));
        const ID3Tag again = reopen(track.path());
        EXPECT_TRUE(again.tagData == test::rereadForm(track.tagData, version));
        EXPECT_EQ(log.count(LogError), 0u) << log.dump();
      }
    }
  }
}

TEST(V2Save, AnOddChunkKeepsItsPadByteSoTheTagIsFoundAgain) {
  const Bytes sound(301, 7);
  Bytes cutSound = test::AiffBuilder().chunk(test::commChunk(2, 4, 16, 44100.0)).chunk(test::ssndChunk(sound)).build();
  cutSound.resize(cutSound.size() - 100);  // cut short at an odd length, FORM size as it was
  test::AiffChunk oddName("NAME", {'o', 'd', 'd'});
  oddName.padOdd = false;
  const Bytes padMissing = test::AiffBuilder().chunk(test::commChunk(2, 4, 16, 44100.0)).chunk(test::ssndChunk({1, 2}))
                               .chunk(oddName).build();
  Bytes padUncounted = padMissing;
  padUncounted.push_back(0);  // the pad is there, but the FORM size leaves it out
  struct Case {
    const char* name;
    Bytes original;
    std::vector<std::string> ids;
  };
  const Case cases[] = {
      {"sound cut at an odd length", cutSound, {"COMM", "SSND", "ID3 "}},
      {"last chunk without its pad", padMissing, {"COMM", "SSND", "ID3 ", "NAME"}},
      {"last pad outside the FORM size", padUncounted, {"COMM", "SSND", "ID3 ", "NAME"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    test::TempDir dir;
    ID3Tag track;
    ASSERT_NE(test::openBytes(dir, "a.aif", c.original, track), 0u);
    track.tagData.enabled = true;
    track.tagData.title = UnicodeText::latin1("X");
    ASSERT_EQ(updateV2ToTrack(track, false, 3, false, false, 0), kSaveOk);
    const std::vector<Chunk> chunks = chunksOf(readFile(track.path()));
    EXPECT_EQ(idsOf(chunks), c.ids);
    if (c.ids.back() == "NAME") {
      EXPECT_EQ(chunks.back().bytes, test::concat({test::ascii("NAME"), {0, 0, 0, 3}, test::ascii("odd"), {0}}));
    }
    EXPECT_EQ(reopen(track.path()).tagData.title, UnicodeText::latin1("X"));
  }
}

TEST(V2Save, TemporaryNames) {
  EXPECT_EQ(temporaryName("/m/a.mp3", 0), "/m/a.mp3.t0");
  EXPECT_EQ(temporaryName("/m/a.mp3", 99), "/m/a.mp3.t99");

  test::TempDir dir;
  ID3Tag track;
  ASSERT_NE(test::openBytes(dir, "a.mp3", mp3WithTags(), track), 0u);
  // Someone else's file under the first name is passed over and left alone.
  dir.write("a.mp3.t0", {'x'});
  test::CountingInjector counter;
  {
    test::ScopedInjector scoped(counter);
    ASSERT_EQ(updateV2ToTrack(track, false, 3, false, false, 0), kSaveOk);
  }
  EXPECT_EQ(readFile(dir.file("a.mp3.t0")), Bytes{'x'});
  EXPECT_FALSE(fs::exists(dir.file("a.mp3.t1")));
  // The original is replaced by one rename and never deleted.
  EXPECT_EQ(counter.count(FileOp::Rename), 1);
  EXPECT_EQ(counter.count(FileOp::Unlink), 0);

  // Saving again finds the first free name again.
  fs::remove(dir.file("a.mp3.t0"));
  track.tagData.title = UnicodeText::latin1("Second");
  ASSERT_EQ(updateV2ToTrack(track, false, 3, false, false, 0), kSaveOk);
  EXPECT_EQ(reopen(track.path()).tagData.title.data, "Second");
  EXPECT_TRUE(leftovers(dir.path()).empty());
}

TEST(V2Save, NoFreeTemporaryNameIsCode3) {
  test::TempDir dir;
  ID3Tag track;
  const Bytes original = mp3WithTags();
  ASSERT_NE(test::openBytes(dir, "a.mp3", original, track), 0u);
  for (int n = 0; n <= kMaxTemporaryNumber; ++n) dir.write("a.mp3.t" + std::to_string(n), {});
  test::LogCapture log;
  EXPECT_EQ(updateV2ToTrack(track, false, 3, false, false, 0), kSaveCannotOpenOutput);
  EXPECT_TRUE(log.has(LogError, "Failed to open the output file '" + dir.file("a.mp3.t99") + "'")) << log.dump();
  EXPECT_EQ(readFile(track.path()), original);
}

// The failures of each step are in FaultSweep.EachFailureHasItsCodeAndMessage.
TEST(V2Save, WithoutAFileThereIsNothingToSave) {
  ID3Tag noPath;
  EXPECT_EQ(updateV2ToTrack(noPath, false, 3, false, false, 0), kSaveNoPath);

  test::TempDir dir;
  ID3Tag gone;
  ASSERT_NE(test::openBytes(dir, "gone.mp3", mp3WithTags(), gone), 0u);
  fs::remove(gone.path());
  test::LogCapture log;
  EXPECT_EQ(updateV2ToTrack(gone, false, 3, false, false, 0), kSaveCannotOpenSource);
  EXPECT_FALSE(fs::exists(gone.path()));
}

// What stands behind the new tag after a save of each shape of file, and the
// version the save chose.
TEST(V2Save, WhatFollowsTheNewTag) {
  Bytes footed = test::Id3v2Builder(4).text("TIT2", Enc::Latin1, "Old").flags(0x10).build();
  Bytes footer(footed.begin(), footed.begin() + 10);
  footer[0] = '3';
  footer[1] = 'D';
  footer[2] = 'I';
  struct Case {
    const char* name;
    const char* file;
    Bytes original;
    void (*change)(TagData&);
    int asked;
    int result;
    Bytes behind;  // what follows the new tag
    int version;   // of the reread tag
  };
  const Bytes kept = tail(mp3WithTags(), oldTag().size());
  const Case cases[] = {
      {"an untagged MP3 gets a tag in front", "bare.mp3", test::mp3File({{}, kAudio, {}, {}}),
       [](TagData& d) { d.title = UnicodeText::latin1("Now tagged"); }, 3, kSaveOk, test::mp3File({{}, kAudio, {}, {}}), 3},
      {"a 2.4 footer goes with the old tag", "f.mp3", test::concat({footed, footer, kAudio}), [](TagData&) {}, 4, kSaveOk,
       kAudio, 4},
      {"a tag data file holds the tag alone", "clip.tdf", oldTag(),
       [](TagData& d) { d.album = UnicodeText::latin1("Clipboard"); }, 3, kSaveOk, {}, 3},
      {"a recording time chooses 2.4", "a.mp3", mp3WithTags(), [](TagData& d) { d.recordtime = "2001-02-03"; }, 0,
       kSaveOk, kept, 4},
      {"no time chooses 2.3", "a.mp3", mp3WithTags(), [](TagData& d) { d.recordtime.clear(); }, 0, kSaveOk, kept, 3},
      {"a 2.4-only field in 2.3 does not verify", "a.mp3", mp3WithTags(), [](TagData& d) { d.mood = "Calm"; }, 3,
       kSaveNotVerified, kept, 3},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    test::TempDir dir;
    const std::string path = dir.write(c.file, c.original);
    ID3Tag track;
    OpenTrack(track, path, kScanQuick, nullptr, true);
    c.change(track.tagData);
    test::LogCapture log;
    ASSERT_EQ(updateV2ToTrack(track, false, c.asked, false, false, 0), c.result) << log.dump();
    const Bytes saved = readFile(path);
    EXPECT_EQ(tail(saved, 10 + syncsafeDecode(&saved[6])), c.behind);
    const ID3Tag again = reopen(path);
    EXPECT_EQ(again.v2Version, c.version);
    EXPECT_EQ(again.tagData.title, track.tagData.title);
    EXPECT_EQ(again.tagData.album, track.tagData.album);
    if (c.result != kSaveOk) {
      EXPECT_TRUE(log.has(LogError, "Failed to verify the saved V2 tag data in '" + path + "' (140:Mood)")) << log.dump();
    }
  }
}

TEST(V2Save, ATagClaimingMoreThanTheFileIsNotRewritten) {
  test::TempDir dir;
  const Bytes original = test::concat({test::Id3v2Builder(3).text("TIT2", Enc::Latin1, "x").headerSize(1u << 20).build(),
                                       kAudio});
  const std::string path = dir.write("broken.mp3", original);
  ID3Tag track;
  GetFileKind(path, &track);
  track.setPath(path);
  test::LogCapture log;
  EXPECT_EQ(updateV2ToTrack(track, false, 3, false, false, 0), kSaveCannotCopyAudio);
  EXPECT_EQ(readFile(path), original);
}

TEST(V2Save, AnOutputPathLeavesTheOriginalAlone) {
  test::TempDir dir;
  const Bytes original = mp3WithTags();
  ID3Tag track;
  ASSERT_NE(test::openBytes(dir, "a.mp3", original, track), 0u);
  const std::string copy = dir.file("copy.mp3");
  track.tagData.title = UnicodeText::latin1("Copy");
  ASSERT_EQ(updateV2ToTrack(track, true, 3, false, false, 0, &copy), kSaveOk);
  EXPECT_EQ(track.path(), copy);
  EXPECT_EQ(readFile(dir.file("a.mp3")), original);
  EXPECT_EQ(reopen(copy).tagData.title.data, "Copy");
  // The same path in other letter case is no other path.
  std::string same = copy;
  same.replace(same.size() - 8, 4, "COPY");
  ASSERT_EQ(updateV2ToTrack(track, false, 3, false, false, 0, &same), kSaveOk);
  EXPECT_EQ(track.path(), copy);
  EXPECT_FALSE(fs::exists(same));
}

TEST(V2Save, KeepsPermissionBitsAndRestoresDatesToTheNanosecond) {
  test::TempDir dir;
  ID3Tag track;
  ASSERT_NE(test::openBytes(dir, "a.mp3", mp3WithTags(), track), 0u);
  ASSERT_EQ(::chmod(track.path().c_str(), 0640), 0);
  const struct timespec times[2] = {{1000000000, 123456789}, {1100000000, 987654321}};
  ASSERT_EQ(::utimensat(AT_FDCWD, track.path().c_str(), times, 0), 0);

  for (bool keepDates : {true, false}) {
    SCOPED_TRACE(keepDates ? "keep dates" : "new dates");
    ASSERT_EQ(updateV2ToTrack(track, false, 3, keepDates, false, 0), kSaveOk);
    struct stat st;
    ASSERT_EQ(::stat(track.path().c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0640u);
    EXPECT_EQ(st.st_mtim.tv_sec == times[1].tv_sec && st.st_mtim.tv_nsec == times[1].tv_nsec, keepDates);
    if (keepDates) {
      EXPECT_EQ(st.st_atim.tv_nsec, times[0].tv_nsec);
    }
  }
}

TEST(V2Save, ASymbolicLinkStaysALinkToTheSavedFile) {
  test::TempDir dir;
  const std::string real = dir.write("real.mp3", mp3WithTags());
  const std::string link = dir.file("link.mp3");
  fs::create_symlink(real, link);
  ID3Tag track;
  ASSERT_NE(OpenTrack(track, link, kScanQuick, nullptr, true), 0u);
  track.tagData.title = UnicodeText::latin1("Through the link");
  ASSERT_EQ(updateV2ToTrack(track, false, 3, false, false, 0), kSaveOk);
  EXPECT_TRUE(fs::is_symlink(link));
  EXPECT_EQ(reopen(real).tagData.title.data, "Through the link");
}

TEST(V2Save, TheTrashKeepsEachOriginalWithItsInfo) {
  test::TempDir home;
  test::ScopedEnv data("XDG_DATA_HOME", home.path());
  test::TempDir one, two;
  const Bytes first = mp3WithTags();
  const Bytes second = test::mp3File({oldTag(), test::shortAudio(5), {}, {}});
  ID3Tag a, b;
  ASSERT_NE(test::openBytes(one, "song.mp3", first, a), 0u);
  ASSERT_NE(test::openBytes(two, "song.mp3", second, b), 0u);
  ASSERT_EQ(updateV2ToTrack(a, true, 3, false, false, 0), kSaveOk);
  ASSERT_EQ(updateV2ToTrack(b, true, 3, false, false, 0), kSaveOk);

  const std::string trash = trashDirectory();
  EXPECT_EQ(trash, home.path() + "/Trash");
  EXPECT_EQ(readFile(trash + "/files/song.mp3"), first);
  EXPECT_EQ(readFile(trash + "/files/song-1.mp3"), second);
  const Bytes info = readFile(trash + "/info/song-1.mp3.trashinfo");
  const std::string text(info.begin(), info.end());
  EXPECT_EQ(text.rfind("[Trash Info]\nPath=" + fs::canonical(two.path()).string() + "/song.mp3\nDeletionDate=", 0), 0u)
      << text;
}

TEST(V2Save, TrashNamesAndInfo) {
  EXPECT_EQ(trashCandidate("song.mp3", 0), "song.mp3");
  EXPECT_EQ(trashCandidate("song.mp3", 1), "song-1.mp3");
  EXPECT_EQ(trashCandidate("a.b.aif", 12), "a.b-12.aif");
  EXPECT_EQ(trashCandidate("noext", 2), "noext-2");
  EXPECT_EQ(trashCandidate(".hidden", 3), ".hidden-3");
  std::tm when{};
  when.tm_year = 126;
  when.tm_mon = 10;
  when.tm_mday = 21;
  when.tm_hour = 9;
  when.tm_min = 5;
  when.tm_sec = 7;
  when.tm_isdst = -1;
  EXPECT_EQ(trashInfoText("/m/A b%é.mp3", std::mktime(&when)),
            "[Trash Info]\nPath=/m/A%20b%25%C3%A9.mp3\nDeletionDate=2026-11-21T09:05:07\n");
}

TEST(V2Save, AFailedTrashCopyIsLoggedAndTheSaveGoesOn) {
  test::TempDir home;
  const std::string blocked = home.write("not-a-folder", {});
  test::ScopedEnv data("XDG_DATA_HOME", blocked);
  test::TempDir dir;
  ID3Tag track;
  ASSERT_NE(test::openBytes(dir, "a.mp3", mp3WithTags(), track), 0u);
  test::LogCapture log;
  EXPECT_EQ(updateV2ToTrack(track, true, 3, false, false, 0), kSaveOk);
  EXPECT_TRUE(log.has(LogError, "Error moving the original to the trash (")) << log.dump();
}

TEST(V2Save, AHeldLockLeavesTheFileAlone) {
  test::TempDir dir;
  const Bytes original = mp3WithTags();
  ID3Tag track;
  ASSERT_NE(test::openBytes(dir, "a.mp3", original, track), 0u);
  File holder = File::openRead(track.path());
  ASSERT_EQ(::flock(holder.fd(), LOCK_EX), 0);
  test::ScopedLockWait shortWait(100);
  test::LogCapture log;
  track.tagData.title = UnicodeText::latin1("Blocked");
  EXPECT_EQ(updateV2ToTrack(track, false, 3, false, false, 0), kSaveCannotOpenSource);
  EXPECT_TRUE(log.has(LogError, "is being saved by another task")) << log.dump();
  EXPECT_EQ(readFile(track.path()), original);
  holder.close();
  EXPECT_EQ(updateV2ToTrack(track, false, 3, false, false, 0), kSaveOk);
}

TEST(V2Save, ConcurrentSavesOfOneFileNeverCorruptIt) {
  test::TempDir dir;
  ID3Tag first, second;
  ASSERT_NE(test::openBytes(dir, "a.mp3", mp3WithTags(), first), 0u);
  ASSERT_NE(OpenTrack(second, first.path(), kScanQuick, nullptr, true), 0u);
  first.tagData.title = UnicodeText::latin1("First");
  second.tagData.title = UnicodeText::latin1("Second");
  test::LogCapture log(1);
  int results[2][40];
  std::thread a([&] {
    for (int& r : results[0]) r = updateV2ToTrack(first, false, 3, false, false, 0);
  });
  std::thread b([&] {
    for (int& r : results[1]) r = updateV2ToTrack(second, false, 3, false, false, 0);
  });
  a.join();
  b.join();
  for (const auto& row : results)
    for (int r : row) EXPECT_TRUE(r == kSaveOk || r == kSaveCannotOpenSource || r == kSaveNotVerified) << r;
  const ID3Tag again = reopen(dir.file("a.mp3"));
  EXPECT_TRUE(again.tagData.title.data == "First" || again.tagData.title.data == "Second");
  const Bytes saved = readFile(dir.file("a.mp3"));
  EXPECT_EQ(tail(saved, 10 + syncsafeDecode(&saved[6])), tail(mp3WithTags(), oldTag().size()));
  EXPECT_TRUE(leftovers(dir.path()).empty());
}

// Each save locks the file before it reads the track, so the second one reads
// what the first one wrote and both changes land.
TEST(V2Save, TwoSavesOfOtherFieldsOfOneFileBothLand) {
  test::TempDir dir;
  const std::string path = dir.write("a.mp3", mp3WithTags());
  std::atomic<int> ready{0};
  auto save = [&](void (*change)(TagData&)) {
    TrackLock lock = TrackLock::acquire(path);
    ++ready;
    EXPECT_TRUE(lock.isHeld());
    ID3Tag track;
    EXPECT_NE(OpenTrack(track, path, kScanNone, nullptr, true), 0u);
    // Long enough for the other thread to be waiting for the lock.
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    change(track.tagData);
    EXPECT_EQ(updateV2ToTrack(track, false, 3, false, false, 0), kSaveOk);
  };
  std::thread a(save, [](TagData& d) { d.album = UnicodeText::latin1("Album A"); });
  while (ready == 0) std::this_thread::yield();
  std::thread b(save, [](TagData& d) { d.title = UnicodeText::latin1("Title B"); });
  a.join();
  b.join();
  const ID3Tag again = reopen(path);
  EXPECT_EQ(again.tagData.album, UnicodeText::latin1("Album A"));
  EXPECT_EQ(again.tagData.title, UnicodeText::latin1("Title B"));
}

}  // namespace
}  // namespace melos
