// The command line itself: commands, options and exit codes.

#include <gtest/gtest.h>

#include "tests/cli/cli_fixtures.h"
#include "tests/support/temp_dir.h"

namespace melos::test {
namespace {

using cli::ExitCode;

// A whole command line, its exit code and a part of what it prints. FILE stands
// for a short MP3 file, MISSING for a name that is no file.
TEST(CliArgsTest, EachCommandLineGivesItsExitCodeAndMessage) {
  struct Row {
    QStringList arguments;
    ExitCode code;
    const char* out;  // a part of the standard output; nullptr: nothing at all
    const char* err;  // a part of the standard error; nullptr: nothing at all
  };
  const Row rows[]{
      {{}, ExitCode::Usage, nullptr, "no command"},
      {{}, ExitCode::Usage, nullptr, "Usage: melos"},
      {{"play", "FILE"}, ExitCode::Usage, nullptr, "unknown command 'play'"},
      {{"show", "--jsn", "FILE"}, ExitCode::Usage, nullptr, "jsn"},
      {{"--frobnicate"}, ExitCode::Usage, nullptr, "frobnicate"},
      {{"show"}, ExitCode::Usage, nullptr, "no FILE"},
      {{"show", "--json"}, ExitCode::Usage, nullptr, "no FILE"},
      {{"show", "MISSING"}, ExitCode::Failure, nullptr, "Failed to open the file"},
      {{"--help"}, ExitCode::Ok, "  set       ", nullptr},
      {{"show", "--help"}, ExitCode::Ok, "--full-scan", nullptr},
      {{"--version"}, ExitCode::Ok, "melos ", nullptr},
      // Options may follow the files, and "--" ends them.
      {{"show", "FILE", "--json"}, ExitCode::Ok, "[\n", nullptr},
      {{"show", "--json", "--", "FILE"}, ExitCode::Ok, "[\n", nullptr},
      {{"rename"}, ExitCode::Usage, nullptr, "Usage: melos rename"},
      {{"rename", "--help"}, ExitCode::Ok, "--format FMT", nullptr},
      {{"from-filename", "FILE"}, ExitCode::Usage, nullptr, "--print"},
      {{"from-filename", "--print"}, ExitCode::Usage, nullptr, "Usage: melos from-filename"},
      {{"remove", "FILE"}, ExitCode::Usage, nullptr, "Usage: melos remove"},
      {{"remove", "--v1", "--v2", "FILE"}, ExitCode::Usage, nullptr, "Usage: melos remove"},
      {{"remove", "--v1"}, ExitCode::Usage, nullptr, "Usage: melos remove"},
      {{"convert", "--to", "5", "FILE"}, ExitCode::Usage, nullptr, "Usage: melos convert"},
      {{"convert", "FILE"}, ExitCode::Usage, nullptr, "Usage: melos convert"},
      {{"set", "--album", "A"}, ExitCode::Usage, nullptr, "set: no FILE given"},
  };
  TempDir dir;
  const Bytes file = cbrAudio(10);
  for (const Row& row : rows) {
    SCOPED_TRACE(row.arguments.join(' ').toStdString());
    QStringList arguments;
    const bool withFile = row.arguments.join(' ').contains("FILE");
    for (const QString& argument : row.arguments) {
      QString given = argument;
      given.replace("MISSING", QString::fromStdString(dir.file("missing.mp3")));
      if (given.contains("FILE")) given.replace("FILE", QString::fromStdString(dir.write("a.mp3", file)));
      arguments << given;
    }
    const CommandResult result = runMelos(arguments);
    EXPECT_EQ(result.code, row.code) << result.err;
    const auto has = [](const std::string& text, const char* part) {
      return part == nullptr ? text.empty() : text.find(part) != std::string::npos;
    };
    EXPECT_TRUE(has(result.out, row.out)) << result.out;
    EXPECT_TRUE(has(result.err, row.err)) << result.err;
    if (withFile && row.code == ExitCode::Usage) {
      EXPECT_EQ(readFile(dir.file("a.mp3")), file);
    }
  }
  EXPECT_EQ(runMelos({"--version"}).out.rfind("melos ", 0), 0u);
}

TEST(CliArgsTest, EveryCommandAnswersHelpAndRefusesAnUnknownOption) {
  for (const char* command : {"show", "convert", "remove", "set", "export", "rename", "from-filename"}) {
    SCOPED_TRACE(command);
    const std::string usage = std::string("Usage: melos ") + command;
    const CommandResult help = runMelos({QString::fromLatin1(command), QStringLiteral("-h")});
    EXPECT_EQ(help.code, ExitCode::Ok);
    EXPECT_EQ(help.out.rfind(usage, 0), 0u) << help.out;
    EXPECT_TRUE(help.err.empty()) << help.err;
    const CommandResult unknown = runMelos({QString::fromLatin1(command), QStringLiteral("--nonsense")});
    EXPECT_EQ(unknown.code, ExitCode::Usage);
    EXPECT_TRUE(unknown.out.empty()) << unknown.out;
    EXPECT_NE(unknown.err.find("Unknown option 'nonsense'"), std::string::npos) << unknown.err;
    EXPECT_NE(unknown.err.find(usage), std::string::npos) << unknown.err;
  }
}

TEST(CliArgsTest, QuickScanIsTheDefaultAndFullScanWalksEveryFrame) {
  TempDir dir;
  const std::string path = dir.write("long.mp3", cbrAudio(1200));
  const QString file = QString::fromStdString(path);
  const CommandResult quick = runMelos({QStringLiteral("show"), QStringLiteral("--json"), file});
  EXPECT_NE(quick.out.find("\"bitrateText\": \"128 kbps (CBR quick)\""), std::string::npos)
      << quick.out;
  EXPECT_NE(quick.out.find("\"estimated\": true"), std::string::npos);
  const CommandResult full = runMelos(
      {QStringLiteral("show"), QStringLiteral("--json"), QStringLiteral("--full-scan"), file});
  EXPECT_NE(full.out.find("\"bitrateText\": \"128 kbps (CBR)\""), std::string::npos) << full.out;
  EXPECT_NE(full.out.find("\"frames\": 1200"), std::string::npos);
}

}  // namespace
}  // namespace melos::test
