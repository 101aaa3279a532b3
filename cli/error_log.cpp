#include "cli/error_log.h"

#include <cstring>

#include "engine/log.h"

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
  sink_ = std::fopen("/dev/null", "a");
  // Letter mode 3 marks every line with its level letter: the observer is not
  // told the level reliably, the letter tells failures from the rest.
  AttachLogStream(LogError, sink_, nullptr, false, 3);
  SetLogObserver(&ErrorLog::observe, this);
  clear();
}

ErrorLog::~ErrorLog() {
  SetLogObserver(nullptr, nullptr);
  AttachLogStream(kInitialLogLevel, nullptr, nullptr, false, 0);
  if (sink_ != nullptr) std::fclose(sink_);
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
