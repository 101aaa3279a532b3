#include "operations/name_preview.h"

#include "operations/naming_preferences.h"
#include "operations/rename_track.h"
#include "operations/track_name.h"
#include "preferences/preferences_controller.h"

namespace melos {

std::unique_ptr<ID3Tag> samplePreviewTrack() {
  auto track = std::make_unique<ID3Tag>();
  track->setPath("/music/Artist - 01 A title.mp3");
  track->isMp3File = true;
  TagData& tag = track->tagData;
  tag.enabled = true;
  tag.title = UnicodeText::fromUtf8("A title");
  tag.artist = UnicodeText::fromUtf8("Artist");
  tag.album = UnicodeText::fromUtf8("Album");
  tag.year = "2024";
  tag.track = 1;
  tag.tracks = 12;
  return track;
}

std::string toFileNamePreview(const ID3Tag& track, const PreferencesController& preferences, std::time_t now) {
  const std::optional<NamingTexts> texts = namingTexts(track, preferences.isUTF8TrackNameSet());
  if (!texts) return "(no name)";
  const std::string format = toFileNameFormat(preferences);
  const TrackName target = format.empty() ? standardTrackName(track, *texts, preferences.isAddTrackNumberSet(),
                                                              preferences.isCreateFolderSet())
                                          : customTrackName(track, *texts, format);
  if (target.name.empty()) return "(no name)";
  std::string shown;
  if (target.subfolder && !target.subfolder->empty()) shown = *target.subfolder + "/";
  return shown + renamedFileName(track.path(), target.name, target.trackNumber,
                                 preferences.isDateTracksSet() ? std::optional(now) : std::nullopt);
}

std::string fromFileNamePreview(const ID3Tag& track, const PreferencesController& preferences) {
  const FileNameFields fields = fileNameFieldsByPreferences(track.path(), preferences);
  std::string shown;
  const auto add = [&shown](const char* label, const std::string& value) {
    if (!shown.empty()) shown += ", ";
    shown += label;
    shown += ": ";
    shown += value;
  };
  if (fields.title) add("Title", *fields.title);
  if (fields.artist) add("Artist", *fields.artist);
  if (fields.album) add("Album", *fields.album);
  if (fields.year) add("Year", *fields.year);
  if (fields.track >= 0) add("Track", std::to_string(fields.track));
  return shown.empty() ? "(nothing found)" : shown;
}

}  // namespace melos
