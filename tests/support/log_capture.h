#pragma once
// Captures what the log receives during a test: every line's level and message.

#include <cstdio>
#include <string>
#include <vector>

namespace melos::test {

struct LogLine {
  unsigned level;
  std::string message;  // without the timestamp prefix and the line feed
};

class LogCapture {
 public:
  explicit LogCapture(unsigned maxLevel = 6);
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  const std::vector<LogLine>& lines() const { return lines_; }
  // True when a line of this level holds the text (a substring match).
  bool has(unsigned level, const std::string& text) const;
  bool hasText(const std::string& text) const;
  size_t count(unsigned level) const;
  void clear() { lines_.clear(); }
  std::string dump() const;

 private:
  static void observe(unsigned level, const char* line, void* context);
  std::vector<LogLine> lines_;
  FILE* sink_ = nullptr;
};

}  // namespace melos::test
