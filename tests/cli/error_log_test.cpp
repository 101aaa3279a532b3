// The log while a command runs: failures captured as causes, nothing else shown.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "cli/error_log.h"
#include "engine/log.h"
#include "tests/cli/cli_fixtures.h"
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

TEST(ErrorLogTest, ShowWritesNoLogLinesAnywhere) {
  TempDir dir;
  const std::string state = dir.file("state");
  const char* oldState = std::getenv("XDG_STATE_HOME");
  const std::string savedState = oldState != nullptr ? oldState : "";
  setenv("XDG_STATE_HOME", state.c_str(), 1);
  const std::string good = dir.write("a.mp3", cbrAudio(20));
  const std::string captured = dir.file("stderr.txt");
  CommandResult result{};
  {
    StderrToFile redirect(captured);
    result = runMelos({QStringLiteral("show"), QStringLiteral("--json"), QString::fromStdString(good),
                       QString::fromStdString(dir.file("missing.mp3"))});
  }
  if (oldState != nullptr)
    setenv("XDG_STATE_HOME", savedState.c_str(), 1);
  else
    unsetenv("XDG_STATE_HOME");
  EXPECT_EQ(result.code, cli::ExitCode::Failure);
  // Neither the progress lines nor the failure line reach the terminal, and no
  // log file is made in the user's state folder.
  EXPECT_TRUE(readFile(captured).empty()) << std::string(readFile(captured).begin(), readFile(captured).end());
  EXPECT_FALSE(std::ifstream(state + "/meloscribe/melos.log").good());
}

}  // namespace
}  // namespace melos::test
