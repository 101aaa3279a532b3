#include "operations/app_log.h"

#include "engine/log.h"
#include "preferences/preferences_controller.h"

namespace melos {
namespace {

constexpr std::string_view kLogLevelKey = "Log level";
constexpr std::string_view kMaxLogSizeKey = "Max log size";

std::string logPath(const std::string& path) { return path.empty() ? DefaultLogPath() : path; }

}  // namespace

bool openApplicationLog(const PreferencesController& preferences, const std::string& path) {
  const bool opened = OpenDefaultLog(logPath(path));
  const int level = preferences.getIntPreferenceNamed(kLogLevelKey, LogWarning);
  SetLogLevel(level < 0 ? 0u : static_cast<unsigned>(level));
  return opened;
}

void pruneApplicationLog(const PreferencesController& preferences, const std::string& path) {
  PruneLogFile(logPath(path),
               preferences.getIntPreferenceNamed(kMaxLogSizeKey, static_cast<int>(kDefaultMaxLogSize)));
}

}  // namespace melos
