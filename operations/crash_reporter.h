#pragma once
// On a crash (SIGSEGV, SIGABRT, SIGBUS, SIGFPE) the program writes the
// signal, the loaded shared objects and the system and toolkit versions to
// the log before it ends, so a report can say where it died. Everything the
// handler writes is prepared before, or read with plain system calls: a
// crashed process may not allocate or take a lock.

#include <string>

namespace melos {

// Opens `logPath` for appending and installs the handlers. `versions` is a
// line such as "Meloscribe 0.1.0, Qt 6.4.2"; the system's name and release
// are added. False when the log cannot be opened.
bool installCrashReporter(const std::string& logPath, const std::string& versions);

}  // namespace melos
