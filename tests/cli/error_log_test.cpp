// The log while a command runs: failures captured as causes and written to
// the user's log, nothing else shown.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>

#include "cli/error_log.h"
#include "engine/log.h"
#include "preferences/preferences_controller.h"
#include "tests/cli/cli_fixtures.h"
#include "tests/support/fault_injector.h"
#include "tests/support/id3v2_builder.h"
#include "tests/support/mp3_file_builder.h"
#include "tests/support/temp_dir.h"

namespace melos::test {
namespace {

using cli::ErrorLog;

TEST(ErrorLogTest, LevelAndMessageOfALine) {
  const char* line = "2024-01-02 03:04:05 [E]: Failed to open the file 'a.mp3'\n";
  EXPECT_EQ(ErrorLog::lineLevel(line, 9), 1u);
  EXPECT_EQ(ErrorLog::lineMessage(line), "Failed to open the file 'a.mp3'");
  EXPECT_EQ(ErrorLog::lineLevel("2024-01-02 03:04:05 [S]: Opening\n", 9), 3u);
  EXPECT_EQ(ErrorLog::lineLevel("2024-01-02 03:04:05: Opening\n", 9), 9u);
  EXPECT_EQ(ErrorLog::lineMessage("2024-01-02 03:04:05: Opening\n"), "Opening");
  EXPECT_EQ(ErrorLog::lineMessage("\n# Meloscribe Version 0.1.0\n"), "\n# Meloscribe Version 0.1.0");
}

TEST(ErrorLogTest, KeepsTheLastFailureOnly) {
  ErrorLog log;
  LogMessage(LogStatus, "Opening ID3 track: %s", "x.mp3");
  EXPECT_EQ(log.lastError(), "");
  LogMessage(LogError, "Failed to do %d", 1);
  LogMessage(LogError, "Failed to do %d", 2);
  LogMessage(LogWarning, "Warning: odd");
  EXPECT_EQ(log.lastError(), "Failed to do 2");
  log.clear();
  EXPECT_EQ(log.lastError(), "");
}

// Redirects standard error into a file for as long as it lives.
class StderrToFile {
 public:
  explicit StderrToFile(const std::string& path) {
    std::fflush(stderr);
    saved_ = dup(2);
    FILE* file = std::fopen(path.c_str(), "w");
    dup2(fileno(file), 2);
    std::fclose(file);
  }
  ~StderrToFile() {
    std::fflush(stderr);
    dup2(saved_, 2);
    close(saved_);
  }

 private:
  int saved_;
};

TEST(ErrorLogTest, AFailedSaveIsExplainedInTheLogNotOnTheTerminal) {
  TempDir dir;
  const ScopedEnv stateHome("XDG_STATE_HOME", dir.file("state"));
  const ScopedEnv dataHome("XDG_DATA_HOME", dir.file("data"));
  const std::string path =
      dir.write("a.mp3", concat({Id3v2Builder(3).text("TIT2", Enc::Latin1, "x").build(), cbrAudio(10)}));
  const std::string captured = dir.file("stderr.txt");
  FailNth failFlush(FileOp::Fsync, 1);
  PreferencesController& prefs = PreferencesController::sharedInstance();
  prefs.setIntPreferenceNamed("Log level", LogStatus);
  CommandResult result{};
  {
    StderrToFile redirect(captured);
    ScopedInjector scoped(failFlush);
    result = runMelos({QStringLiteral("set"), QStringLiteral("--title"), QStringLiteral("X"),
                       QString::fromStdString(path)});
  }
  prefs.removePreferenceNamed("Log level");
  EXPECT_EQ(result.code, cli::ExitCode::Failure);
  EXPECT_NE(result.err.find(path + ": "), std::string::npos) << result.err;
  EXPECT_EQ(fileText(captured), "");
  const std::string log = fileText(dir.file("state/meloscribe/melos.log"));
  EXPECT_EQ(log.rfind("\n# Meloscribe Version ", 0), 0u) << log;
  EXPECT_NE(log.find(": Updating V2 to track: " + path + "\n"), std::string::npos) << log;
  EXPECT_NE(log.find(": Failed to flush the output file"), std::string::npos) << log;
  EXPECT_NE(log.find(": NOTE: the original file has not been altered.\n"), std::string::npos) << log;
  // The level letters that tell failures apart stay out of the file.
  EXPECT_EQ(log.find(" [E]"), std::string::npos) << log;
}

TEST(ErrorLogTest, ALogPastItsMaximumSizeGoesOnUnderADatedName) {
  TempDir dir;
  const ScopedEnv stateHome("XDG_STATE_HOME", dir.path());
  std::filesystem::create_directories(dir.file("meloscribe"));
  const std::string old(static_cast<size_t>(kDefaultMaxLogSize) + 1, 'x');
  dir.write("meloscribe/melos.log", Bytes(old.begin(), old.end()));
  {
    ErrorLog log;
    LogMessage(LogError, "After the prune");
  }
  std::vector<std::string> dated;
  for (const auto& entry : std::filesystem::directory_iterator(dir.file("meloscribe")))
    if (entry.path().filename() != "melos.log") dated.push_back(entry.path().string());
  ASSERT_EQ(dated.size(), 1u);
  EXPECT_EQ(fileText(dated[0]).rfind(old, 0), 0u);
  const std::string log = fileText(dir.file("meloscribe/melos.log"));
  EXPECT_NE(log.find(": Pruning log file (old log is now " + dated[0] + ")\n"), std::string::npos) << log;
  EXPECT_NE(log.find(": After the prune\n"), std::string::npos) << log;
}

}  // namespace
}  // namespace melos::test
