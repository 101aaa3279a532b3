// `melos set`: the group update from the command line, its per-file reports,
// and every other field of every file kept.

#include "cli/set_command.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>

#include <sstream>

#include "tests/cli/cli_fixtures.h"
#include "tests/support/fault_injector.h"
#include "tests/support/id3v1_builder.h"
#include "tests/support/id3v2_builder.h"
#include "tests/support/mp3_file_builder.h"

namespace melos::test {
namespace {

using cli::ExitCode;

// Tags that differ from file to file and hold frames a save must keep.
Bytes trackFile(int n) {
  const std::string k = std::to_string(n);
  const auto track = static_cast<uint8_t>(n % 20 + 1);
  const Bytes v2 = Id3v2Builder(3)
                       .text("TIT2", Enc::Latin1, "Title " + k)
                       .text("TPE1", Enc::Utf16LE, "\xE6\x97\xA5 Artist " + k)
                       .text("TRCK", Enc::Latin1, std::to_string(track) + "/20")
                       .text("TSRC", Enc::Latin1, "GBAAA" + std::to_string(1000000 + n))
                       .frame(commentFrame(Enc::Latin1, "eng", "", "Comment " + k))
                       .frame(userTextFrame(Enc::Latin1, "NOTE", "note " + k))
                       .frame(pictureFrame(Enc::Latin1, "image/jpeg", 3, "cover", jpegBytes(100 + k.size())))
                       .padding(64)
                       .build();
  const Bytes v1 = id3v1Tag({"V1 Title " + k, "", "V1 Album", "", "", track, 17});
  return mp3File({v2, cbrAudio(8 + static_cast<size_t>(n % 5)), {}, v1});
}

// Everything behind the leading tag: the audio and the V1 tag.
Bytes behindTag(const Bytes& b) {
  const size_t size = (size_t{b[6]} << 21) | (size_t{b[7]} << 14) | (size_t{b[8]} << 7) | b[9];
  return Bytes(b.begin() + static_cast<std::ptrdiff_t>(10 + size), b.end());
}

class SetCommandTest : public ::testing::Test {
 protected:
  QStringList files(int count) {
    QStringList paths;
    for (int n = 0; n < count; ++n) paths << QString::fromStdString(dir.write("f" + std::to_string(n) + ".mp3", trackFile(n)));
    return paths;
  }
  TempDir dir, home;
  const ScopedEnv dataHome{"XDG_DATA_HOME", home.path()};  // the trash
};

TEST_F(SetCommandTest, AlbumOfTwoHundredFilesAndNothingElse) {
  const QStringList paths = files(200);
  std::vector<std::pair<TagData, V1Tag>> before;
  for (const QString& path : paths) before.emplace_back(reopen(path.toStdString()).tagData, reopen(path.toStdString()).v1);
  // Several files at once, and the lines still in the order given; no progress bar off a terminal.
  const CommandResult result = runMelos(QStringList{"set", "--album", "X", "-j", "4", "--"} + paths);
  EXPECT_EQ(std::tuple(result.code, result.out, result.err),
            std::tuple(ExitCode::Ok, (paths.join(": updated\n") + ": updated\n").toStdString(), ""));
  for (int n = 0; n < paths.size(); ++n) {
    const ID3Tag after = reopen(paths[n].toStdString());
    before[n].first.album = UnicodeText::latin1("X");
    EXPECT_EQ(std::tie(after.tagData, after.v1, after.v2Version), std::tuple(before[n].first, before[n].second, 3)) << n;
    EXPECT_EQ(behindTag(readFile(paths[n].toStdString())), behindTag(trackFile(n))) << n;
  }
}

TEST_F(SetCommandTest, AFailureAmongFilesWrittenAtOnceBeginsNoLaterFile) {
  const QStringList paths = files(8);
  // Another task holds the third file, and the save does not wait for it.
  test::ScopedLockWait noWait(0);
  const int held = ::open(paths[2].toStdString().c_str(), O_RDONLY);
  ASSERT_EQ(::flock(held, LOCK_EX), 0);
  const CommandResult result = runMelos(QStringList{"set", "--album", "J", "-j", "2"} + paths);
  ::close(held);
  EXPECT_EQ(result.code, ExitCode::Failure);
  EXPECT_TRUE(result.out.starts_with((paths[0] + ": updated\n" + paths[1] + ": updated\n").toStdString())) << result.out;
  EXPECT_TRUE(contains(result.err, paths[2].toStdString() + ": ")) << result.err;
  // Files begun beside it are finished; from the first one not begun on,
  // none is. Each has its line, in the order given.
  EXPECT_EQ(readFile(paths[2].toStdString()), trackFile(2));
  bool stopped = false;
  size_t lastUpdated = 0;
  for (int i = 3; i < paths.size(); ++i) {
    const std::string path = paths[i].toStdString();
    const size_t updated = result.out.find(path + ": updated\n");
    const bool notBegun = contains(result.err, path + ": not updated: the run stopped at an earlier failure");
    EXPECT_NE(updated != std::string::npos, notBegun) << path << "\n" << result.out << result.err;
    stopped = stopped || notBegun;
    EXPECT_EQ(notBegun, stopped) << path;
    EXPECT_EQ(readFile(path) == trackFile(i), notBegun) << path;
    EXPECT_TRUE(notBegun || updated > std::exchange(lastUpdated, updated)) << path;
  }
  EXPECT_TRUE(stopped);
}

TEST_F(SetCommandTest, ProgressBarOnTheErrorStreamWhenAsked) {
  const QStringList paths = files(2);
  cli::SetOptions options;
  options.texts["album"] = "P";
  options.progress = true;
  for (const int count : {2, 1}) {
    std::ostringstream out, err;
    EXPECT_EQ(cli::setCommand(paths.mid(0, count), options, out, err), ExitCode::Ok);
    EXPECT_EQ(out.str(), (paths.mid(0, count).join(": updated\n") + ": updated\n").toStdString());
    // The bar is gone at the end, and from before each file's line; one file: no bar.
    const std::string empty(30, '.'), half = std::string(15, '#') + std::string(15, '.'), full(30, '#');
    EXPECT_EQ(err.str(), count == 1 ? "" : "\r[" + empty + "] 0/2\r\033[K\r[" + half + "] 1/2\r\033[K\r[" + full + "] 2/2\r\033[K");
  }
}

}  // namespace
}  // namespace melos::test
