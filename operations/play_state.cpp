#include "operations/play_state.h"

#include "engine/id3_tag.h"

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
  return durationDisplay(ms > 0 ? static_cast<uint64_t>(ms / 1000) : 0, totalMs >= 3600 * 1000);
}

}  // namespace melos
