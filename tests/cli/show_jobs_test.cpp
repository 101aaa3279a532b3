// Several files read at once give the very output of one at a time.

#include <gtest/gtest.h>

#include "tests/cli/cli_fixtures.h"
#include "tests/support/id3v2_builder.h"
#include "tests/support/mp3_file_builder.h"

namespace melos::test {
namespace {

TEST(ShowJobsTest, OutputIsTheSameWhateverTheNumberOfJobs) {
  TempDir dir;
  QStringList files;
  for (int i = 0; i < 24; ++i) {
    // Files of different sizes finish out of order on several threads.
    const Bytes tag = Id3v2Builder(3).text("TIT2", Enc::Latin1, "Track " + std::to_string(i)).build();
    const Bytes audio = cbrAudio(static_cast<size_t>(5 + (i % 5) * 200));
    files << QString::fromStdString(dir.write("t" + std::to_string(i) + ".mp3", concat({tag, audio})));
    if (i % 7 == 3) files << QString::fromStdString(dir.file("missing" + std::to_string(i) + ".mp3"));
  }
  for (const QStringList& mode : {QStringList{"--json"}, QStringList{}}) {
    const CommandResult one = runMelos(QStringList{"show", "-j", "1"} + mode + files);
    EXPECT_EQ(one.code, cli::ExitCode::Failure);
    EXPECT_TRUE(contains(one.out, "Track 23"));
    for (const char* jobs : {"2", "5", "64"}) {
      const CommandResult many = runMelos(QStringList{"show", "-j", jobs} + mode + files);
      EXPECT_EQ(std::tuple(many.code, many.out, many.err), std::tuple(one.code, one.out, one.err)) << jobs;
    }
  }
}

}  // namespace
}  // namespace melos::test
