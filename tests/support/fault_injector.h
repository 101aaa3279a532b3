#pragma once
// Fault injectors for tests: one counts the engine's file operations, the
// other makes the n-th call of one operation fail.

#include <array>
#include <cerrno>
#include <string>

#include "engine/file_io.h"
#include "engine/file_state.h"

namespace melos::test {

inline constexpr size_t kFileOpCount = static_cast<size_t>(FileOp::Chmod) + 1;

class CountingInjector : public FaultInjector {
 public:
  int failure(FileOp op) noexcept override {
    ++counts_[static_cast<size_t>(op)];
    return 0;
  }
  int count(FileOp op) const { return counts_[static_cast<size_t>(op)]; }

 private:
  std::array<int, kFileOpCount> counts_{};
};

class FailNth : public FaultInjector {
 public:
  // Calls n to n + times - 1 of the operation fail.
  FailNth(FileOp op, int n, int times = 1, int error = EIO) : op_(op), n_(n), times_(times), error_(error) {}
  int failure(FileOp op) noexcept override {
    if (op != op_) return 0;
    ++seen_;
    return seen_ >= n_ && seen_ < n_ + times_ ? error_ : 0;
  }
  bool fired() const { return seen_ >= n_; }

 private:
  FileOp op_;
  int n_;
  int times_;
  int error_;
  int seen_ = 0;
};

// Installs an injector for the length of a scope.
class ScopedInjector {
 public:
  explicit ScopedInjector(FaultInjector& injector) { setFaultInjector(&injector); }
  ~ScopedInjector() { setFaultInjector(nullptr); }
  ScopedInjector(const ScopedInjector&) = delete;
  ScopedInjector& operator=(const ScopedInjector&) = delete;
};

// A shorter wait for a held lock, for the length of a scope.
class ScopedLockWait {
 public:
  explicit ScopedLockWait(int milliseconds) { setLockWaitForTesting(milliseconds); }
  ~ScopedLockWait() { setLockWaitForTesting(kLockWaitMilliseconds); }
  ScopedLockWait(const ScopedLockWait&) = delete;
  ScopedLockWait& operator=(const ScopedLockWait&) = delete;
};

// Sets an environment variable for the length of a scope.
class ScopedEnv {
 public:
  ScopedEnv(const char* name, const std::string& value);
  ~ScopedEnv();
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;

 private:
  std::string name_;
  std::string old_;
  bool had_ = false;
};

const char* fileOpName(FileOp op);

}  // namespace melos::test
