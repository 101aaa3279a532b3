// The log while a command runs: failures captured as causes and written to
// the user's log, nothing else shown.

#include "cli/error_log.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "engine/log.h"
#include "preferences/preferences_controller.h"
#include "tests/cli/cli_fixtures.h"
#include "tests/support/fault_injector.h"
#include "tests/support/mp3_file_builder.h"

namespace melos::test {
namespace {

using cli::ErrorLog;

TEST(ErrorLogTest, LevelAndMessageOfALineAndTheFailuresKept) {
  const std::tuple<const char*, unsigned, const char*> lines[]{
      {"2024-01-02 03:04:05 [E]: Failed to open the file 'a.mp3'\n", 1, "Failed to open the file 'a.mp3'"},
      {"2024-01-02 03:04:05 [S]: Opening\n", 3, "Opening"},
      {"2024-01-02 03:04:05: Opening\n", 9, "Opening"},
      {"\n# Meloscribe Version 0.1.0\n", 9, "\n# Meloscribe Version 0.1.0"}};
  for (const auto& [line, level, message] : lines)
    EXPECT_EQ(std::tuple(ErrorLog::lineLevel(line, 9), ErrorLog::lineMessage(line)), std::tuple(level, message)) << line;
  ErrorLog log;
  LogMessage(LogStatus, "Opening ID3 track: %s", "x.mp3");
  EXPECT_EQ(log.lastError(), "");
  LogMessage(LogError, "Failed to do %d", 1);
  LogMessage(LogError, "Failed to do %d", 2);
  LogMessage(LogWarning, "Warning: odd");
  EXPECT_EQ(std::tuple(log.firstError(), log.lastError()), std::tuple("Failed to do 1", "Failed to do 2"));
  log.clear();
  EXPECT_EQ(log.lastError(), "");
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
