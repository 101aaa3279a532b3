#pragma once
// While a command runs, the engine's log goes to the user's melos.log, as the
// editor's does, and never to the terminal: a person reading the output wants
// the cause of a failure in one line, and the log keeps the whole story. The
// failure lines are kept so that they can be shown as the cause.

#include <string>
#include <string_view>

namespace melos::cli {

class ErrorLog {
 public:
  // Opens DefaultLogPath() at the level the preferences give and prunes it by
  // "Max log size". When the file cannot be opened, the lines are dropped.
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
};

}  // namespace melos::cli
