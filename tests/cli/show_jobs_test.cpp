// Several files read at once give the very output of one at a time.

#include <gtest/gtest.h>

#include "tests/cli/cli_fixtures.h"
#include "tests/support/id3v2_builder.h"
#include "tests/support/mp3_file_builder.h"
#include "tests/support/temp_dir.h"

namespace melos::test {
namespace {

using cli::ExitCode;

TEST(ShowJobsTest, OutputIsTheSameWhateverTheNumberOfJobs) {
  TempDir dir;
  QStringList files;
  for (int i = 0; i < 24; ++i) {
    const std::string name = "t" + std::to_string(i) + ".mp3";
    // Files of different sizes finish out of order on several threads.
    const Bytes tag = Id3v2Builder(3).text("TIT2", Enc::Latin1, "Track " + std::to_string(i)).build();
    files << QString::fromStdString(dir.write(name, concat({tag, cbrAudio(static_cast<size_t>(5 + (i % 5) * 200))})));
    if (i % 7 == 3) files << QString::fromStdString(dir.file("missing" + std::to_string(i) + ".mp3"));
  }
  for (const QStringList& mode : {QStringList{"--json"}, QStringList{}}) {
    const CommandResult one = runMelos(QStringList{"show", "-j", "1"} + mode + files);
    EXPECT_EQ(one.code, ExitCode::Failure);
    EXPECT_NE(one.out.find("Track 23"), std::string::npos);
    for (const char* jobs : {"2", "5", "64"}) {
      const CommandResult many = runMelos(QStringList{"show", "-j", jobs} + mode + files);
      EXPECT_EQ(many.code, one.code);
      EXPECT_EQ(many.out, one.out) << jobs;
      EXPECT_EQ(many.err, one.err) << jobs;
    }
  }
  EXPECT_EQ(runMelos({"show", "--json"}).code, ExitCode::Usage);
  const CommandResult none = runMelos(QStringList{"show", "--json", "-j", "0"} + files);
  EXPECT_EQ(none.code, ExitCode::Usage);
  EXPECT_NE(none.err.find("-j needs a number"), std::string::npos) << none.err;
}

}  // namespace
}  // namespace melos::test
