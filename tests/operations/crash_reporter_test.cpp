// A child process that crashes on purpose leaves its report in the log.

#include "operations/crash_reporter.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/temp_dir.h"

namespace melos::test {

TEST(CrashReporter, AppendsTheSignalTheImagesAndTheVersionsThenDiesOfTheSignal) {
  for (const auto& [sig, name] : {std::pair{SIGSEGV, "signal 11 (SIGSEGV)"}, {SIGABRT, "(SIGABRT)"},
                                     {SIGBUS, "(SIGBUS)"}, {SIGFPE, "(SIGFPE)"}}) {
    TempDir dir;
    const std::string log = dir.write("melos.log", {'o', 'l', 'd', '\n'});
    const pid_t child = ::fork();
    if (child == 0) {
      if (!installCrashReporter(log, "Meloscribe test, Qt none")) ::_exit(3);
      if (sig == SIGSEGV) {
        volatile int* nowhere = nullptr;
        *nowhere = 1;
      }
      ::raise(sig);
      ::_exit(4);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == sig) << "status " << status;
    const std::string text = [bytes = readFile(log)] { return std::string(bytes.begin(), bytes.end()); }();
    EXPECT_EQ(text.rfind("old\n", 0), 0u);
    for (const char* part : {name, "Versions: Meloscribe test, Qt none", "System: Linux ", "libc.so",
                             "operations_tests", "# End of crash report"})
      EXPECT_NE(text.find(part), std::string::npos) << part << "\n" << text;
  }
  EXPECT_FALSE(installCrashReporter(TempDir().file("no/such/folder/melos.log"), ""));
}

}  // namespace melos::test
