// The play controls' button, slider and status line in every phase, and the
// times beside the slider at the edges of minutes and hours.

#include "operations/play_state.h"

#include <gtest/gtest.h>

namespace melos {
namespace {

TEST(PlayState, EachPhaseGivesItsButtonSliderAndStatus) {
  const struct {
    PlayPhase phase;
    int64_t duration;
    const char* error;
    bool pause, press, seek;
    const char* status;
  } rows[] = {
      {PlayPhase::NoTrack, 5000, "", false, false, false, ""},
      {PlayPhase::Stopped, 5000, "", false, true, false, ""},
      {PlayPhase::Loading, 5000, "", true, true, false, "Opening the file…"},
      {PlayPhase::Playing, 5000, "", true, true, true, ""},
      // A stream whose length is unknown cannot be sought.
      {PlayPhase::Playing, 0, "", true, true, false, ""},
      {PlayPhase::Paused, 5000, "", false, true, true, ""},
      {PlayPhase::Paused, 0, "", false, true, false, ""},
      {PlayPhase::Failed, 5000, "", false, true, false, "This file cannot be played."},
      {PlayPhase::Failed, 5000, "Resource error", false, true, false, "This file cannot be played: Resource error"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(static_cast<int>(row.phase));
    SCOPED_TRACE(row.duration);
    const PlayView view = playView(row.phase, row.duration, row.error);
    EXPECT_EQ(view.showsPause, row.pause);
    EXPECT_EQ(view.canPress, row.press);
    EXPECT_EQ(view.canSeek, row.seek);
    EXPECT_EQ(view.status, row.status);
  }
}

TEST(PlayState, SpacePlaysOnlyWhereItMeansNothingElse) {
  const struct {
    SpaceTaker focus;
    bool usable, toggles;
  } rows[] = {
      {SpaceTaker::Nothing, true, true},        {SpaceTaker::TextField, true, false},
      {SpaceTaker::PressControl, true, false},  {SpaceTaker::Nothing, false, false},
      {SpaceTaker::TextField, false, false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(static_cast<int>(row.focus));
    SCOPED_TRACE(row.usable);
    EXPECT_EQ(spaceTogglesPlay(row.focus, row.usable), row.toggles);
  }
}

TEST(PlayState, TimesKeepTheirWidthAcrossMinutesAndHours) {
  constexpr int64_t kHour = 3600 * 1000;
  const struct {
    int64_t ms, total;
    const char* text;
  } rows[] = {
      {0, 5000, "0:00"},          {999, 5000, "0:00"},           {1000, 5000, "0:01"},
      {59999, 120000, "0:59"},    {60000, 120000, "1:00"},       {-500, 5000, "0:00"},
      {599000, 600000, "9:59"},   {3599000, 3599000, "59:59"},   {0, kHour, "0:00:00"},
      {61000, kHour, "0:01:01"},  {kHour + 5000, kHour + 9000, "1:00:05"},
      // A position past a total that was estimated too short still reads whole.
      {kHour, 30000, "1:00:00"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.ms);
    EXPECT_EQ(playTimeText(row.ms, row.total), row.text);
  }
}

}  // namespace
}  // namespace melos
