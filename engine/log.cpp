#include "engine/log.h"

#include <pwd.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <mutex>

#include "melos_version.h"

namespace melos {

namespace {

constexpr char kLevelLetters[] = "XEWSNVD";
constexpr size_t kLastLineSize = 1024;

struct LogState {
  FILE* stream = nullptr;
  // Read without the lock: worker threads reading a library ask for a line
  // per track that the level mostly drops, and must not queue on the lock.
  std::atomic<unsigned> maxLevel{kInitialLogLevel};
  char suffix[kMaxLogSuffix + 1] = ": ";
  bool milliseconds = false;
  int letterMode = 0;
  int echo = 0;
  char lastLine[kLastLineSize] = {};
  LogObserver observer = nullptr;
  void* observerContext = nullptr;
  // One lock per line, so that two threads never interleave inside a line.
  std::recursive_mutex mutex;
};

LogState& state() {
  static LogState s;
  return s;
}

bool showsLetter(int mode, unsigned level) {
  switch (mode) {
    case 1: return level == 1;
    case 2: return level == 1 || level == 2;
    case 3: return level <= 6;
    default: return false;
  }
}

void appendLastLine(LogState& s, const char* text) {
  size_t used = std::strlen(s.lastLine);
  if (used >= kLastLineSize - 1) return;
  std::strncat(s.lastLine, text, kLastLineSize - 1 - used);
}

}  // namespace

int LogMessage(unsigned level, const char* format, ...) noexcept {
  va_list args;
  va_start(args, format);
  int result = LogMessageV(level, format, args);
  va_end(args);
  return result;
}

int LogMessageV(unsigned level, const char* format, va_list args) noexcept {
  LogState& s = state();
  if (s.maxLevel.load(std::memory_order_relaxed) < level) return 0;
  std::lock_guard<std::recursive_mutex> lock(s.mutex);
  if (s.maxLevel < level) return 0;
  FILE* out = s.stream != nullptr ? s.stream : stderr;
  s.lastLine[0] = '\0';
  int result = 0;

  if (format == nullptr) format = "";
  if (format[0] != '#' && format[0] != '\n') {
    struct timeval now;
    gettimeofday(&now, nullptr);
    struct tm local;
    time_t seconds = now.tv_sec;
    localtime_r(&seconds, &local);
    char ms[8] = "";
    if (s.milliseconds) std::snprintf(ms, sizeof ms, ".%03d", static_cast<int>(now.tv_usec / 1000));
    char letter[8] = "";
    if (showsLetter(s.letterMode, level) && level < sizeof kLevelLetters - 1)
      std::snprintf(letter, sizeof letter, " [%c]", kLevelLetters[level]);
    char prefix[kMaxLogPrefix + 1];
    std::snprintf(prefix, sizeof prefix, "%04d-%02d-%02d %02d:%02d:%02d%s%s%s",
                  local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour,
                  local.tm_min, local.tm_sec, ms, letter, s.suffix);
    result = std::fputs(prefix, out);
    if (result < 0) return result;
    appendLastLine(s, prefix);
  }

  char message[kMaxLogMessage + 3] = {};
  std::vsnprintf(message, kMaxLogMessage + 1, format, args);
  size_t length = std::strlen(message);
  if (length == 0 || (message[length - 1] != '\n' && message[length - 1] != '\r')) {
    message[length] = '\n';
    message[length + 1] = '\0';
  }
  // The message is printed as text, never as a format: a "%" in a logged path
  // must not be interpreted a second time.
  if (s.stream != nullptr && s.echo == 1) std::fputs(message, stdout);
  result = std::fputs(message, out);
  appendLastLine(s, message);
  if (result < 0) return result;
  if (s.observer != nullptr) s.observer(0, s.lastLine, s.observerContext);
  std::fflush(out);
  return result;
}

void AttachLogStream(unsigned maxLevel, FILE* stream, const char* name, bool milliseconds,
                     int letterMode, int id) noexcept {
  LogState& s = state();
  std::lock_guard<std::recursive_mutex> lock(s.mutex);
  s.maxLevel = maxLevel;
  s.stream = stream;
  bool hasName = name != nullptr && name[0] != '\0';
  if (hasName && id != 0)
    std::snprintf(s.suffix, sizeof s.suffix, " [%.56s][%d] ", name, id);
  else if (hasName)
    std::snprintf(s.suffix, sizeof s.suffix, " [%.64s] ", name);
  else if (id != 0)
    std::snprintf(s.suffix, sizeof s.suffix, " [%d] ", id);
  else
    std::snprintf(s.suffix, sizeof s.suffix, ": ");
  s.milliseconds = milliseconds;
  s.letterMode = letterMode;
}

void CloseLog() noexcept {
  LogState& s = state();
  std::lock_guard<std::recursive_mutex> lock(s.mutex);
  if (s.stream != nullptr && s.stream != stderr) std::fclose(s.stream);
  s.stream = nullptr;
}

void SetLogLevel(unsigned level) noexcept {
  LogState& s = state();
  std::lock_guard<std::recursive_mutex> lock(s.mutex);
  s.maxLevel = level;
}

unsigned GetLogLevel() noexcept {
  LogState& s = state();
  std::lock_guard<std::recursive_mutex> lock(s.mutex);
  return s.maxLevel;
}

void SetLogEcho(int flag) noexcept {
  LogState& s = state();
  std::lock_guard<std::recursive_mutex> lock(s.mutex);
  s.echo = flag;
}

void SetLogObserver(LogObserver observer, void* context) noexcept {
  LogState& s = state();
  std::lock_guard<std::recursive_mutex> lock(s.mutex);
  s.observer = observer;
  s.observerContext = context;
}

void PruneLogFile(const std::string& path, int64_t maxSize) noexcept {
  try {
    struct stat st;
    if (::stat(path.c_str(), &st) != 0 || st.st_size <= maxSize) return;
    std::string dated = path.substr(0, std::min<size_t>(path.size(), 1023));
    dated.resize(dated.size() >= 4 ? dated.size() - 4 : 0);
    time_t now = std::time(nullptr);
    struct tm local;
    localtime_r(&now, &local);
    char stamp[64];
    std::snprintf(stamp, sizeof stamp, "-%04d%02d%02d%02d%02d.log", local.tm_year + 1900,
                  local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min);
    dated += stamp;
    LogState& s = state();
    std::lock_guard<std::recursive_mutex> lock(s.mutex);
    CloseLog();
    ::rename(path.c_str(), dated.c_str());
    FILE* stream = std::fopen(path.c_str(), "a+");
    AttachLogStream(kInitialLogLevel, stream, nullptr, false, 0);
    LogMessage(LogAlways, "Pruning log file (old log is now %s)", dated.c_str());
    SetLogEcho(0);
  } catch (...) {
    LogMessage(LogError, "Failed to prune the log file");
  }
}

std::string GetUserShortName() noexcept {
  try {
    for (const char* variable : {"USER", "LOGNAME"}) {
      const char* value = std::getenv(variable);
      if (value != nullptr && value[0] != '\0') return std::string(value).substr(0, 254);
    }
    struct passwd entry;
    struct passwd* found = nullptr;
    char buffer[4096];
    if (getpwuid_r(getuid(), &entry, buffer, sizeof buffer, &found) == 0 && found != nullptr)
      return std::string(found->pw_name).substr(0, 254);
  } catch (...) {
  }
  return {};
}

std::string DefaultLogPath() noexcept {
  try {
    std::string base;
    const char* state = std::getenv("XDG_STATE_HOME");
    if (state != nullptr && state[0] == '/') {
      base = state;
    } else {
      const char* home = std::getenv("HOME");
      if (home == nullptr || home[0] == '\0') {
        struct passwd* entry = getpwuid(getuid());
        home = entry != nullptr ? entry->pw_dir : "/tmp";
      }
      base = std::string(home) + "/.local/state";
    }
    return base + "/meloscribe/melos.log";
  } catch (...) {
    return {};
  }
}

bool OpenDefaultLog(const std::string& path) noexcept {
  FILE* stream = nullptr;
  try {
    std::error_code ignored;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), ignored);
    stream = std::fopen(path.c_str(), "a+");
  } catch (...) {
  }
  AttachLogStream(LogError, stream, nullptr, false, 0);
  LogMessage(LogAlways, "\n# %s Version %d.%d.%d (%d.%d.%d.%d)", kProductName, kVersionMajor,
             kVersionMinor, kVersionPatch, kVersionMajor, kVersionMinor, kVersionPatch,
             kBuildNumber);
  return stream != nullptr;
}

}  // namespace melos
