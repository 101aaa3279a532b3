// Renaming and filing tracks in a temporary folder tree. A file already there
// is never replaced.

#include "operations/rename_track.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <unistd.h>

#include "tests/support/log_capture.h"
#include "tests/support/temp_dir.h"

namespace melos {
namespace {

using test::TempDir;
namespace fs = std::filesystem;
using Strings = std::vector<std::string>;

Bytes bytesOf(std::string_view text) { return Bytes(text.begin(), text.end()); }
std::string contents(const std::string& path) {
  const Bytes bytes = test::readFile(path);
  return std::string(bytes.begin(), bytes.end());
}

// A track whose file holds its own name, so that a mix-up shows.
ID3Tag trackAt(const TempDir& dir, const std::string& name) {
  ID3Tag track;
  track.setPath(dir.write(name, bytesOf("audio of " + name)));
  TagData& d = track.tagData;
  d.enabled = true, d.title = UnicodeText::latin1("A title"), d.track = 3;
  d.artist = UnicodeText::latin1("Artist"), d.album = UnicodeText::latin1("Album");
  return track;
}

TEST(RenameTrackTest, FoldersAndMovesNeverReplaceAFile) {
  EXPECT_EQ(numberedPath("/m.d/song", 2), "/m.d/song-2");
  TempDir dir;
  EXPECT_TRUE(makeFolders(dir.file("a/b")) == 0 && makeFolders(dir.file("a/b")) == 0);  // the second: already there
  const std::string from = dir.write("from.mp3", bytesOf("from"));
  const std::string to = dir.write("to.mp3", bytesOf("to"));
  EXPECT_TRUE(makeFolders(to) == -1 && errno == ENOTDIR);
  EXPECT_FALSE(moveWithoutReplacing(from, to));
  EXPECT_TRUE(errno == EEXIST && contents(to) == "to");
  EXPECT_EQ(uniquePath(to), dir.file("to-1.mp3"));
  // A name that is another link to the same file is the file's name already.
  ASSERT_EQ(::link(from.c_str(), dir.file("Title.mp3").c_str()), 0);
  ID3Tag linked;
  linked.setPath(from);
  EXPECT_TRUE(renameTo(linked, false, 0, "Title") && fs::exists(from) && !fs::exists(dir.file("Title-1.mp3")));
  for (int n = 1; n <= kMaxUniqueSuffix; ++n) dir.write("to-" + std::to_string(n) + ".mp3", {});
  EXPECT_EQ(uniquePath(to), std::nullopt);
}

// Where renameByTags puts a track: a file already there is never replaced,
// and a track already so named, even but for case, stays.
TEST(RenameTrackTest, RenameByTags) {
  // taken: files there before, which must keep their bytes.
  const struct { const char* file; bool number, folder; const char* format; Strings taken; const char* expected;
                 bool v1Only = false; } rows[] = {
      {"old.aiff", false, true, "", {}, "Artist/Album/A title.aiff"},
      // The number and folder switches play no part with a format; an empty
      // folder name is skipped.
      {"old.mp3", true, false, "%A//./%L/%n %T", {}, "Artist/Album/3 A title.mp3"},
      {"old.mp3", true, false, "", {"03-A title.mp3", "03-A title-1.mp3"}, "03-A title-2.mp3"},
      {"old.mp3", false, false, "", {"A title.mp3"}, "old.mp3"},  // and every numbered name
      {"a TITLE.mp3", false, false, "", {}, "a TITLE.mp3"},
      // V1 names it when V2 is disabled; the V2 track number still stands in front.
      {"old.mp3", true, false, "", {}, "03-V1 Title.mp3", true},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.expected);
    TempDir dir;
    Strings taken = row.taken;
    if (taken.size() == 1)
      for (int n = 1; n <= kMaxUniqueSuffix; ++n) taken.push_back("A title-" + std::to_string(n) + ".mp3");
    for (const std::string& name : taken) dir.write(name, bytesOf("taken"));
    ID3Tag track = trackAt(dir, row.file);
    if (row.v1Only) track.tagData.enabled = false, track.v1.enabled = true, track.v1.title = "V1 Title";
    ASSERT_TRUE(renameByTags(track, row.number, false, row.folder, true, row.format));
    EXPECT_EQ(track.path(), dir.file(row.expected));
    EXPECT_EQ(contents(track.path()), std::string("audio of ") + row.file);
    for (const std::string& name : taken) EXPECT_EQ(contents(dir.file(name)), "taken") << name;
  }
}

TEST(RenameTrackTest, FailuresLeaveTheFileAlone) {
  TempDir dir;
  test::LogCapture log;
  ID3Tag untitled = trackAt(dir, "untitled.mp3"), untagged = trackAt(dir, "untagged.mp3"), missing = trackAt(dir, "gone.mp3");
  untitled.tagData.title = UnicodeText::latin1("  ");
  untagged.tagData.enabled = false;
  fs::remove(dir.file("gone.mp3"));
  EXPECT_FALSE(renameByTags(untitled, true, false, true, true) || renameByTags(untagged, true, false, false, true));
  EXPECT_TRUE(log.has(1, "give no name")) << log.dump();
  EXPECT_FALSE(renameByTags(missing, true, false, false, true) || renameTo(missing, false, 0, ""));
  EXPECT_FALSE(renameTo(missing, false, 0, "x", std::nullopt, ""));
  EXPECT_EQ(std::tuple(untitled.path(), untagged.path(), missing.path()),
            std::tuple(dir.file("untitled.mp3"), dir.file("untagged.mp3"), dir.file("gone.mp3")));
  EXPECT_TRUE(fs::exists(dir.file("untitled.mp3")) && fs::exists(dir.file("untagged.mp3")));
}

// A subfolder the folder already ends with is not nested again; one from "/"
// replaces the folder; one that cannot be made leaves the file where it is.
TEST(RenameTrackTest, RenameToPlacesTheParts) {
  TempDir dir;
  fs::create_directories(dir.file("Artist/Album"));
  ID3Tag track = trackAt(dir, "Artist/Album/noext");
  ASSERT_TRUE(renameTo(track, true, 7, "Name", std::string_view("artist/ALBUM")));
  const std::string base = fs::path(track.path()).filename().string();
  EXPECT_EQ(std::pair(base.substr(8), base.find_first_not_of("0123456789")), std::pair(std::string("-07-Name"), 8ul));
  EXPECT_EQ(fs::path(track.path()).parent_path(), fs::path(dir.file("Artist/Album")));
  const std::string elsewhere = dir.file("Elsewhere/Deep");
  ASSERT_TRUE(renameTo(track, false, 0, "New.mp3", std::string_view(elsewhere)));
  EXPECT_EQ(track.path(), elsewhere + "/New.mp3");
  dir.write("Blocked", {});
  ASSERT_TRUE(renameTo(track, false, 0, "Moved", std::string_view("../../Blocked/Sub")));
  EXPECT_EQ(track.path(), elsewhere + "/Moved.mp3");
  // From another path: that file is the one renamed.
  const std::string other = dir.write("other.mp3", bytesOf("other"));
  ASSERT_TRUE(renameTo(track, false, 0, "Renamed", std::nullopt, std::string_view(other)));
  EXPECT_EQ(contents(dir.file("Renamed.mp3")), "other");
}

// As a command given relative paths does: the new path is relative too.
TEST(RenameTrackTest, ARelativePathStaysRelative) {
  TempDir dir;
  const fs::path previous = fs::current_path();
  fs::current_path(dir.path());
  ID3Tag track = trackAt(dir, "old.mp3");
  track.setPath("old.mp3");
  const bool renamed = renameByTags(track, false, false, true, true);
  fs::current_path(previous);
  EXPECT_TRUE(renamed && track.path() == "Artist/Album/A title.mp3") << track.path();
  EXPECT_EQ(contents(dir.file("Artist/Album/A title.mp3")), "audio of old.mp3");
}

}  // namespace
}  // namespace melos
