#include "tests/support/fault_injector.h"

#include <cstdlib>

namespace melos::test {

ScopedEnv::ScopedEnv(const char* name, const std::string& value) : name_(name) {
  if (const char* old = std::getenv(name)) {
    had_ = true;
    old_ = old;
  }
  ::setenv(name, value.c_str(), 1);
}

ScopedEnv::~ScopedEnv() {
  if (had_) ::setenv(name_.c_str(), old_.c_str(), 1);
  else ::unsetenv(name_.c_str());
}

const char* fileOpName(FileOp op) {
  static constexpr const char* kNames[] = {"open",   "read",     "write",     "fsync", "rename",
                                           "unlink", "truncate", "utimensat", "link", "chmod"};
  return kNames[static_cast<size_t>(op)];
}

}  // namespace melos::test
