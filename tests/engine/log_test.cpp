#include "engine/log.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/fault_injector.h"
#include "tests/support/temp_dir.h"

namespace melos {
namespace {

// Attaches a temporary file as the log and gives back what was written.
class LogFile {
 public:
  explicit LogFile(unsigned level = 3, int letterMode = 0, const char* name = nullptr, int id = 0) {
    path_ = dir_.file("melos.log");
    stream_ = std::fopen(path_.c_str(), "a+");
    AttachLogStream(level, stream_, name, false, letterMode, id);
  }
  ~LogFile() {
    CloseLog();
    AttachLogStream(kInitialLogLevel, nullptr, nullptr, false, 0);
  }
  std::string text() const {
    std::ifstream in(path_);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
  }
  const std::string& path() const { return path_; }
  const test::TempDir& dir() const { return dir_; }

 private:
  test::TempDir dir_;
  std::string path_;
  FILE* stream_ = nullptr;
};

const std::regex kPrefix(R"(\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2}: )");

TEST(Log, LevelAboveMaximumWritesNothing) {
  LogFile log(2);
  EXPECT_EQ(LogMessage(LogStatus, "hidden %d", 1), 0);
  EXPECT_GT(LogMessage(LogWarning, "shown"), 0);
  std::string text = log.text();
  EXPECT_EQ(text.find("hidden"), std::string::npos);
  EXPECT_TRUE(std::regex_search(text, kPrefix));
  EXPECT_NE(text.find("shown\n"), std::string::npos);
}

TEST(Log, LineForms) {
  struct Case {
    const char* format;
    const char* arg;
    bool prefixed;
    const char* ends;
  };
  const Case cases[] = {
      {"%s", "plain", true, ": plain\n"},
      {"#%s", " header", false, "# header\n"},
      {"\n# %s", "version", false, "\n# version\n"},
      {"%s", "already\n", true, ": already\n"},
      {"%s", "carriage\r", true, ": carriage\r"},
      {"%s", "", true, ": \n"},
  };
  for (const Case& c : cases) {
    LogFile log;
    LogMessage(LogAlways, c.format, c.arg);
    std::string text = log.text();
    EXPECT_EQ(std::regex_search(text, kPrefix), c.prefixed) << c.format << c.arg;
    ASSERT_GE(text.size(), std::strlen(c.ends));
    EXPECT_EQ(text.substr(text.size() - std::strlen(c.ends)), c.ends) << text;
  }
}

TEST(Log, LongMessageIsCutAndStillEndsTheLine) {
  LogFile log;
  std::string longText(3000, 'x');
  LogMessage(LogAlways, "%s", longText.c_str());
  std::string text = log.text();
  size_t start = text.find(": ") + 2;
  EXPECT_EQ(text.size() - start, kMaxLogMessage + 1);
  EXPECT_EQ(text.back(), '\n');
}

TEST(Log, LetterModesAndSuffixes) {
  struct Case {
    int mode;
    unsigned level;
    const char* name;
    int id;
    const char* expected;
  };
  const Case cases[] = {
      {0, 1, nullptr, 0, ": m"},          {1, 1, nullptr, 0, " [E]: m"},
      {1, 2, nullptr, 0, ": m"},          {2, 2, nullptr, 0, " [W]: m"},
      {3, 3, nullptr, 0, " [S]: m"},      {3, 0, nullptr, 0, " [X]: m"},
      {0, 0, "app", 0, " [app] m"},       {0, 0, "app", 7, " [app][7] m"},
      {0, 0, nullptr, 7, " [7] m"},       {0, 0, "", 0, ": m"},
  };
  for (const Case& c : cases) {
    LogFile log(6, c.mode, c.name, c.id);
    LogMessage(c.level, "m");
    EXPECT_NE(log.text().find(std::string(c.expected) + "\n"), std::string::npos)
        << c.mode << " " << c.level << " " << log.text();
  }
}

TEST(Log, EchoPrintsTheMessageAsText) {
  LogFile log;
  SetLogEcho(1);
  testing::internal::CaptureStdout();
  LogMessage(LogAlways, "path %s", "/music/100%s done %d.mp3");
  std::string out = testing::internal::GetCapturedStdout();
  SetLogEcho(0);
  EXPECT_EQ(out, "path /music/100%s done %d.mp3\n");
}

TEST(Log, PruneAtTheLimitKeepsTheFileOneByteMoreRenamesIt) {
  LogFile log;
  LogMessage(LogAlways, "%s", "0123456789");
  auto size = static_cast<int64_t>(std::filesystem::file_size(log.path()));

  PruneLogFile(log.path(), size);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(log.dir().path()),
                          std::filesystem::directory_iterator{}),
            1);

  SetLogLevel(1);
  PruneLogFile(log.path(), size - 1);
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(log.dir().path()))
    names.push_back(entry.path().filename().string());
  ASSERT_EQ(names.size(), 2u);
  std::string dated = names[0] == "melos.log" ? names[1] : names[0];
  EXPECT_TRUE(std::regex_match(dated, std::regex(R"(melos-\d{12}\.log)"))) << dated;
  // The maximum level after a prune is 3, whatever it was before.
  EXPECT_EQ(GetLogLevel(), 3u);
  EXPECT_NE(log.text().find("Pruning log file (old log is now "), std::string::npos);
  std::ifstream old(log.dir().file(dated));
  std::string first;
  std::getline(old, first);
  EXPECT_NE(first.find("0123456789"), std::string::npos);
}

TEST(Log, TwoPrunesInOneMinuteReplaceTheFirst) {
  LogFile log;
  LogMessage(LogAlways, "first");
  PruneLogFile(log.path(), 1);
  LogMessage(LogAlways, "second");
  PruneLogFile(log.path(), 1);
  size_t dated = 0;
  std::string content;
  for (const auto& entry : std::filesystem::directory_iterator(log.dir().path())) {
    if (entry.path().filename() == "melos.log") continue;
    ++dated;
    std::ifstream in(entry.path());
    std::stringstream s;
    s << in.rdbuf();
    content = s.str();
  }
  // Both prunes can straddle a minute; then there are two files, each whole.
  ASSERT_GE(dated, 1u);
  if (dated == 1) {
    EXPECT_NE(content.find("second"), std::string::npos);
    EXPECT_EQ(content.find("first"), std::string::npos);
  }
}

TEST(Log, ThreadsNeverInterleaveInsideALine) {
  LogFile log;
  auto writer = [](char c) {
    std::string word(40, c);
    for (int i = 0; i < 500; ++i) LogMessage(LogAlways, "%s", word.c_str());
  };
  std::thread a(writer, 'a'), b(writer, 'b');
  a.join();
  b.join();
  std::istringstream lines(log.text());
  std::string line;
  int count = 0;
  const std::regex whole(R"(\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2}: (a{40}|b{40}))");
  while (std::getline(lines, line)) {
    ++count;
    EXPECT_TRUE(std::regex_match(line, whole)) << line;
  }
  EXPECT_EQ(count, 1000);
}

TEST(Log, StartUpCreatesTheFolderAndWritesTheHeader) {
  test::TempDir dir;
  std::string path = dir.path() + "/state/meloscribe/melos.log";
  ASSERT_TRUE(OpenDefaultLog(path));
  EXPECT_EQ(GetLogLevel(), 1u);
  CloseLog();
  AttachLogStream(kInitialLogLevel, nullptr, nullptr, false, 0);
  std::vector<uint8_t> bytes = test::readFile(path);
  std::string text(bytes.begin(), bytes.end());
  EXPECT_TRUE(std::regex_search(text, std::regex(R"(^\n# Meloscribe Version \d+\.\d+\.\d+ \(\d+\.\d+\.\d+\.\d+\)\n$)")))
      << text;
}

TEST(Log, PathsFollowXdgAndUserVariables) {
  {
    test::ScopedEnv state("XDG_STATE_HOME", "/srv/state");
    EXPECT_EQ(DefaultLogPath(), "/srv/state/meloscribe/melos.log");
  }
  {
    // A relative value is not a valid XDG folder and is ignored.
    test::ScopedEnv state("XDG_STATE_HOME", "relative");
    EXPECT_NE(DefaultLogPath().find("/.local/state/meloscribe/melos.log"), std::string::npos);
  }
  test::ScopedEnv user("USER", "alice");
  EXPECT_EQ(GetUserShortName(), "alice");
}

}  // namespace
}  // namespace melos
