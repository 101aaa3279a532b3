#include "tests/support/log_capture.h"

#include <cstring>

#include "engine/log.h"

namespace melos::test {

LogCapture::LogCapture(unsigned maxLevel) {
  sink_ = std::fopen("/dev/null", "a");
  // Letter mode 3 puts every level's letter in the prefix, so the observer can
  // tell the level of each line.
  AttachLogStream(maxLevel, sink_, nullptr, false, 3);
  SetLogObserver(&LogCapture::observe, this);
}

LogCapture::~LogCapture() {
  SetLogObserver(nullptr, nullptr);
  AttachLogStream(kInitialLogLevel, nullptr, nullptr, false, 0);
  if (sink_ != nullptr) std::fclose(sink_);
}

void LogCapture::observe(unsigned, const char* line, void* context) {
  auto* self = static_cast<LogCapture*>(context);
  std::string text(line);
  unsigned level = 0;
  static const char kLetters[] = "XEWSNVD";
  size_t open = text.find(" [");
  if (open != std::string::npos && open + 4 <= text.size() && text[open + 3] == ']') {
    const char* at = std::strchr(kLetters, text[open + 2]);
    if (at != nullptr) level = static_cast<unsigned>(at - kLetters);
  }
  size_t start = text.find(": ");
  std::string message = start == std::string::npos ? text : text.substr(start + 2);
  while (!message.empty() && (message.back() == '\n' || message.back() == '\r')) message.pop_back();
  self->lines_.push_back({level, message});
}

bool LogCapture::has(unsigned level, const std::string& text) const {
  for (const LogLine& line : lines_)
    if (line.level == level && line.message.find(text) != std::string::npos) return true;
  return false;
}

bool LogCapture::hasText(const std::string& text) const {
  for (const LogLine& line : lines_)
    if (line.message.find(text) != std::string::npos) return true;
  return false;
}

size_t LogCapture::count(unsigned level) const {
  size_t n = 0;
  for (const LogLine& line : lines_) n += line.level == level ? 1 : 0;
  return n;
}

std::string LogCapture::dump() const {
  std::string out;
  for (const LogLine& line : lines_)
    out += "[" + std::to_string(line.level) + "] " + line.message + "\n";
  return out;
}

}  // namespace melos::test
