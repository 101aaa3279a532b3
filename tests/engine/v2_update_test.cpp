#include "engine/v2_update.h"

#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <regex>
#include <thread>

#include "engine/log.h"
#include "engine/tag_writer.h"
#include "engine/trash.h"
#include "tests/support/aiff_builder.h"
#include "tests/support/byte_text.h"
#include "tests/support/fault_injector.h"
#include "tests/support/id3v1_builder.h"
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
const Bytes kOldTag = test::Id3v2Builder(3).text("TIT2", Enc::Latin1, "Old title").padding(300).build();
const Bytes kMp3 = test::mp3File({kOldTag, kAudio, {}, test::id3v1Tag({"V1 title", "", "", "", "", 0, 255})});

Bytes tail(const Bytes& bytes, size_t from) { return Bytes(bytes.begin() + static_cast<long>(from), bytes.end()); }
Bytes behindTheTag(const Bytes& file) { return tail(file, 10 + syncsafeDecode(&file[6])); }
const Bytes kBehindOldTag = tail(kMp3, kOldTag.size());

bool noTemporaries(const std::string& folder) {
  for (const auto& entry : fs::directory_iterator(folder))
    if (std::regex_match(entry.path().filename().string(), std::regex(R"(.*\.t[0-9]+)"))) return false;
  return true;
}

ID3Tag reopen(const std::string& path) {
  ID3Tag track;
  OpenTrack(track, path, kScanQuick, nullptr, true);
  return track;
}

int save(ID3Tag& track, const std::string* output = nullptr) { return updateV2ToTrack(track, false, 3, false, false, 0, output); }

// An AIFF file with the tag chunk before the sound (0), behind it (1) or at the end (2).
Bytes aiffWith(const Bytes& tag, int where) {
  std::vector<test::AiffChunk> chunks = {test::commChunk(2, 4, 16, 44100.0), test::ssndChunk(Bytes(16, 3)),
                                         {"NAME", {'o', 'd', 'd'}} /* an odd body with its pad byte */, {"ANNO", {'n', 'o', 't', 'e'}}};
  chunks.insert(chunks.begin() + (where == 2 ? 4 : where + 1), test::id3Chunk(tag));
  test::AiffBuilder b;
  for (const test::AiffChunk& chunk : chunks) b.chunk(chunk);
  return b.build();
}

// Writes the bytes to NAME in the folder and opens them as a track.
ID3Tag opened(const test::TempDir& dir, const std::string& name, const Bytes& bytes) { return reopen(dir.write(name, bytes)); }

// The whole path from the fields to the file and back, for an MP3 and both places of an AIFF tag chunk: the
// file is the new tag where the old one was and all else as it was, and a second build of what was reread
// gives the same tag.
TEST(V2Save, RoundTripsEveryFieldAndKeepsTheRest) {
  test::LogCapture log;
  for (int where : {-1, 1, 2}) {
    for (int version : {3, 4}) {
      for (bool unicode : {false, true}) {
        SCOPED_TRACE(std::to_string(where) + " 2." + std::to_string(version) + (unicode ? " utf16" : " latin1"));
        test::TempDir dir;
        ID3Tag track = opened(dir, where < 0 ? "a.mp3" : "a.aif", where < 0 ? kMp3 : aiffWith(kOldTag, 0));
        track.tagData = test::fullTagData(unicode);
        track.tagData.enabled = track.v2Changed = true, track.id3ChunkAfterSound = where == 1;
        if (version < 4) track.tagData.releasetime = track.tagData.recordtime = track.tagData.producednotice = track.tagData.mood = "";
        ASSERT_EQ(updateV2ToTrack(track, false, version, false, unicode, 0), kSaveOk) << log.dump();
        EXPECT_FALSE(track.v2Changed);
        ID3Tag again = reopen(track.path());
        EXPECT_EQ(again.v2Version, version);
        EXPECT_TRUE(again.tagData == test::rereadForm(track.tagData, version));
        Bytes tag;
        buildV2Tag(again, tag, version, unicode, false);
        EXPECT_EQ(readFile(track.path()), where < 0 ? test::concat({tag, kBehindOldTag}) : aiffWith(tag, where));
        EXPECT_TRUE(noTemporaries(dir.path()));
      }
    }
  }
  EXPECT_EQ(log.count(LogError), 0u) << log.dump();
}

// The ids of an AIFF file's chunks and its last chunk whole, checking the sizes on the way.
std::pair<std::string, Bytes> chunksOf(const Bytes& file) {
  EXPECT_EQ(readU32BE(&file[4]), file.size() - 8);
  std::string ids;
  size_t pos = 12, last = 12;
  for (; pos + 8 <= file.size(); last = pos, pos += 8 + readU32BE(&file[pos + 4]) + (file[pos + 7] & 1))
    ids += std::string(file.begin() + static_cast<long>(pos), file.begin() + static_cast<long>(pos) + 4) + ",";
  EXPECT_EQ(pos, file.size());
  return {ids, tail(file, last)};
}

TEST(V2Save, AnOddChunkKeepsItsPadByteSoTheTagIsFoundAgain) {
  const test::AiffChunk comm = test::commChunk(2, 4, 16, 44100.0);
  Bytes cutSound = test::AiffBuilder().chunk(comm).chunk(test::ssndChunk(Bytes(301, 7))).build();
  cutSound.resize(cutSound.size() - 100);  // cut short at an odd length, FORM size as it was
  test::AiffChunk oddName("NAME", {'o', 'd', 'd'});
  oddName.padOdd = false;
  const Bytes padMissing = test::AiffBuilder().chunk(comm).chunk(test::ssndChunk({1, 2})).chunk(oddName).build();
  const Bytes padUncounted = test::concat({padMissing, {0}});  // the pad is there, but the FORM size leaves it out
  const std::pair<Bytes, const char*> cases[] = {
      {cutSound, "COMM,SSND,ID3 ,"}, {padMissing, "COMM,SSND,ID3 ,NAME,"}, {padUncounted, "COMM,SSND,ID3 ,NAME,"}};
  for (const auto& [original, ids] : cases) {
    SCOPED_TRACE(ids);
    test::TempDir dir;
    ID3Tag track = opened(dir, "a.aif", original);
    track.tagData.enabled = true, track.tagData.title = UnicodeText::latin1("X");
    ASSERT_EQ(save(track), kSaveOk);
    const auto [found, last] = chunksOf(readFile(track.path()));
    EXPECT_EQ(found, ids);
    if (found.ends_with("NAME,")) { EXPECT_EQ(last, test::concat({test::ascii("NAME"), {0, 0, 0, 3}, test::ascii("odd"), {0}})); }
    EXPECT_EQ(reopen(track.path()).tagData.title, UnicodeText::latin1("X"));
  }
}

// The original is replaced by one rename and never deleted; the temporary file takes the first free name.
TEST(V2Save, TemporaryNames) {
  test::TempDir dir;
  ID3Tag track = opened(dir, "a.mp3", kMp3);
  dir.write("a.mp3.t0", {'x'});  // someone else's file: passed over and left alone
  test::CountingInjector counter;
  setFaultInjector(&counter);
  EXPECT_EQ(save(track), kSaveOk);
  setFaultInjector(nullptr);
  EXPECT_EQ(readFile(dir.file("a.mp3.t0")), Bytes{'x'});
  EXPECT_FALSE(fs::exists(dir.file("a.mp3.t1")));
  EXPECT_TRUE(counter.count(FileOp::Rename) == 1 && counter.count(FileOp::Unlink) == 0);
  // No free name is left.
  const Bytes saved = readFile(track.path());
  for (int n = 0; n <= kMaxTemporaryNumber; ++n) dir.write("a.mp3.t" + std::to_string(n), {});
  test::LogCapture log;
  EXPECT_EQ(save(track), kSaveCannotOpenOutput);
  EXPECT_TRUE(log.has(LogError, "Failed to open the output file '" + dir.file("a.mp3.t99") + "'")) << log.dump();
  EXPECT_EQ(readFile(track.path()), saved);
}

// The failures of each step are in FaultSweep.EachFailureHasItsCodeAndMessage. An output path leaves the
// original alone, and the same path in other letter case is no other path.
TEST(V2Save, WhatCannotBeSavedOrGoesElsewhereLeavesTheOriginal) {
  ID3Tag noPath;
  EXPECT_EQ(save(noPath), kSaveNoPath);
  test::TempDir dir;
  test::LogCapture log;
  // A tag that claims more than the file holds.
  const Bytes broken = test::concat({test::Id3v2Builder(3).text("TIT2", Enc::Latin1, "x").headerSize(1u << 20).build(), kAudio});
  const std::string path = dir.write("broken.mp3", broken);
  ID3Tag track;
  GetFileKind(path, &track);
  track.setPath(path);
  EXPECT_EQ(save(track), kSaveCannotCopyAudio);
  EXPECT_EQ(readFile(path), broken);
  ID3Tag original = opened(dir, "a.mp3", kMp3);
  const std::string copy = dir.file("copy.mp3"), same = dir.file("COPY.mp3");
  ASSERT_EQ(updateV2ToTrack(original, true, 3, false, false, 0, &copy), kSaveOk);
  EXPECT_EQ(readFile(dir.file("a.mp3")), kMp3);
  ASSERT_EQ(save(original, &same), kSaveOk);
  EXPECT_EQ(original.path(), copy);
  EXPECT_FALSE(fs::exists(same));
}

// What stands behind the new tag after a save of each shape of file, and the version the save chose.
TEST(V2Save, WhatFollowsTheNewTag) {
  const Bytes footed = test::Id3v2Builder(4).text("TIT2", Enc::Latin1, "Old").flags(0x10).build();
  const Bytes footer = test::concat({test::ascii("3DI"), tail(Bytes(footed.begin(), footed.begin() + 10), 3)});
  const Bytes bare = test::mp3File({{}, kAudio, {}, {}});
  // Behind a tag without the footer flag, "3DI" is no footer.
  const Bytes notFooter = test::concat({test::ascii("3DI"), {4, 0, 0, 0, 0, 0, 0}, kAudio});
  // BEHIND is what follows the new tag; VERSION is the reread tag's.
  struct Case { const char* file; Bytes original; void (*change)(TagData&); int asked, result; Bytes behind; int version; };
  const auto same = [](TagData&) {};
  const Case cases[] = {
      {"bare.mp3", bare, [](TagData& d) { d.title = UnicodeText::latin1("Now tagged"); }, 3, kSaveOk, bare, 3},
      {"footer.mp3", test::concat({footed, footer, kAudio}), same, 4, kSaveOk, kAudio, 4},
      {"no footer.mp3", footed, same, 4, kSaveOk, {}, 4},
      {"unflagged.mp3", test::concat({test::Id3v2Builder(4).text("TIT2", Enc::Latin1, "Old").flags(0x81).build(), notFooter}), same, 4, kSaveOk, notFooter, 4},
      {"clip.tdf", kOldTag, [](TagData& d) { d.album = UnicodeText::latin1("Clipboard"); }, 3, kSaveOk, {}, 3},
      {"recorded.mp3", kMp3, [](TagData& d) { d.recordtime = "2001-02-03"; }, 0, kSaveOk, kBehindOldTag, 4},
      {"undated.mp3", kMp3, [](TagData& d) { d.recordtime.clear(); }, 0, kSaveOk, kBehindOldTag, 3},
      // A 2.4-only field in 2.3 does not verify.
      {"mood.mp3", kMp3, [](TagData& d) { d.mood = "Calm"; }, 3, kSaveNotVerified, kBehindOldTag, 3},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.file);
    test::TempDir dir;
    const std::string path = dir.write(c.file, c.original);
    ID3Tag track = reopen(path);
    c.change(track.tagData);
    test::LogCapture log;
    ASSERT_EQ(updateV2ToTrack(track, false, c.asked, false, false, 0), c.result) << log.dump();
    EXPECT_EQ(behindTheTag(readFile(path)), c.behind);
    const ID3Tag again = reopen(path);
    EXPECT_EQ(again.v2Version, c.version);
    EXPECT_TRUE(again.tagData.title == track.tagData.title && again.tagData.album == track.tagData.album);
    EXPECT_EQ(log.has(LogError, "Failed to verify the saved V2 tag data in '" + path + "' (140:Mood)"), c.result != kSaveOk);
  }
}

// The replaced file keeps its permission bits and owner, and with the dates kept, its dates to the nanosecond; a
// symbolic link stays a link to the saved file.
TEST(V2Save, KeepsPermissionBitsAndOwnerAndRestoresDatesToTheNanosecond) {
  test::TempDir dir;
  ID3Tag track = opened(dir, "a.mp3", kMp3);
  ASSERT_EQ(::chmod(track.path().c_str(), 0640), 0);
  const bool root = ::geteuid() == 0;  // only root may give the file to another owner
  ASSERT_TRUE(!root || ::chown(track.path().c_str(), 4321, 4321) == 0);
  const struct timespec times[2] = {{1000000000, 123456789}, {1100000000, 987654321}};
  ASSERT_EQ(::utimensat(AT_FDCWD, track.path().c_str(), times, 0), 0);
  for (bool keepDates : {true, false}) {
    ASSERT_EQ(updateV2ToTrack(track, false, 3, keepDates, false, 0), kSaveOk);
    struct stat st;
    ASSERT_EQ(::stat(track.path().c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0640u);
    EXPECT_TRUE(!root || (st.st_uid == 4321 && st.st_gid == 4321));
    EXPECT_EQ(st.st_mtim.tv_sec == times[1].tv_sec && st.st_mtim.tv_nsec == times[1].tv_nsec, keepDates);
    EXPECT_EQ(st.st_atim.tv_nsec == times[0].tv_nsec, keepDates);
  }
  const std::string link = dir.file("link.mp3");
  fs::create_symlink(track.path(), link);
  ID3Tag linked = reopen(link);
  linked.tagData.title = UnicodeText::latin1("Through the link");
  ASSERT_EQ(save(linked), kSaveOk);
  EXPECT_TRUE(fs::is_symlink(link));
  EXPECT_EQ(reopen(track.path()).tagData.title.data, "Through the link");
}

TEST(V2Save, TheTrashKeepsEachOriginalWithItsInfo) {
  test::TempDir home, one, two;
  const Bytes second = test::mp3File({kOldTag, test::shortAudio(5), {}, {}});
  ID3Tag a = opened(one, "song.mp3", kMp3), b = opened(two, "song.mp3", second);
  {
    test::ScopedEnv data("XDG_DATA_HOME", home.path());
    test::FailNth otherDisk(FileOp::Link, 1, 1, EXDEV);  // the trash on another file system gets a copy
    test::ScopedInjector scoped(otherDisk);
    ASSERT_EQ(updateV2ToTrack(a, true, 3, false, false, 0), kSaveOk);
    ASSERT_EQ(updateV2ToTrack(b, true, 3, false, false, 0), kSaveOk);
    EXPECT_EQ(trashDirectory(), home.path() + "/Trash");
  }
  EXPECT_EQ(readFile(home.path() + "/Trash/files/song.mp3"), kMp3);
  EXPECT_EQ(readFile(home.path() + "/Trash/files/song-1.mp3"), second);
  const Bytes info = readFile(home.path() + "/Trash/info/song-1.mp3.trashinfo");
  EXPECT_EQ(std::string(info.begin(), info.end()).rfind("[Trash Info]\nPath=" + fs::canonical(two.path()).string() +
                                                        "/song.mp3\nDeletionDate=", 0), 0u);
  // A trash that cannot be made is logged and the save goes on.
  test::ScopedEnv data("XDG_DATA_HOME", home.write("not-a-folder", {}));
  test::LogCapture log;
  EXPECT_EQ(updateV2ToTrack(a, true, 3, false, false, 0), kSaveOk);
  EXPECT_TRUE(log.has(LogError, "Error moving the original to the trash (")) << log.dump();
  // A name taken in the trash gets a number; the info names the original as a URL path.
  const std::tuple<const char*, int, const char*> names[] = {{"song.mp3", 0, "song.mp3"}, {"song.mp3", 1, "song-1.mp3"},
      {"a.b.aif", 12, "a.b-12.aif"}, {"noext", 2, "noext-2"}, {".hidden", 3, ".hidden-3"}};
  for (const auto& [base, n, name] : names) EXPECT_EQ(trashCandidate(base, n), name);
  std::tm when{};  // 2026-11-21 09:05:07, local time
  when.tm_year = 126, when.tm_mon = 10, when.tm_mday = 21, when.tm_hour = 9, when.tm_min = 5, when.tm_sec = 7, when.tm_isdst = -1;
  EXPECT_EQ(trashInfoText("/m/A b%é.mp3", std::mktime(&when)),
            "[Trash Info]\nPath=/m/A%20b%25%C3%A9.mp3\nDeletionDate=2026-11-21T09:05:07\n");
  test::ScopedEnv relative("XDG_DATA_HOME", "relative"), user("HOME", "/h");  // only an absolute path counts
  EXPECT_EQ(trashDirectory(), "/h/.local/share/Trash");
}

// A save never writes over what another task is saving or has saved since the track was read: a held lock
// leaves the file alone, and each save locks the file before it reads the track, so the second one reads
// what the first one wrote and both changes land.
TEST(V2Save, ASaveWaitsForTheLockAndRereadsWhatItHolds) {
  test::TempDir dir;
  const std::string path = dir.write("a.mp3", kMp3);
  ID3Tag blocked = reopen(path);
  File holder = File::openRead(path);
  ASSERT_EQ(::flock(holder.fd(), LOCK_EX), 0);
  {
    test::ScopedLockWait shortWait(100);
    test::LogCapture log;
    EXPECT_EQ(save(blocked), kSaveCannotOpenSource);
    EXPECT_TRUE(log.has(LogError, "is being saved by another task")) << log.dump();
    EXPECT_EQ(readFile(path), kMp3);
  }
  holder.close();
  std::thread second;
  {
    TrackLock lock = TrackLock::acquire(path);
    ASSERT_TRUE(lock.isHeld());
    second = std::thread([&path] {
      TrackLock wait = TrackLock::acquire(path);
      ID3Tag track = reopen(path);
      track.tagData.title = UnicodeText::latin1("Title B");
      EXPECT_EQ(save(track), kSaveOk);
    });
    ID3Tag track = reopen(path);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));  // the other thread waits for the lock
    track.tagData.album = UnicodeText::latin1("Album A");
    EXPECT_EQ(save(track), kSaveOk);
  }
  second.join();
  const ID3Tag again = reopen(path);
  EXPECT_TRUE(again.tagData.album == UnicodeText::latin1("Album A") && again.tagData.title == UnicodeText::latin1("Title B"));
}

}  // namespace
}  // namespace melos
