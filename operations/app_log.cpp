#include "operations/app_log.h"

#include "engine/log.h"
#include "preferences/preference_keys.h"
#include "preferences/preferences_controller.h"

namespace melos {
namespace {

std::string logPath(const std::string& path) { return path.empty() ? DefaultLogPath() : path; }

}  // namespace

bool openApplicationLog(const PreferencesController& preferences, const std::string& path) {
  const bool opened = OpenDefaultLog(logPath(path));
  const int level = preferences.getIntPreferenceNamed(prefs::kLogLevel.key, prefs::kLogLevel.defaultValue);
  SetLogLevel(level < 0 ? 0u : static_cast<unsigned>(level));
  return opened;
}

void pruneApplicationLog(const PreferencesController& preferences, const std::string& path) {
  PruneLogFile(logPath(path), preferences.getIntPreferenceNamed(prefs::kMaxLogSize.key, prefs::kMaxLogSize.defaultValue));
}

}  // namespace melos
