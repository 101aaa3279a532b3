// A child process that crashes on purpose leaves its report in the log.

#include "operations/crash_reporter.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <string>

#include "tests/support/temp_dir.h"

namespace melos::test {
namespace {

std::string crashChild(const std::string& log, int signal) {
  const pid_t child = ::fork();
  if (child == 0) {
    if (!installCrashReporter(log, "Meloscribe test, Qt none")) ::_exit(3);
    if (signal == SIGSEGV) {
      volatile int* nowhere = nullptr;
      *nowhere = 1;
    }
    ::raise(signal);
    ::_exit(4);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  EXPECT_TRUE(WIFSIGNALED(status)) << "status " << status;
  if (WIFSIGNALED(status)) {
    EXPECT_EQ(WTERMSIG(status), signal);
  }
  const std::vector<uint8_t> bytes = readFile(log);
  return std::string(bytes.begin(), bytes.end());
}

TEST(CrashReporter, WritesTheSignalTheImagesAndTheVersionsThenDiesOfTheSignal) {
  const struct {
    int signal;
    const char* name;
  } cases[] = {{SIGSEGV, "signal 11 (SIGSEGV)"}, {SIGABRT, "(SIGABRT)"}, {SIGBUS, "(SIGBUS)"}, {SIGFPE, "(SIGFPE)"}};
  for (const auto& c : cases) {
    TempDir dir;
    const std::string text = crashChild(dir.file("melos.log"), c.signal);
    EXPECT_NE(text.find(c.name), std::string::npos) << text;
    EXPECT_NE(text.find("Versions: Meloscribe test, Qt none"), std::string::npos) << text;
    EXPECT_NE(text.find("System: Linux "), std::string::npos) << text;
    EXPECT_NE(text.find("libc.so"), std::string::npos) << text;
    EXPECT_NE(text.find("operations_tests"), std::string::npos) << text;
    EXPECT_NE(text.find("# End of crash report"), std::string::npos) << text;
  }
}

TEST(CrashReporter, AppendsToTheLogAndFailsWithoutOne) {
  TempDir dir;
  const std::string log = dir.write("melos.log", {'o', 'l', 'd', '\n'});
  const std::string text = crashChild(log, SIGABRT);
  EXPECT_EQ(text.rfind("old\n", 0), 0u);
  EXPECT_FALSE(installCrashReporter(dir.file("no/such/folder/melos.log"), ""));
}

}  // namespace
}  // namespace melos::test
