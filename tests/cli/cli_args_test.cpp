// The command line itself: commands, options and exit codes.

#include <gtest/gtest.h>

#include "tests/cli/cli_fixtures.h"
#include "tests/support/temp_dir.h"

namespace melos::test {
namespace {

using cli::ExitCode;

TEST(CliArgsTest, NoCommandIsAUsageError) {
  const CommandResult result = runMelos({});
  EXPECT_EQ(result.code, ExitCode::Usage);
  EXPECT_TRUE(result.out.empty());
  EXPECT_NE(result.err.find("no command"), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("Usage: melos"), std::string::npos);
}

TEST(CliArgsTest, UnknownCommandIsAUsageError) {
  const CommandResult result = runMelos({QStringLiteral("play"), QStringLiteral("a.mp3")});
  EXPECT_EQ(result.code, ExitCode::Usage);
  EXPECT_NE(result.err.find("unknown command 'play'"), std::string::npos) << result.err;
}

TEST(CliArgsTest, UnknownOptionIsAUsageError) {
  TempDir dir;
  const std::string path = dir.write("a.mp3", cbrAudio(10));
  const CommandResult result =
      runMelos({QStringLiteral("show"), QStringLiteral("--jsn"), QString::fromStdString(path)});
  EXPECT_EQ(result.code, ExitCode::Usage);
  EXPECT_TRUE(result.out.empty());
  EXPECT_NE(result.err.find("jsn"), std::string::npos) << result.err;
}

TEST(CliArgsTest, UnknownOptionWithoutCommandIsAUsageError) {
  const CommandResult result = runMelos({QStringLiteral("--frobnicate")});
  EXPECT_EQ(result.code, ExitCode::Usage);
  EXPECT_NE(result.err.find("frobnicate"), std::string::npos) << result.err;
}

TEST(CliArgsTest, ShowWithoutFileIsAUsageError) {
  for (const QStringList& arguments :
       {QStringList{QStringLiteral("show")},
        QStringList{QStringLiteral("show"), QStringLiteral("--json")}}) {
    const CommandResult result = runMelos(arguments);
    EXPECT_EQ(result.code, ExitCode::Usage);
    EXPECT_TRUE(result.out.empty());
    EXPECT_NE(result.err.find("no FILE"), std::string::npos) << result.err;
  }
}

TEST(CliArgsTest, HelpAndVersionSucceed) {
  const CommandResult help = runMelos({QStringLiteral("--help")});
  EXPECT_EQ(help.code, ExitCode::Ok);
  EXPECT_NE(help.out.find("show"), std::string::npos);
  const CommandResult showHelp = runMelos({QStringLiteral("show"), QStringLiteral("--help")});
  EXPECT_EQ(showHelp.code, ExitCode::Ok);
  EXPECT_NE(showHelp.out.find("--full-scan"), std::string::npos);
  const CommandResult version = runMelos({QStringLiteral("--version")});
  EXPECT_EQ(version.code, ExitCode::Ok);
  EXPECT_EQ(version.out.rfind("melos ", 0), 0u);
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

TEST(CliArgsTest, OptionsMayFollowTheFiles) {
  TempDir dir;
  const std::string path = dir.write("a.mp3", cbrAudio(10));
  const CommandResult result =
      runMelos({QStringLiteral("show"), QString::fromStdString(path), QStringLiteral("--json")});
  EXPECT_EQ(result.code, ExitCode::Ok);
  EXPECT_EQ(result.out.rfind("[", 0), 0u) << result.out;
}

TEST(CliArgsTest, DoubleDashEndsTheOptions) {
  TempDir dir;
  const std::string path = dir.write("-dash.mp3", cbrAudio(10));
  const CommandResult result = runMelos(
      {QStringLiteral("show"), QStringLiteral("--json"), QStringLiteral("--"),
       QString::fromStdString(path)});
  EXPECT_EQ(result.code, ExitCode::Ok) << result.err;
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

TEST(CliArgsTest, FailureToOpenIsExitCodeOne) {
  TempDir dir;
  const CommandResult result =
      runMelos({QStringLiteral("show"), QString::fromStdString(dir.file("gone.mp3"))});
  EXPECT_EQ(result.code, ExitCode::Failure);
  EXPECT_NE(result.err.find("gone.mp3"), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("Failed to open the file"), std::string::npos) << result.err;
}

}  // namespace
}  // namespace melos::test
