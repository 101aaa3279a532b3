// Renaming and filing tracks in a temporary folder tree.

#include "operations/rename_track.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>

#include "tests/support/log_capture.h"
#include "tests/support/temp_dir.h"

namespace melos {
namespace {

using test::TempDir;
namespace fs = std::filesystem;

Bytes bytesOf(std::string_view text) { return Bytes(text.begin(), text.end()); }

std::string contents(const std::string& path) {
  const Bytes bytes = test::readFile(path);
  return std::string(bytes.begin(), bytes.end());
}

// A track whose file holds its own name, so that a mix-up shows.
ID3Tag trackAt(const TempDir& dir, const std::string& name) {
  ID3Tag track;
  track.setPath(dir.write(name, bytesOf("audio of " + name)));
  track.tagData.enabled = true;
  track.tagData.title = UnicodeText::latin1("A title");
  track.tagData.artist = UnicodeText::latin1("Artist");
  track.tagData.album = UnicodeText::latin1("Album");
  track.tagData.track = 3;
  track.tagData.tracks = 12;
  return track;
}

TEST(RenameTrackTest, NumberedPaths) {
  EXPECT_EQ(numberedPath("/m/song.mp3", 0), "/m/song.mp3");
  EXPECT_EQ(numberedPath("/m/song.mp3", 1), "/m/song-1.mp3");
  EXPECT_EQ(numberedPath("/m/song.x.mp3", 99), "/m/song.x-99.mp3");
  EXPECT_EQ(numberedPath("/m.d/song", 2), "/m.d/song-2");
}

TEST(RenameTrackTest, UniquePathCountsUpToNinetyNine) {
  TempDir dir;
  const std::string path = dir.file("s.mp3");
  EXPECT_EQ(uniquePath(path), path);
  dir.write("s.mp3", {});
  EXPECT_EQ(uniquePath(path), dir.file("s-1.mp3"));
  for (int n = 1; n <= 98; ++n) dir.write("s-" + std::to_string(n) + ".mp3", {});
  EXPECT_EQ(uniquePath(path), dir.file("s-99.mp3"));
  dir.write("s-99.mp3", {});
  EXPECT_EQ(uniquePath(path), std::nullopt);
}

TEST(RenameTrackTest, MakeFoldersMakesEveryMissingParent) {
  TempDir dir;
  EXPECT_EQ(makeFolders(dir.file("a/b/c")), 0);
  EXPECT_TRUE(fs::is_directory(dir.file("a/b/c")));
  EXPECT_EQ(makeFolders(dir.file("a/b/c")), 0);  // already there
  dir.write("file", {});
  EXPECT_EQ(makeFolders(dir.file("file/sub")), -1);
  EXPECT_EQ(makeFolders(dir.file("file")), -1);
  EXPECT_EQ(errno, ENOTDIR);
}

TEST(RenameTrackTest, MoveNeverReplacesAFile) {
  TempDir dir;
  const std::string from = dir.write("from.mp3", bytesOf("from"));
  const std::string to = dir.write("to.mp3", bytesOf("to"));
  EXPECT_FALSE(moveWithoutReplacing(from, to));
  EXPECT_EQ(errno, EEXIST);
  EXPECT_EQ(contents(to), "to");
  EXPECT_EQ(contents(from), "from");
  EXPECT_TRUE(moveWithoutReplacing(from, dir.file("new.mp3")));
  EXPECT_EQ(contents(dir.file("new.mp3")), "from");
  EXPECT_FALSE(fs::exists(from));
}

TEST(RenameTrackTest, DatePrefixIsTheLocalDate) {
  struct tm day {};
  day.tm_year = 2007 - 1900;
  day.tm_mon = 4;
  day.tm_mday = 3;
  day.tm_hour = 12;
  day.tm_isdst = -1;
  EXPECT_EQ(datePrefix(std::mktime(&day)), "20070503-");
}

// Where renameByTags puts a track: a file already there is never replaced,
// and a track already so named, even but for case, stays.
TEST(RenameTrackTest, RenameByTags) {
  const struct {
    const char* name;
    const char* file;
    bool number, folder;
    const char* format;
    std::vector<std::string> taken;  // files there before, which must keep their bytes
    const char* expected;
    bool v1Only = false;
  } rows[] = {
      {"in place", "old.mp3", true, false, "", {}, "03-A title.mp3"},
      {"into artist and album", "old.aiff", false, true, "", {}, "Artist/Album/A title.aiff"},
      // The number and folder switches play no part with a format.
      {"format two folders deep", "old.mp3", true, false, "%A/%L/%n %T", {}, "Artist/Album/03 A title.mp3"},
      {"name taken", "old.mp3", true, false, "", {"03-A title.mp3", "03-A title-1.mp3"}, "03-A title-2.mp3"},
      {"every number taken", "old.mp3", false, false, "", {"A title.mp3"}, "old.mp3"},
      {"differing only in case", "a TITLE.mp3", false, false, "", {}, "a TITLE.mp3"},
      {"its own name", "03-A title.mp3", true, false, "", {}, "03-A title.mp3"},
      // The V2 track number still stands in front.
      {"V1 names it when V2 is disabled", "old.mp3", true, false, "", {}, "03-V1 Title.mp3", true},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    TempDir dir;
    std::vector<std::string> taken = row.taken;
    if (std::string(row.name) == "every number taken")
      for (int n = 1; n <= kMaxUniqueSuffix; ++n) taken.push_back("A title-" + std::to_string(n) + ".mp3");
    for (const std::string& name : taken) dir.write(name, bytesOf("taken"));
    ID3Tag track = trackAt(dir, row.file);
    if (row.v1Only) {
      track.tagData.enabled = false;
      track.v1.enabled = true;
      track.v1.title = "V1 Title";
    }
    ASSERT_TRUE(renameByTags(track, row.number, false, row.folder, true, row.format));
    EXPECT_EQ(track.path(), dir.file(row.expected));
    EXPECT_EQ(contents(track.path()), std::string("audio of ") + row.file);
    EXPECT_EQ(fs::exists(dir.file(row.file)), std::string(row.expected) == row.file);
    for (const std::string& name : taken) EXPECT_EQ(contents(dir.file(name)), "taken") << name;
    EXPECT_EQ(track.tagData.enabled, !row.v1Only);  // V2 stays as it was
    EXPECT_FALSE(track.v2Changed);
  }
}

TEST(RenameTrackTest, FailuresLeaveTheFileAlone) {
  TempDir dir;
  test::LogCapture log;
  ID3Tag untitled = trackAt(dir, "untitled.mp3");
  untitled.tagData.title = UnicodeText::latin1("  ");
  EXPECT_FALSE(renameByTags(untitled, true, false, true, true));
  EXPECT_EQ(untitled.path(), dir.file("untitled.mp3"));
  EXPECT_TRUE(log.has(1, "give no name")) << log.dump();

  ID3Tag untagged = trackAt(dir, "untagged.mp3");
  untagged.tagData.enabled = false;
  EXPECT_FALSE(renameByTags(untagged, true, false, false, true));
  EXPECT_TRUE(fs::exists(dir.file("untagged.mp3")));

  ID3Tag missing = trackAt(dir, "gone.mp3");
  fs::remove(dir.file("gone.mp3"));
  EXPECT_FALSE(renameByTags(missing, true, false, false, true));
  EXPECT_EQ(missing.path(), dir.file("gone.mp3"));
  EXPECT_TRUE(log.has(1, "Failed to rename the file")) << log.dump();
}

TEST(RenameTrackTest, RenameToPlacesTheParts) {
  TempDir dir;
  ID3Tag track = trackAt(dir, "noext");
  ASSERT_TRUE(renameTo(track, true, 7, "Name"));
  const std::string base = fs::path(track.path()).filename().string();
  ASSERT_EQ(base.size(), std::string("YYYYMMDD-07-Name").size()) << base;
  EXPECT_EQ(base.substr(8), "-07-Name");
  EXPECT_EQ(base.find_first_not_of("0123456789"), 8u);

  EXPECT_FALSE(renameTo(track, false, 0, ""));
  EXPECT_FALSE(renameTo(track, false, 0, "x", std::nullopt, ""));
}

TEST(RenameTrackTest, Subfolders) {
  TempDir dir;
  fs::create_directories(dir.file("Artist/Album"));
  ID3Tag track;
  track.setPath(dir.write("Artist/Album/old.mp3", bytesOf("x")));
  // The folder already ends with the subfolder (case aside): not nested again.
  ASSERT_TRUE(renameTo(track, false, 0, "New", std::string_view("artist/ALBUM")));
  EXPECT_EQ(track.path(), dir.file("Artist/Album/New.mp3"));

  // A subfolder from "/" replaces the folder.
  const std::string elsewhere = dir.file("Elsewhere/Deep");
  ASSERT_TRUE(renameTo(track, false, 0, "New", std::string_view(elsewhere)));
  EXPECT_EQ(track.path(), elsewhere + "/New.mp3");

  // A folder that cannot be made: the file stays in its own folder.
  dir.write("Blocked", {});
  ASSERT_TRUE(renameTo(track, false, 0, "Moved", std::string_view("../../Blocked/Sub")));
  EXPECT_EQ(track.path(), elsewhere + "/Moved.mp3");
}

TEST(RenameTrackTest, RenameToAnotherPathUpdatesTheTrack) {
  TempDir dir;
  ID3Tag track = trackAt(dir, "mine.mp3");
  const std::string other = dir.write("other.mp3", bytesOf("other"));
  ASSERT_TRUE(renameTo(track, false, 0, "Renamed", std::nullopt, std::string_view(other)));
  EXPECT_EQ(track.path(), dir.file("Renamed.mp3"));
  EXPECT_EQ(contents(track.path()), "other");
  EXPECT_TRUE(fs::exists(dir.file("mine.mp3")));
}

// Runs the test inside the folder, as a command given relative paths does.
class InFolder {
 public:
  explicit InFolder(const std::string& path) : previous_(fs::current_path()) { fs::current_path(path); }
  ~InFolder() { fs::current_path(previous_); }
  InFolder(const InFolder&) = delete;
  InFolder& operator=(const InFolder&) = delete;

 private:
  fs::path previous_;
};

TEST(RenameTrackTest, ARelativePathStaysRelative) {
  TempDir dir;
  const InFolder inside(dir.path());
  ID3Tag track = trackAt(dir, "old.mp3");
  track.setPath("old.mp3");
  ASSERT_TRUE(renameByTags(track, true, false, false, true));
  EXPECT_EQ(track.path(), "03-A title.mp3");
  ASSERT_TRUE(renameByTags(track, true, false, false, true));  // already so named
  EXPECT_EQ(track.path(), "03-A title.mp3");
  ASSERT_TRUE(renameByTags(track, false, false, true, true));
  EXPECT_EQ(track.path(), "Artist/Album/A title.mp3");
  EXPECT_EQ(contents(dir.file("Artist/Album/A title.mp3")), "audio of old.mp3");
}

}  // namespace
}  // namespace melos
