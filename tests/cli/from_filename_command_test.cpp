// `melos from-filename --print`: the fields that file names give.

#include <gtest/gtest.h>

#include "tests/cli/cli_fixtures.h"
#include "tests/support/mp3_file_builder.h"
#include "tests/support/temp_dir.h"

namespace melos::test {
namespace {

using cli::ExitCode;

QStringList fromFileNameArgs(std::initializer_list<std::string> arguments) {
  QStringList list{QStringLiteral("from-filename")};
  list += qpaths(arguments);
  return list;
}

Bytes plainMp3() { return mp3File({{}, cbrAudio(10), {}, {}}); }

TEST(FromFileNameCommandTest, StandardSplit) {
  TempDir dir;
  const std::string song = dir.write("07 My_Song.mp3", plainMp3());
  const CommandResult result = runMelos(fromFileNameArgs({"--print", song}));
  ASSERT_EQ(result.code, ExitCode::Ok) << result.err;
  EXPECT_EQ(result.out, song + "\n  Track:  7\n  Title:  My Song\n");
}

TEST(FromFileNameCommandTest, CustomFormat) {
  TempDir dir;
  const std::string one = dir.write("Artist - 01 A title.mp3", plainMp3());
  const std::string two = dir.write("Artist - xx A title.mp3", plainMp3());
  const CommandResult result = runMelos(fromFileNameArgs({"--print", "--format", "%A - %N %T", one, two}));
  ASSERT_EQ(result.code, ExitCode::Ok) << result.err;
  EXPECT_EQ(result.out, one + "\n  Track:  1\n  Title:  A title\n  Artist: Artist\n\n" + two +
                            "\n  Title:  xx A title\n  Artist: Artist\n");
}

TEST(FromFileNameCommandTest, FailuresDoNotStopTheOthers) {
  TempDir dir;
  const std::string other = dir.write("Song.mp3", plainMp3());
  const std::string good = dir.write("[x] Good.mp3", plainMp3());
  const CommandResult result =
      runMelos(fromFileNameArgs({"--print", "--format", "[X] %T", other, dir.file("missing.mp3"), good}));
  EXPECT_EQ(result.code, ExitCode::Failure);
  EXPECT_NE(result.err.find("Song.mp3: the file name gives no tag fields"), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("missing.mp3"), std::string::npos);
  EXPECT_EQ(result.out, good + "\n  Title:  Good\n");
}

TEST(FromFileNameCommandTest, PrintIsRequiredForNow) {
  TempDir dir;
  const std::string song = dir.write("Song.mp3", plainMp3());
  const CommandResult result = runMelos(fromFileNameArgs({song}));
  EXPECT_EQ(result.code, ExitCode::Usage);
  EXPECT_NE(result.err.find("--print"), std::string::npos);
  EXPECT_EQ(readFile(song), plainMp3());
  EXPECT_EQ(runMelos(fromFileNameArgs({"--print"})).code, ExitCode::Usage);
}

}  // namespace
}  // namespace melos::test
