#pragma once
// The one log of the process: plain-text lines, each a local timestamp, a suffix
// and a message. Every engine failure explains itself here.

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <string>

namespace melos {

enum LogLevel : unsigned {
  LogAlways = 0,
  LogError = 1,
  LogWarning = 2,
  LogStatus = 3,
  LogNotice = 4,
  LogVerbose = 5,
  LogDebug = 6,
};

inline constexpr unsigned kInitialLogLevel = 3;
inline constexpr size_t kMaxLogMessage = 1023;   // characters of one message
inline constexpr size_t kMaxLogPrefix = 143;     // characters of the timestamp prefix
inline constexpr size_t kMaxLogSuffix = 79;
inline constexpr int64_t kDefaultMaxLogSize = 102400;

int LogMessage(unsigned level, const char* format, ...) noexcept
    __attribute__((format(printf, 2, 3)));
int LogMessageV(unsigned level, const char* format, va_list args) noexcept;

// The stream may be null: lines then go to standard error.
void AttachLogStream(unsigned maxLevel, FILE* stream, const char* name, bool milliseconds,
                     int letterMode, int id = 0) noexcept;
void CloseLog() noexcept;
void SetLogLevel(unsigned level) noexcept;
unsigned GetLogLevel() noexcept;
void SetLogEcho(int flag) noexcept;

// Observer of every written line (level, the line with its prefix). None is
// installed by the program; tests use it.
using LogObserver = void (*)(unsigned level, const char* line, void* context);
void SetLogObserver(LogObserver observer, void* context) noexcept;

// Renames the log to a dated name when it has grown past maxSize bytes.
void PruneLogFile(const std::string& path, int64_t maxSize) noexcept;

std::string GetUserShortName() noexcept;

// $XDG_STATE_HOME/meloscribe/melos.log, else ~/.local/state/meloscribe/melos.log.
std::string DefaultLogPath() noexcept;

// Start-up: creates the folder, opens the log for appending at level 1 and writes
// the header line. Returns false when the file could not be opened (lines then
// go to standard error).
bool OpenDefaultLog(const std::string& path) noexcept;

}  // namespace melos
