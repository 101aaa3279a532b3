// `melos convert` and `melos remove`: per-file reports, the 2.3 loss check and
// the files as they are afterwards.

#include "cli/tag_commands.h"

#include <gtest/gtest.h>

#include <functional>
#include <sstream>

#include "engine/open_track.h"
#include "tests/cli/cli_fixtures.h"
#include "tests/support/ape_builder.h"
#include "tests/support/fault_injector.h"
#include "tests/support/id3v2_builder.h"
#include "tests/support/mp3_file_builder.h"
#include "tests/support/temp_dir.h"

namespace melos::test {
namespace {

using cli::ExitCode;

Bytes v24WithTimes() {
  return Id3v2Builder(4)
      .text("TIT2", Enc::Utf8, "Zo\xC3\xAB")
      .text("TDRC", Enc::Latin1, "2004-05-06")
      .text("TMOO", Enc::Latin1, "Calm")
      .frame(userTextFrame(Enc::Utf8, "NOTE", "\xE6\x97\xA5"))
      .build();
}

CommandResult convert(const QStringList& files, int version, bool force) {
  std::ostringstream out, err;
  cli::ConvertOptions options;
  options.version = version;
  options.force = force;
  const ExitCode code = cli::convertCommand(files, options, cli::SaveFlags{}, out, err);
  return {code, out.str(), err.str()};
}

CommandResult remove(const QStringList& files, cli::TagKind kind, cli::SaveFlags flags = {}) {
  std::ostringstream out, err;
  const ExitCode code = cli::removeCommand(files, kind, flags, out, err);
  return {code, out.str(), err.str()};
}

TEST(ConvertCommand, TheLossCheckNamesTheFieldsAndForceDropsThem) {
  TempDir dir;
  const Bytes original = concat({v24WithTimes(), cbrAudio(10)});
  const std::string path = dir.write("a.mp3", original);

  CommandResult refused = convert(qpaths({path}), 3, false);
  EXPECT_EQ(refused.code, ExitCode::Failure);
  EXPECT_NE(refused.err.find("ID3v2.3 cannot hold Record time, Mood (--force drops them)"), std::string::npos)
      << refused.err;
  EXPECT_EQ(readFile(path), original);

  CommandResult forced = convert(qpaths({path}), 3, true);
  EXPECT_EQ(forced.code, ExitCode::Ok) << forced.err;
  EXPECT_NE(forced.out.find("converted from ID3v2.4 to ID3v2.3, dropped Record time, Mood"), std::string::npos)
      << forced.out;
  const ID3Tag saved = reopen(path);
  EXPECT_EQ(saved.v2Version, 3);
  EXPECT_EQ(saved.tagData.title.toU16(), u"Zo\u00eb");
  EXPECT_EQ(saved.tagData.year, "2004");
  ASSERT_EQ(saved.tagData.usertext.size(), 1u);
  EXPECT_EQ(saved.tagData.usertext[0].body[0], 1);  // UTF-16: 2.3 has no UTF-8

  CommandResult back = convert(qpaths({path}), 4, false);
  EXPECT_EQ(back.code, ExitCode::Ok);
  EXPECT_EQ(reopen(path).v2Version, 4);
  CommandResult again = convert(qpaths({path}), 4, false);
  EXPECT_NE(again.out.find("already ID3v2.4"), std::string::npos) << again.out;
}

TEST(ConvertCommand, GoesOnAfterAFailureAndReportsEachFile) {
  TempDir dir;
  const std::string good = dir.write("good.mp3", concat({Id3v2Builder(4).text("TIT2", Enc::Latin1, "x").build(), cbrAudio(10)}));
  const std::string bare = dir.write("bare.mp3", cbrAudio(10));
  const std::string missing = dir.file("missing.mp3");
  const std::string text = dir.write("notes.txt", {'x'});
  CommandResult run = convert(qpaths({missing, bare, text, good}), 3, false);
  EXPECT_EQ(run.code, ExitCode::Failure);
  EXPECT_NE(run.err.find(missing + ": "), std::string::npos) << run.err;
  EXPECT_NE(run.err.find(text + ": not a track"), std::string::npos) << run.err;
  EXPECT_NE(run.out.find(bare + ": no ID3v2 tag, nothing to convert"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find(good + ": converted from ID3v2.4 to ID3v2.3"), std::string::npos) << run.out;
  EXPECT_EQ(reopen(good).v2Version, 3);
}

TEST(ConvertCommand, AFailedSaveNamesItsCause) {
  TempDir dir;
  const Bytes original = concat({Id3v2Builder(4).text("TIT2", Enc::Latin1, "x").build(), cbrAudio(10)});
  const std::string path = dir.write("a.mp3", original);
  FailNth fail(FileOp::Fsync, 1);
  CommandResult run;
  {
    ScopedInjector scoped(fail);
    run = convert(qpaths({path}), 3, false);
  }
  EXPECT_EQ(run.code, ExitCode::Failure);
  EXPECT_NE(run.err.find("not converted: Failed to flush the output file"), std::string::npos) << run.err;
  EXPECT_NE(run.err.find("(code 5)"), std::string::npos) << run.err;
  EXPECT_EQ(readFile(path), original);
}

TEST(RemoveCommand, EachKindOfTag) {
  TempDir dir;
  const Bytes audio = cbrAudio(10);
  ApeTag ape;
  ape.items = {apeText("Title", "ape")};
  const std::string path = dir.write("a.mp3", mp3File({richV23Tag(), audio, apeTag(ape), richV1Tag()}));

  CommandResult apeRun = remove(qpaths({path}), cli::TagKind::Ape);
  EXPECT_NE(apeRun.out.find("APE tag removed, ID3v1 tag kept"), std::string::npos) << apeRun.out << apeRun.err;
  EXPECT_EQ(readFile(path), mp3File({richV23Tag(), audio, {}, richV1Tag()}));
  EXPECT_NE(remove(qpaths({path}), cli::TagKind::Ape).out.find("no APE tag"), std::string::npos);

  CommandResult v2 = remove(qpaths({path}), cli::TagKind::V2);
  EXPECT_NE(v2.out.find("ID3v2 tag removed"), std::string::npos) << v2.err;
  EXPECT_EQ(readFile(path), mp3File({{}, audio, {}, richV1Tag()}));

  CommandResult v1 = remove(qpaths({path}), cli::TagKind::V1);
  EXPECT_NE(v1.out.find("ID3v1 tag removed"), std::string::npos) << v1.err;
  EXPECT_EQ(readFile(path), audio);
  EXPECT_NE(remove(qpaths({path}), cli::TagKind::V1).out.find("no ID3v1 tag"), std::string::npos);
  EXPECT_NE(remove(qpaths({path}), cli::TagKind::V2).out.find("no ID3v2 tag"), std::string::npos);
}

// A read that fails while the file is opened is no missing tag: nothing is
// written from what could not be read.
TEST(TagCommands, AReadErrorLeavesTheFileAlone) {
  ApeTag ape;
  ape.items = {apeText("Title", "ape")};
  const Bytes original = mp3File({richV23Tag(), cbrAudio(10), apeTag(ape), richV1Tag()});
  const std::function<CommandResult(const QStringList&)> commands[] = {
      [](const QStringList& files) { return convert(files, 4, false); },
      [](const QStringList& files) { return remove(files, cli::TagKind::V1); },
      [](const QStringList& files) { return remove(files, cli::TagKind::V2); },
      [](const QStringList& files) { return remove(files, cli::TagKind::Ape); },
  };
  // The reads of the open: the first bytes, the V1 block, the V2 header, the V2 body.
  for (int read = 1; read <= 4; ++read) {
    for (const auto& command : commands) {
      SCOPED_TRACE("read " + std::to_string(read));
      TempDir dir;
      const std::string path = dir.write("a.mp3", original);
      FailNth fail(FileOp::Read, read);
      CommandResult run;
      {
        ScopedInjector scoped(fail);
        run = command(qpaths({path}));
      }
      EXPECT_EQ(run.code, ExitCode::Failure);
      EXPECT_NE(run.err.find("Failed to read the file '" + path + "' (error: Input/output error)"), std::string::npos)
          << run.out << run.err;
      EXPECT_EQ(readFile(path), original);
    }
  }
}

TEST(RemoveCommand, TheV1RemovalTakesTheApeTagWhenAsked) {
  TempDir dir;
  ApeTag ape;
  ape.items = {apeText("Title", "ape")};
  const Bytes audio = cbrAudio(10);
  const std::string path = dir.write("a.mp3", mp3File({{}, audio, apeTag(ape), richV1Tag()}));
  cli::SaveFlags flags;
  flags.removeApe = true;
  EXPECT_EQ(remove(qpaths({path}), cli::TagKind::V1, flags).code, ExitCode::Ok);
  EXPECT_EQ(readFile(path), audio);
}

TEST(ConvertCommand, TheCommandLineTakesTheUsersPreferences) {
  TempDir home;
  ScopedEnv data("XDG_DATA_HOME", home.path());
  TempDir dir;
  const Bytes original = concat({Id3v2Builder(4).text("TIT2", Enc::Latin1, "x").build(), cbrAudio(10)});
  const std::string path = dir.write("a.mp3", original);
  const CommandResult result = runMelos({"convert", "--to", "3", QString::fromStdString(path)});
  EXPECT_EQ(result.code, ExitCode::Ok) << result.err;
  // Moving the original to the trash is on unless the user turned it off.
  EXPECT_EQ(readFile(home.path() + "/Trash/files/a.mp3"), original);
}

}  // namespace
}  // namespace melos::test
