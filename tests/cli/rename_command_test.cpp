// `melos rename` on files in a temporary folder tree.

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/cli/cli_fixtures.h"
#include "tests/support/id3v2_builder.h"
#include "tests/support/mp3_file_builder.h"
#include "tests/support/temp_dir.h"

namespace melos::test {
namespace {

using cli::ExitCode;
namespace fs = std::filesystem;

Bytes taggedMp3(std::string_view title, std::string_view track = "3/12") {
  return mp3File({Id3v2Builder(3)
                      .text("TIT2", Enc::Latin1, title)
                      .text("TPE1", Enc::Utf16LE, "\xE6\x97\xA5\xE6\x9C\xAC Artist")
                      .text("TALB", Enc::Latin1, "The Album")
                      .text("TRCK", Enc::Latin1, track)
                      .build(),
                  cbrAudio(20), {}, {}});
}

QStringList renameArgs(std::initializer_list<std::string> arguments) {
  QStringList list{QStringLiteral("rename")};
  list += qpaths(arguments);
  return list;
}

TEST(RenameCommandTest, NameFromTheTagInTheFormatAsked) {
  TempDir dir;
  const struct {
    std::initializer_list<std::string> options;
    const char* title;
    const char* expected;  // relative to the folder
  } cases[] = {
      {{}, "Caf\xC3\xA9: Song?", "03-Caf\xC3\xA9_ Song_.mp3"},
      {{"--no-number"}, "Title", "Title.mp3"},
      {{"--folders"}, "Title", "\xE6\x97\xA5\xE6\x9C\xAC Artist/The Album/03-Title.mp3"},
      {{"--format", "%A/%L/%n of %M %T"}, "Title",
       "\xE6\x97\xA5\xE6\x9C\xAC Artist/The Album/03 of 12 Title.mp3"},
      {{"--format", "%T (%B kbps)", "--folders"}, "Title", "Title (128 kbps).mp3"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.expected);
    const Bytes bytes = taggedMp3(c.title);
    const std::string song = dir.write("song.mp3", bytes);
    QStringList arguments = renameArgs(c.options);
    arguments << QString::fromStdString(song);
    const CommandResult result = runMelos(arguments);
    ASSERT_EQ(result.code, ExitCode::Ok) << result.err;
    EXPECT_EQ(result.out, song + " -> " + dir.file(c.expected) + "\n");
    EXPECT_EQ(readFile(dir.file(c.expected)), bytes);
    EXPECT_FALSE(fs::exists(song));
    fs::remove(dir.file(c.expected));
  }
}

TEST(RenameCommandTest, DatePrefix) {
  TempDir dir;
  const std::string song = dir.write("song.mp3", taggedMp3("Title"));
  const CommandResult result = runMelos(renameArgs({"--date", "--no-number", song}));
  ASSERT_EQ(result.code, ExitCode::Ok) << result.err;
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(dir.path())) names.push_back(entry.path().filename());
  ASSERT_EQ(names.size(), 1u);
  EXPECT_EQ(names[0].size(), std::string("YYYYMMDD-Title.mp3").size());
  EXPECT_EQ(names[0].substr(8), "-Title.mp3");
}

TEST(RenameCommandTest, ExistingFilesAreKept) {
  TempDir dir;
  const Bytes taken{'k', 'e', 'e', 'p'};
  dir.write("03-Title.mp3", taken);
  const std::string one = dir.write("one.mp3", taggedMp3("Title"));
  const std::string two = dir.write("two.mp3", taggedMp3("Title"));
  const CommandResult result = runMelos(renameArgs({one, two}));
  ASSERT_EQ(result.code, ExitCode::Ok) << result.err;
  EXPECT_EQ(readFile(dir.file("03-Title.mp3")), taken);
  EXPECT_TRUE(fs::exists(dir.file("03-Title-1.mp3")));
  EXPECT_TRUE(fs::exists(dir.file("03-Title-2.mp3")));
}

TEST(RenameCommandTest, AFailureDoesNotStopTheOthers) {
  TempDir dir;
  const std::string untitled = dir.write("untitled.mp3", taggedMp3(""));
  const std::string untagged = dir.write("untagged.mp3", mp3File({{}, cbrAudio(20), {}, {}}));
  const std::string good = dir.write("good.mp3", taggedMp3("Good"));
  const std::string named = dir.write("03-Named.mp3", taggedMp3("Named"));
  const CommandResult result =
      runMelos(renameArgs({untitled, dir.file("missing.mp3"), untagged, good, named}));
  EXPECT_EQ(result.code, ExitCode::Failure);
  EXPECT_NE(result.err.find("untitled.mp3: Failed to rename the file"), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("missing.mp3"), std::string::npos);
  EXPECT_NE(result.err.find("untagged.mp3: Failed to rename the file"), std::string::npos);
  EXPECT_NE(result.out.find(named + ": name unchanged"), std::string::npos) << result.out;
  EXPECT_TRUE(fs::exists(untitled));
  EXPECT_TRUE(fs::exists(untagged));
  EXPECT_TRUE(fs::exists(dir.file("03-Good.mp3")));
}

}  // namespace
}  // namespace melos::test
