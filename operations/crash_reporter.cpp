#include "operations/crash_reporter.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <initializer_list>

namespace melos {
namespace {

constexpr std::array<int, 4> kCrashSignals = {SIGSEGV, SIGABRT, SIGBUS, SIGFPE};
constexpr size_t kHeaderSize = 1024;
constexpr size_t kMapsChunk = 4096;
constexpr size_t kMaxMapLine = 1024;

int g_logFd = -1;
char g_header[kHeaderSize];
size_t g_headerLength = 0;

void writeAll(const char* text, size_t length) {
  while (length > 0) {
    const ssize_t written = ::write(g_logFd, text, length);
    if (written <= 0) return;
    text += written;
    length -= static_cast<size_t>(written);
  }
}

void writeText(const char* text) { writeAll(text, std::strlen(text)); }

void writeNumber(int number) {
  char digits[16];
  size_t at = sizeof digits;
  unsigned value = number < 0 ? static_cast<unsigned>(-number) : static_cast<unsigned>(number);
  do {
    digits[--at] = static_cast<char>('0' + value % 10);
    value /= 10;
  } while (value != 0 && at > 1);
  if (number < 0) digits[--at] = '-';
  writeAll(digits + at, sizeof digits - at);
}

const char* signalName(int signal) {
  switch (signal) {
    case SIGSEGV: return "SIGSEGV";
    case SIGABRT: return "SIGABRT";
    case SIGBUS: return "SIGBUS";
    case SIGFPE: return "SIGFPE";
    default: return "signal";
  }
}

// One line of /proc/self/maps: "start-end perms offset dev inode   path". The
// executable mappings with a path are the loaded images.
void writeImage(const char* line, size_t length) {
  const char* perms = static_cast<const char*>(std::memchr(line, ' ', length));
  if (perms == nullptr || static_cast<size_t>(perms - line) + 4 >= length || perms[3] != 'x') return;
  const char* path = static_cast<const char*>(std::memchr(line, '/', length));
  if (path == nullptr) return;
  writeText("  ");
  writeAll(line, static_cast<size_t>(perms - line));
  writeText(" ");
  writeAll(path, length - static_cast<size_t>(path - line));
  writeText("\n");
}

void writeLoadedImages() {
  const int maps = ::open("/proc/self/maps", O_RDONLY | O_CLOEXEC);
  if (maps < 0) return;
  writeText("Loaded images:\n");
  char chunk[kMapsChunk];
  char line[kMaxMapLine];
  size_t lineLength = 0;
  for (ssize_t got; (got = ::read(maps, chunk, sizeof chunk)) > 0;) {
    for (ssize_t i = 0; i < got; ++i) {
      if (chunk[i] == '\n') {
        writeImage(line, lineLength);
        lineLength = 0;
      } else if (lineLength < sizeof line) {
        line[lineLength++] = chunk[i];
      }
    }
  }
  ::close(maps);
}

void onCrash(int signal) {
  if (g_logFd >= 0) {
    writeText("\n# Crash: signal ");
    writeNumber(signal);
    writeText(" (");
    writeText(signalName(signal));
    writeText(")\n");
    writeAll(g_header, g_headerLength);
    writeLoadedImages();
    writeText("# End of crash report\n");
  }
  // The default action ends the process with the signal, so a core dump and
  // the parent's wait still see the real cause.
  struct sigaction fallback {};
  fallback.sa_handler = SIG_DFL;
  ::sigaction(signal, &fallback, nullptr);
  ::raise(signal);
}

void appendHeader(const char* text) {
  const size_t length = std::min(std::strlen(text), kHeaderSize - 1 - g_headerLength);
  std::memcpy(g_header + g_headerLength, text, length);
  g_headerLength += length;
}

}  // namespace

bool installCrashReporter(const std::string& logPath, const std::string& versions) {
  const int fd = ::open(logPath.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
  if (fd < 0) return false;
  if (g_logFd >= 0) ::close(g_logFd);
  g_logFd = fd;
  g_headerLength = 0;
  appendHeader("Versions: ");
  appendHeader(versions.c_str());
  appendHeader("\nSystem: ");
  struct utsname system {};
  if (::uname(&system) == 0) {
    for (const char* part : std::initializer_list<const char*>{system.sysname, " ", system.release, " ",
                                                               system.version, " ", system.machine})
      appendHeader(part);
  }
  appendHeader("\n");

  struct sigaction action {};
  action.sa_handler = &onCrash;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESETHAND;
  for (int signal : kCrashSignals) ::sigaction(signal, &action, nullptr);
  return true;
}

}  // namespace melos
