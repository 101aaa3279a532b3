#include "cli/error_log.h"

#include <cstdio>
#include <filesystem>
#include <memory>

#include "engine/log.h"
#include "preferences/preference_keys.h"
#include "preferences/preferences_controller.h"

namespace melos::cli {
namespace {

constexpr std::string_view kLevelLetters = "XEWSNVD";
// "YYYY-MM-DD hh:mm:ss"
constexpr size_t kTimestampLength = 19;

bool hasTimestamp(std::string_view line) {
  if (line.size() < kTimestampLength) return false;
  return line[4] == '-' && line[7] == '-' && line[10] == ' ' && line[13] == ':' &&
         line[16] == ':';
}

// Position of the level text " [L]" behind the timestamp, or npos.
size_t levelTextAt(std::string_view line) {
  size_t at = hasTimestamp(line) ? kTimestampLength : 0;
  if (line.size() >= at + 4 && line.substr(at, 2) == " [" && line[at + 3] == ']') return at;
  return std::string_view::npos;
}


// The file behind the engine's stream. The engine marks every line with its
// level letter so that the observer can tell failures; the letter is taken out
// here, so that the file reads as the editor's does.
struct LogFileSink {
  FILE* file = nullptr;  // none: the lines are dropped
  bool atLineStart = true;
};

ssize_t writeToSink(void* cookie, const char* data, size_t size) {
  LogFileSink& sink = *static_cast<LogFileSink*>(cookie);
  if (sink.file == nullptr) return static_cast<ssize_t>(size);
  std::string_view rest(data, size);
  while (!rest.empty()) {
    const size_t end = rest.find('\n');
    std::string_view line = rest.substr(0, end == std::string_view::npos ? rest.size() : end + 1);
    rest.remove_prefix(line.size());
    if (sink.atLineStart && levelTextAt(line) == kTimestampLength) {
      if (std::fwrite(line.data(), 1, kTimestampLength, sink.file) != kTimestampLength) return -1;
      line.remove_prefix(kTimestampLength + 4);
    }
    if (std::fwrite(line.data(), 1, line.size(), sink.file) != line.size()) return -1;
    sink.atLineStart = !line.empty() && (line.back() == '\n' || line.back() == '\r');
  }
  return std::fflush(sink.file) == 0 ? static_cast<ssize_t>(size) : -1;
}

int closeSink(void* cookie) {
  const std::unique_ptr<LogFileSink> sink(static_cast<LogFileSink*>(cookie));
  return sink->file != nullptr ? std::fclose(sink->file) : 0;
}

// The engine owns the stream from here on: its CloseLog closes the file too.
void attachLogFile(const std::string& path, unsigned level) {
  auto sink = std::make_unique<LogFileSink>();
  if (!path.empty()) sink->file = std::fopen(path.c_str(), "a");
  FILE* stream = fopencookie(sink.get(), "w", {nullptr, &writeToSink, nullptr, &closeSink});
  if (stream == nullptr) {
    if (sink->file != nullptr) std::fclose(sink->file);
    return;
  }
  sink.release();
  // Letter mode 3 marks every line with its level letter: the observer is not
  // told the level, the letter tells failures from the rest.
  AttachLogStream(level, stream, nullptr, false, 3);
}

// The engine's start-up writes its header to standard error when the file
// cannot be opened; the terminal is kept for the tool's own messages.
bool canOpenLog(const std::string& path) {
  if (path.empty()) return false;
  std::error_code ignored;
  std::filesystem::create_directories(std::filesystem::path(path).parent_path(), ignored);
  FILE* file = std::fopen(path.c_str(), "a");
  if (file == nullptr) return false;
  std::fclose(file);
  return true;
}

struct ThreadErrors {
  std::string last;
  std::string first;
};
thread_local ThreadErrors t_errors;

}  // namespace

void ErrorLog::clear() {
  t_errors.last.clear();
  t_errors.first.clear();
}

const std::string& ErrorLog::lastError() const { return t_errors.last; }
const std::string& ErrorLog::firstError() const { return t_errors.first; }

ErrorLog::ErrorLog() {
  // The editor's start-up order: the header at level 1, then the preferences'
  // level (reading them may log a failure already), then the prune before the
  // first track is opened.
  const std::string path = DefaultLogPath();
  const bool canOpen = canOpenLog(path);
  if (canOpen) OpenDefaultLog(path);
  else attachLogFile({}, LogError);
  const PreferencesController& preferences = PreferencesController::sharedInstance();
  const int level = preferences.getIntPreferenceNamed(prefs::kLogLevel.key, prefs::kLogLevel.defaultValue);
  const int maxSize = preferences.getIntPreferenceNamed(prefs::kMaxLogSize.key, prefs::kMaxLogSize.defaultValue);
  CloseLog();
  attachLogFile(canOpen ? path : std::string(), static_cast<unsigned>(level));
  LogMessage(LogAlways, "Log level: %d", static_cast<int>(GetLogLevel()));
  if (canOpen) {
    PruneLogFile(path, maxSize);
    // A prune attaches the new file itself, without level letters; it is
    // attached again at the level the prune left.
    const unsigned levelAfterPrune = GetLogLevel();
    CloseLog();
    attachLogFile(path, levelAfterPrune);
  }
  SetLogObserver(&ErrorLog::observe, this);
  clear();
}

ErrorLog::~ErrorLog() {
  SetLogObserver(nullptr, nullptr);
  CloseLog();
  AttachLogStream(kInitialLogLevel, nullptr, nullptr, false, 0);
}

unsigned ErrorLog::lineLevel(std::string_view line, unsigned fallbackLevel) {
  size_t at = levelTextAt(line);
  if (at == std::string_view::npos) return fallbackLevel;
  size_t index = kLevelLetters.find(line[at + 2]);
  return index == std::string_view::npos ? fallbackLevel : static_cast<unsigned>(index);
}

std::string ErrorLog::lineMessage(std::string_view line) {
  size_t at = hasTimestamp(line) ? kTimestampLength : 0;
  if (size_t level = levelTextAt(line); level != std::string_view::npos) at = level + 4;
  // The suffix is ": " for an unnamed log.
  if (line.substr(at, 2) == ": ") at += 2;
  std::string_view message = line.substr(at);
  while (!message.empty() && (message.back() == '\n' || message.back() == '\r'))
    message.remove_suffix(1);
  return std::string(message);
}

void ErrorLog::observe(unsigned, const char* line, void* context) {
  if (line == nullptr || context == nullptr) return;
  std::string_view text(line);
  // With letter mode 3 every line with a timestamp carries its letter; a line
  // without one (the log's header) is no failure.
  if (lineLevel(text, LogAlways) != LogError) return;
  t_errors.last = lineMessage(text);
  if (t_errors.first.empty()) t_errors.first = t_errors.last;
}

}  // namespace melos::cli
