#pragma once
// What the editor's play controls show and allow, decided without the player
// or its widgets: the button, whether the slider seeks, the line that says a
// file cannot be played, and the times beside the slider.

#include <cstdint>
#include <string>
#include <string_view>

namespace melos {

// Where playback of the shown track is. Stopped also covers a track whose
// player is not made yet: it is made on the first press of play.
enum class PlayPhase { NoTrack, Stopped, Loading, Playing, Paused, Failed };

struct PlayView {
  bool showsPause = false;  // the button pauses rather than plays
  bool canPress = false;    // the button (and Space) do something
  bool canSeek = false;     // the position slider moves playback
  std::string status;       // below the controls; empty when all is well
};

PlayView playView(PlayPhase phase, int64_t durationMs, std::string_view error);

// What has the keyboard focus when Space is pressed in the editor.
enum class SpaceTaker {
  Nothing,       // no control, or one that does nothing with Space (a slider, the stars)
  TextField,     // Space is a character there
  PressControl,  // a button, a check box, a list or a menu button: Space presses or picks
};
// Space plays or pauses only where it means nothing else, so that typing a
// title and pressing a button from the keyboard work as everywhere else.
bool spaceTogglesPlay(SpaceTaker focus, bool controlsUsable) noexcept;

// The elapsed time as m:ss, or h:mm:ss when the whole track is an hour or
// longer, so that the elapsed and total times keep their width as they count.
// Anything below zero reads as zero.
std::string playTimeText(int64_t ms, int64_t totalMs);

}  // namespace melos
