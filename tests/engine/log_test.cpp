#include "engine/log.h"

#include <gtest/gtest.h>

#include <pwd.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>
#include <regex>
#include <sstream>
#include <thread>

#include "tests/support/fault_injector.h"
#include "tests/support/temp_dir.h"

namespace melos {
namespace {

std::string contents(const std::string& path) { const std::vector<uint8_t> bytes = test::readFile(path); return {bytes.begin(), bytes.end()}; }

// Attaches a temporary file as the log and gives back what was written.
struct LogFile {
  explicit LogFile(unsigned level = 3, int letterMode = 0, const char* name = nullptr, int id = 0) : path(dir.file("melos.log")) {
    AttachLogStream(level, std::fopen(path.c_str(), "a+"), name, false, letterMode, id);
  }
  ~LogFile() { CloseLog(), AttachLogStream(kInitialLogLevel, nullptr, nullptr, false, 0); }
  test::TempDir dir;
  std::string path;
};

const char* const kStamp = R"(\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2})";

TEST(Log, LineShapesAndTheEcho) {
  const std::string x(3000, 'x');
  const struct { unsigned max; int mode; unsigned level; const char* format; std::string arg; bool stamped; std::string ends;
                 const char* name = nullptr; int id = 0; } cases[] = {
      {3, 0, LogAlways, "%s", "plain", true, ": plain\n"}, {3, 0, LogAlways, "#%s", " header", false, "# header\n"}, {3, 0, LogAlways, "%s", "", true, ": \n"},
      {3, 0, LogAlways, "\n# %s", "version", false, "\n# version\n"}, {3, 0, LogAlways, "%s", "already\n", true, ": already\n"},
      {3, 0, LogAlways, "%s", "carriage\r", true, ": carriage\r"}, {2, 0, LogStatus, "%s", "hidden", false, ""},
      {3, 0, LogAlways, "%s", x, true, ": " + x.substr(0, kMaxLogMessage) + "\n"},  // cut, and still ends the line
      {2, 2, LogWarning, "%s", "m", true, " [W]: m\n"}, {6, 0, LogError, "%s", "m", true, ": m\n"}, {6, 1, LogError, "%s", "m", true, " [E]: m\n"},
      {6, 1, LogWarning, "%s", "m", true, ": m\n"}, {6, 3, LogStatus, "%s", "m", true, " [S]: m\n"}, {6, 3, LogAlways, "%s", "m", true, " [X]: m\n"},
      {6, 0, LogAlways, "%s", "m", true, " [app] m\n", "app"}, {6, 0, LogAlways, "%s", "m", true, " [app][7] m\n", "app", 7},
      {6, 0, LogAlways, "%s", "m", true, " [7] m\n", nullptr, 7}, {6, 0, LogAlways, "%s", "m", true, ": m\n", ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.ends);
    LogFile log(c.max, c.mode, c.name, c.id);
    EXPECT_EQ(LogMessage(c.level, c.format, c.arg.c_str()) > 0, !c.ends.empty());
    std::string text = contents(log.path);
    EXPECT_EQ(std::regex_search(text, std::regex(std::string("^") + kStamp)), c.stamped);
    EXPECT_TRUE(text.ends_with(c.ends) && (!c.ends.empty() || text.empty())) << text;
  }
  // The echo prints the logged text as it is, never used as a format.
  LogFile log;
  SetLogEcho(1);
  testing::internal::CaptureStdout();
  LogMessage(LogAlways, "path %s", "/music/100%s done %d.mp3");
  SetLogEcho(0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "path /music/100%s done %d.mp3\n");
}

TEST(Log, PruneAtTheLimitKeepsTheFileOneByteMoreRenamesIt) {
  LogFile log;
  LogMessage(LogAlways, "%s", "0123456789");
  auto dated = [&log] {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(log.dir.path()))
      if (entry.path().filename() != "melos.log") names.push_back(contents(entry.path()) + entry.path().filename().string());
    return names;
  };
  auto size = static_cast<int64_t>(std::filesystem::file_size(log.path));
  PruneLogFile(log.path, size);
  EXPECT_TRUE(dated().empty());
  SetLogLevel(1);
  PruneLogFile(log.path, size - 1);
  ASSERT_EQ(dated().size(), 1u);
  std::time_t now = std::time(nullptr);
  char month[8];  // the dated name starts with this local year and month
  std::strftime(month, sizeof month, "%Y%m", std::localtime(&now));
  EXPECT_TRUE(std::regex_search(dated()[0], std::regex(std::string(R"(: 0123456789\nmelos-)") + month + R"(\d{6}\.log$)"))) << dated()[0];
  EXPECT_EQ(GetLogLevel(), 3u);  // after a prune, whatever it was before
  EXPECT_NE(contents(log.path).find("Pruning log file (old log is now "), std::string::npos);
  // A second prune in the same minute replaces the first; both can straddle a minute.
  PruneLogFile(log.path, 1);
  EXPECT_TRUE(dated().size() == 2 || (dated().size() == 1 && dated()[0].find("0123456789") == std::string::npos));
}

TEST(Log, ThreadsNeverInterleaveInsideALine) {
  LogFile log;
  auto writer = [](char c) { for (int i = 0; i < 500; ++i) LogMessage(LogAlways, "%s", std::string(40, c).c_str()); };
  std::thread a(writer, 'a'), b(writer, 'b');
  a.join(), b.join();
  std::istringstream lines(contents(log.path));
  int count = 0;
  const std::regex whole(std::string(kStamp) + ": (a{40}|b{40})");
  for (std::string line; std::getline(lines, line); ++count) EXPECT_TRUE(std::regex_match(line, whole)) << line;
  EXPECT_EQ(count, 1000);
}

TEST(Log, StartUpPathsAndHeader) {
  test::TempDir dir;
  std::string path = dir.path() + "/state/meloscribe/melos.log";
  ASSERT_TRUE(OpenDefaultLog(path));
  EXPECT_EQ(GetLogLevel(), 1u);
  CloseLog();
  AttachLogStream(kInitialLogLevel, nullptr, nullptr, false, 0);
  CloseLog();  // with no stream attached
  EXPECT_TRUE(std::regex_match(contents(path), std::regex(R"(\n# Meloscribe Version \d+\.\d+\.\d+ \(\d+\.\d+\.\d+\.\d+\)\n)")));
  {
    test::ScopedEnv state("XDG_STATE_HOME", "/srv/state");
    EXPECT_EQ(DefaultLogPath(), "/srv/state/meloscribe/melos.log");
  }
  test::ScopedEnv relative("XDG_STATE_HOME", "relative"), user("USER", "alice");  // a relative folder is no valid XDG one
  EXPECT_TRUE(DefaultLogPath().ends_with("/.local/state/meloscribe/melos.log"));
  test::ScopedEnv noHome("HOME", "");  // an empty HOME falls back to the account's folder
  EXPECT_EQ(DefaultLogPath(), std::string(getpwuid(getuid())->pw_dir) + "/.local/state/meloscribe/melos.log");
  EXPECT_EQ(GetUserShortName(), "alice");
}

}  // namespace
}  // namespace melos
