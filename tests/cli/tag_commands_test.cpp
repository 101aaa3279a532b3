// `melos convert` and `melos remove`: the files as they are afterwards, and
// nothing written from what could not be read or saved.

#include "cli/tag_commands.h"

#include <gtest/gtest.h>

#include <functional>
#include <sstream>

#include "tests/cli/cli_fixtures.h"
#include "tests/support/ape_builder.h"
#include "tests/support/fault_injector.h"
#include "tests/support/id3v2_builder.h"
#include "tests/support/mp3_file_builder.h"

namespace melos::test {
namespace {

using cli::ExitCode;
using cli::TagKind;

CommandResult convert(const std::string& path, int version) {
  std::ostringstream out, err;
  const ExitCode code = cli::convertCommand(qpaths({path}), {version, true}, {}, out, err);
  return {code, out.str(), err.str()};
}

CommandResult remove(const std::string& path, TagKind kind, bool removeApe = false) {
  std::ostringstream out, err;
  const ExitCode code = cli::removeCommand(qpaths({path}), kind, {.removeApe = removeApe}, out, err);
  return {code, out.str(), err.str()};
}

Bytes apeBytes() {
  ApeTag ape;
  ape.items = {apeText("Title", "ape")};
  return apeTag(ape);
}

TEST(ConvertCommand, KeepsTheTextsIn23sEncodings) {
  TempDir dir;
  const Bytes tag = Id3v2Builder(4)
                        .text("TIT2", Enc::Utf8, "Zo\xC3\xAB")
                        .text("TDRC", Enc::Latin1, "2004-05-06")
                        .frame(userTextFrame(Enc::Utf8, "NOTE", "\xE6\x97\xA5"))
                        .build();
  const std::string path = dir.write("a.mp3", concat({tag, cbrAudio(10)}));
  ASSERT_EQ(convert(path, 3).code, ExitCode::Ok);
  const TagData saved = reopen(path).tagData;
  EXPECT_EQ(std::tuple(saved.title.toU16(), saved.year), std::tuple(u"Zo\u00eb", "2004"));
  ASSERT_EQ(saved.usertext.size(), 1u);
  EXPECT_EQ(saved.usertext[0].body[0], 1);  // UTF-16: 2.3 has no UTF-8
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
      EXPECT_EQ(run.code, ExitCode::Failure) << failedSave << step;
      EXPECT_TRUE(contains(run.err, cause) && (step <= 4 || contains(run.err, " (code "))) << step << run.err;
      EXPECT_EQ(readFile(path), original) << failedSave << step;
    }
  }
}

}  // namespace
}  // namespace melos::test
