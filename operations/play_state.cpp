#include "operations/play_state.h"

#include <cstdio>

namespace melos {

PlayView playView(PlayPhase phase, int64_t durationMs, std::string_view error) {
  PlayView view;
  switch (phase) {
    case PlayPhase::NoTrack: break;
    case PlayPhase::Stopped: view.canPress = true; break;
    // A second press while the file opens takes the play back.
    case PlayPhase::Loading:
      view.showsPause = true;
      view.canPress = true;
      view.status = "Opening the file…";
      break;
    case PlayPhase::Playing:
      view.showsPause = true;
      view.canPress = true;
      view.canSeek = durationMs > 0;
      break;
    case PlayPhase::Paused:
      view.canPress = true;
      view.canSeek = durationMs > 0;
      break;
    // The file may play once it is back (a disk mounted again): play stays.
    case PlayPhase::Failed:
      view.canPress = true;
      view.status = error.empty() ? std::string("This file cannot be played.")
                                  : "This file cannot be played: " + std::string(error);
      break;
  }
  return view;
}

bool spaceTogglesPlay(SpaceTaker focus, bool controlsUsable) noexcept {
  return controlsUsable && focus == SpaceTaker::Nothing;
}

std::string playTimeText(int64_t ms, int64_t totalMs) {
  const int64_t seconds = ms > 0 ? ms / 1000 : 0;
  const int64_t h = seconds / 3600;
  const int64_t m = (seconds / 60) % 60;
  const int64_t s = seconds % 60;
  char text[48];
  if (totalMs >= 3600 * 1000 || h > 0)
    std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", static_cast<long long>(h), static_cast<long long>(m),
                  static_cast<long long>(s));
  else
    std::snprintf(text, sizeof text, "%lld:%02lld", static_cast<long long>(m), static_cast<long long>(s));
  return text;
}

}  // namespace melos
