#pragma once
// While a command runs, the engine's log goes to no file and no terminal: the
// tool must never write into the user's own log, and a person reading the
// output wants the cause of a failure, not the engine's progress lines. The last
// failure line is kept so that it can be shown as the cause.

#include <cstdio>
#include <string>
#include <string_view>

namespace melos::cli {

class ErrorLog {
 public:
  ErrorLog();
  ~ErrorLog();
  ErrorLog(const ErrorLog&) = delete;
  ErrorLog& operator=(const ErrorLog&) = delete;

  // The failure lines are kept per thread: files opened on several threads
  // at once each get their own cause.
  void clear();
  // The message of the last failure line of this thread since clear(),
  // without its timestamp.
  const std::string& lastError() const;
  // The first one: for a save, the cause; the lines behind it tell what followed.
  const std::string& firstError() const;

  // Splits a log line into its level (from the level letter when the line
  // carries one, else `fallbackLevel`) and its message.
  static unsigned lineLevel(std::string_view line, unsigned fallbackLevel);
  static std::string lineMessage(std::string_view line);

 private:
  static void observe(unsigned level, const char* line, void* context);
  FILE* sink_ = nullptr;
};

}  // namespace melos::cli
