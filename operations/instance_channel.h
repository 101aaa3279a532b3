#pragma once
// A second launch of the editor hands its paths to the running one: where the
// running instance listens, and the message the two exchange.

#include <optional>
#include <string>
#include <vector>

namespace melos {

// A socket per user in the user's runtime folder; without XDG_RUNTIME_DIR, in
// the temporary folder with the user's id in its name, so two users never
// meet.
std::string instanceSocketPath(const char* runtimeDir, unsigned userId);

// The paths as absolute paths, one per line, behind a first line that names
// the protocol; a path holding a line feed cannot be handed over and is
// dropped.
std::string encodeOpenRequest(const std::vector<std::string>& absolutePaths);
// None when the message is not an open request.
std::optional<std::vector<std::string>> decodeOpenRequest(const std::string& message);

inline constexpr std::string_view kOpenRequestHeader = "meloscribe-open 1";

}  // namespace melos
