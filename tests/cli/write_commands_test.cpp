// The commands that write: `melos set` (the group update, its per-file reports,
// and every other field of every file kept), `melos convert` and `melos remove`
// (the files as they are afterwards, nothing written from what could not be read
// or saved), and the log meanwhile: failures captured as causes and written to
// the user's log, nothing else shown.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <functional>
#include <sstream>

#include "cli/error_log.h"
#include "cli/set_command.h"
#include "cli/tag_commands.h"
#include "engine/log.h"
#include "preferences/preferences_controller.h"
#include "tests/cli/cli_fixtures.h"
#include "tests/support/ape_builder.h"
#include "tests/support/fault_injector.h"
#include "tests/support/id3v1_builder.h"
#include "tests/support/id3v2_builder.h"
#include "tests/support/mp3_file_builder.h"

namespace melos::test {
namespace {

using cli::ExitCode;
using cli::ErrorLog;
using cli::TagKind;

// Tags that differ from file to file and hold frames a save must keep.
Bytes trackFile(int n) {
  const std::string k = std::to_string(n);
  const auto track = static_cast<uint8_t>(n % 20 + 1);
  const Bytes v2 = Id3v2Builder(3).text("TIT2", Enc::Latin1, "Title " + k).text("TPE1", Enc::Utf16LE, "\xE6\x97\xA5 " + k)
                       .text("TRCK", Enc::Latin1, std::to_string(track) + "/20")
                       .text("TSRC", Enc::Latin1, "GBAAA" + std::to_string(1000000 + n))
                       .frame(commentFrame(Enc::Latin1, "eng", "", "Comment " + k))
                       .frame(userTextFrame(Enc::Latin1, "NOTE", "note " + k))
                       .frame(pictureFrame(Enc::Latin1, "image/jpeg", 3, "cover", jpegBytes(100 + k.size())))
                       .padding(64).build();
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
  const std::string firstTwo = (paths[0] + ": updated\n" + paths[1] + ": updated\n").toStdString();
  EXPECT_TRUE(result.code == ExitCode::Failure && result.out.starts_with(firstTwo)) << result.out;
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

CommandResult convert(const std::string& path, int version) {
  std::ostringstream out, err;
  const ExitCode code = cli::convertCommand({QString::fromStdString(path)}, {version, true}, {}, out, err);
  return {code, out.str(), err.str()};
}

CommandResult remove(const std::string& path, TagKind kind, bool removeApe = false) {
  std::ostringstream out, err;
  const ExitCode code = cli::removeCommand({QString::fromStdString(path)}, kind, {.removeApe = removeApe}, out, err);
  return {code, out.str(), err.str()};
}

Bytes apeBytes() { return apeTag({.items = {apeText("Title", "ape")}, .sizeOverride = {}}); }

TEST(ConvertCommand, KeepsTheTextsIn23sEncodings) {
  TempDir dir;
  const Bytes tag = Id3v2Builder(4).text("TIT2", Enc::Utf8, "Zo\xC3\xAB").text("TDRC", Enc::Latin1, "2004-05-06")
                        .frame(userTextFrame(Enc::Utf8, "NOTE", "\xE6\x97\xA5")).build();
  const std::string path = dir.write("a.mp3", concat({tag, cbrAudio(10)}));
  ASSERT_EQ(convert(path, 3).code, ExitCode::Ok);
  const TagData saved = reopen(path).tagData;
  EXPECT_EQ(std::tuple(saved.title.toU16(), saved.year), std::tuple(u"Zo\u00eb", "2004"));
  EXPECT_EQ(saved.usertext.at(0).body.at(0), 1);  // UTF-16: 2.3 has no UTF-8
}

TEST(RemoveCommand, EachKindOfTagGoesAndTheRestStaysByteForByte) {
  const Bytes audio = cbrAudio(10), v2 = richV23Tag(), v1 = richV1Tag(), ape = apeBytes();
  const std::tuple<TagKind, bool, Bytes, Bytes, const char*> rows[] = {
      // Cutting the APE tag takes the V1 tag behind it: it is written again.
      {TagKind::Ape, false, mp3File({v2, audio, ape, v1}), mp3File({v2, audio, {}, v1}), "APE tag removed, ID3v1 tag kept"},
      {TagKind::Ape, false, mp3File({v2, audio, ape, {}}), mp3File({v2, audio, {}, {}}), "APE tag removed\n"},
      {TagKind::V2, false, mp3File({v2, audio, {}, v1}), mp3File({{}, audio, {}, v1}), "ID3v2 tag removed"},
      {TagKind::V1, false, mp3File({{}, audio, {}, v1}), audio, "ID3v1 tag removed"},
      {TagKind::V1, true, mp3File({{}, audio, ape, v1}), audio, "ID3v1 tag removed"},
  };
  for (const auto& [kind, removeApe, before, after, message] : rows) {
    TempDir dir;
    const std::string path = dir.write("a.mp3", before);
    const CommandResult result = remove(path, kind, removeApe);
    EXPECT_TRUE(result.code == ExitCode::Ok && contains(result.out, message)) << result.out << result.err;
    EXPECT_EQ(readFile(path), after) << message;
  }
}

// A read that fails while the file is opened is no missing tag, and a save
// that fails names its cause: nothing is written either way.
TEST(TagCommands, AFailedReadOrSaveLeavesTheFileAlone) {
  const Bytes original = mp3File({richV23Tag(), cbrAudio(10), apeBytes(), richV1Tag()});
  const std::tuple<std::function<CommandResult(const std::string&)>, FileOp, const char*> commands[] = {
      {[](auto& path) { return convert(path, 4); }, FileOp::Fsync, "not converted: "},
      {[](auto& path) { return remove(path, TagKind::V1); }, FileOp::Truncate, "ID3v1 tag not removed: "},
      {[](auto& path) { return remove(path, TagKind::V2); }, FileOp::Fsync, "ID3v2 tag not removed: "},
      {[](auto& path) { return remove(path, TagKind::Ape); }, FileOp::Fsync, "APE tag not removed: "},
  };
  for (const auto& [command, save, failedSave] : commands) {
    // The reads of the open: the first bytes, the V1 block, the V2 header, the V2 body; then the save.
    for (int step = 1; step <= 5; ++step) {
      TempDir dir;
      const std::string path = dir.write("a.mp3", original);
      FailNth fail(step <= 4 ? FileOp::Read : save, step <= 4 ? step : 1);
      const ScopedInjector scoped(fail);
      const CommandResult run = command(path);
      const std::string cause = step <= 4 ? "Failed to read the file '" + path + "' (error: Input/output error)"
                                          : std::string(failedSave) + "Failed";
      EXPECT_TRUE(run.code == ExitCode::Failure && contains(run.err, cause) && (step <= 4 || contains(run.err, " (code ")))
          << step << run.err;
      EXPECT_EQ(readFile(path), original) << failedSave << step;
    }
  }
}

TEST(ErrorLogTest, LevelAndMessageOfALineAndTheFailuresKept) {
  const std::tuple<const char*, unsigned, const char*> lines[]{
      {"2024-01-02 03:04:05 [E]: Failed to open the file 'a.mp3'\n", 1, "Failed to open the file 'a.mp3'"},
      {"2024-01-02 03:04:05 [S]: Opening\n", 3, "Opening"},
      {"2024-01-02 03:04:05: Opening\n", 9, "Opening"},
      {"\n# Meloscribe Version 0.1.0\n", 9, "\n# Meloscribe Version 0.1.0"}};
  for (const auto& [line, level, message] : lines)
    EXPECT_EQ(std::tuple(ErrorLog::lineLevel(line, 9), ErrorLog::lineMessage(line)), std::tuple(level, message)) << line;
  ErrorLog log;
  LogMessage(LogError, "Failed to do %d", 1);
  LogMessage(LogError, "Failed to do %d", 2);
  LogMessage(LogWarning, "Warning: odd");
  EXPECT_EQ(std::tuple(log.firstError(), log.lastError()), std::tuple("Failed to do 1", "Failed to do 2"));
  log.clear();
  EXPECT_EQ(log.firstError(), "");
}

TEST(ErrorLogTest, AFailedSaveIsExplainedInTheLogNotOnTheTerminal) {
  TempDir dir;
  const ScopedEnv stateHome("XDG_STATE_HOME", dir.file("state")), dataHome("XDG_DATA_HOME", dir.file("data"));
  const std::string path = dir.write("a.mp3", concat({richV23Tag(), cbrAudio(10)}));
  PreferencesController::sharedInstance().setIntPreferenceNamed("Log level", LogStatus);
  // Standard error goes to a file meanwhile.
  std::fflush(stderr);
  const int terminal = dup(2);
  ASSERT_TRUE(std::freopen(dir.file("stderr.txt").c_str(), "w", stderr));
  FailNth failFlush(FileOp::Fsync, 1);
  setFaultInjector(&failFlush);
  const CommandResult result = runMelos({"set", "--title", "X", QString::fromStdString(path)});
  setFaultInjector(nullptr);
  std::fflush(stderr);
  dup2(terminal, 2);
  close(terminal);
  PreferencesController::sharedInstance().removePreferenceNamed("Log level");
  EXPECT_TRUE(result.code == cli::ExitCode::Failure && contains(result.err, path + ": ")) << result.err;
  EXPECT_EQ(fileText(dir.file("stderr.txt")), "");
  const std::string log = fileText(dir.file("state/meloscribe/melos.log"));
  EXPECT_TRUE(log.starts_with("\n# Meloscribe Version ")) << log;
  for (const std::string& part : {": Updating V2 to track: " + path + "\n", std::string(": Failed to flush the output file"),
                                  std::string(": NOTE: the original file has not been altered.\n")})
    EXPECT_TRUE(contains(log, part)) << part << " not in:\n" << log;
  // The level letters that tell failures apart stay out of the file.
  EXPECT_FALSE(contains(log, " [E]")) << log;
}

}  // namespace
}  // namespace melos::test
