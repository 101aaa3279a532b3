#pragma once

namespace melos::cli {

enum class ExitCode { Ok = 0, Failure = 1, Usage = 2 };

inline int toInt(ExitCode code) noexcept { return static_cast<int>(code); }

}  // namespace melos::cli
