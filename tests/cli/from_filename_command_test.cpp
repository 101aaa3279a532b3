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

TEST(FromFileNameCommandTest, PrintsTheFieldsOfEachNameAndGoesOnAfterAFailure) {
  TempDir dir;
  const std::string standard = dir.write("07 My_Song.mp3", plainMp3());
  const std::string one = dir.write("Artist - 01 A title.mp3", plainMp3());
  const std::string two = dir.write("Artist - xx A title.mp3", plainMp3());
  const std::string other = dir.write("Song.mp3", plainMp3());
  const std::string good = dir.write("[x] Good.mp3", plainMp3());
  const struct {
    std::initializer_list<std::string> arguments;
    ExitCode code;
    std::string out;
    const char* err;
  } rows[] = {
      {{"--print", standard}, ExitCode::Ok, standard + "\n  Track:  7\n  Title:  My Song\n", ""},
      {{"--print", "--format", "%A - %N %T", one, two}, ExitCode::Ok,
       one + "\n  Track:  1\n  Title:  A title\n  Artist: Artist\n\n" + two +
           "\n  Title:  xx A title\n  Artist: Artist\n",
       ""},
      {{"--print", "--format", "[X] %T", other, dir.file("missing.mp3"), good}, ExitCode::Failure,
       good + "\n  Title:  Good\n", "Song.mp3: the file name gives no tag fields"},
      {{"--print", "--format", "[X] %T", other, dir.file("missing.mp3"), good}, ExitCode::Failure,
       good + "\n  Title:  Good\n", "missing.mp3"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.err);
    const CommandResult result = runMelos(fromFileNameArgs(row.arguments));
    EXPECT_EQ(result.code, row.code) << result.err;
    EXPECT_EQ(result.out, row.out);
    EXPECT_NE(result.err.find(row.err), std::string::npos) << result.err;
    if (row.code == ExitCode::Ok) {
      EXPECT_TRUE(result.err.empty()) << result.err;
    }
  }
}

}  // namespace
}  // namespace melos::test
