#pragma once
// What the single-track editor's window holds, as its controls hold it: every
// field's text, the switches, the rating and the pictures. The window fills its
// controls from these values and writes every edit back into them; only a save
// copies them into the track, so copying between the tag versions, undoing and
// applying a default set never go through the tag's storage forms.

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/id3_tag.h"
#include "operations/field_checks.h"
#include "operations/file_name_fields.h"

namespace melos {

class PreferencesController;

// Every text field of the window, V1 first, then the V2 tabs in window order,
// then the twins on the user tab.
enum class EditorField : uint8_t {
  V1Track,
  V1Title,
  V1Artist,
  V1Album,
  V1Year,
  V1Comment,
  V1Genre,  // the name of a genre of the V1 list, or empty for none
  Track,
  Tracks,
  Title,
  Artist,
  Album,
  Year,
  Genre,
  Comment,
  Composer,
  OrigArtist,
  Copyright,
  Url,
  EncodedBy,
  Set,
  Sets,
  Conductor,
  Lyricist,
  Publisher,
  Orchestra,
  Content,
  Subtitle,
  Isrc,
  ReleaseTime,
  RecordTime,
  InitialKey,
  Bpm,
  ArtistUrl,
  PodcastId,
  PodcastFeed,
  PodcastDescription,
  UserPublisher,
  UserContent,
  UserSubtitle,
  UserIsrc,
  UserReleaseTime,
  UserRecordTime,
  UserPodcastId,
  UserPodcastFeed,
  UserPodcastDescription,
  Lyrics,
};

inline constexpr size_t kEditorFieldCount = static_cast<size_t>(EditorField::Lyrics) + 1;

enum class FieldKind : uint8_t { Line, MultiLine, Combo };
enum class EditorTab : uint8_t { V1, Standard, Extended, Podcast, User, Lyrics };

// One row of the window's field table.
struct EditorFieldInfo {
  EditorField field;
  std::string_view name;          // in undo texts and accessible names: "Title"
  std::string_view objectName;    // the control's object name
  std::string_view label;         // the label as shown, with its mnemonic; empty for none
  EditorTab tab;
  FieldKind kind;
  std::optional<CheckedField> check;
  std::optional<EditorField> twin;  // kept in step with this one
  std::string_view quickListKey;    // empty: no quick list
  std::string_view warningName;     // the warning's object name, for checked fields
};

const EditorFieldInfo& editorFieldInfo(EditorField field);
const std::array<EditorFieldInfo, kEditorFieldCount>& editorFields();
inline bool isV1(EditorField field) { return field <= EditorField::V1Genre; }

// The advisory of the tag: none, explicit, clean.
inline constexpr std::array<std::string_view, 3> kAdvisoryNames = {"None", "Explicit", "Clean"};

struct EditorValues {
  std::array<std::u16string, kEditorFieldCount> texts;
  bool v1Enabled = false;
  bool v2Enabled = false;
  bool podcast = false;
  bool compilation = false;
  uint8_t rating = 0;   // the rate of the POPM frame
  int32_t advisory = 0;
  // Shared between undo steps: only a picture edit makes a new list.
  std::shared_ptr<const PicDataArray> pictures = std::make_shared<PicDataArray>();

  std::u16string& operator[](EditorField field) { return texts[static_cast<size_t>(field)]; }
  const std::u16string& operator[](EditorField field) const { return texts[static_cast<size_t>(field)]; }
  bool operator==(const EditorValues& other) const;
};

// The text typed into a field, with what the field's rules make of it: the
// one-letter genre capitalised, the twin given the same text.
void setFieldText(EditorValues& values, EditorField field, std::u16string_view text);

// The warning tooltip of a checked field as its text now stands, or none.
std::optional<std::u16string> fieldWarningFor(const EditorValues& values, EditorField field);

// initTagWindow: every value from the track.
EditorValues valuesFromTrack(const ID3Tag& track);

// updateV1TagData and updateV2TagData: the values into the track. V1 texts and
// the V2 fields kept as Latin-1 keep every Latin-1 character and turn any
// other into "?"; other V2 texts are stored as UTF-16 when Unicode is allowed
// and the text needs it.
void updateV1TagData(const EditorValues& values, ID3Tag& track);
void updateV2TagData(const EditorValues& values, ID3Tag& track, bool allowUnicode);

// Copy V1 to V2: title, artist, album, year, comment and track from V1; no
// total of tracks; no lyrics; the V2 genre is the V1 genre's name. Every other
// V2 value stays. The V2 tag is switched on.
void copyV1ToV2(EditorValues& values);
// Copy V2 to V1: title, artist, album, comment, year and track from V2 as
// Latin-1 (not cut: the V1 writer does that); the V1 genre is the one of
// `v1Genres` named exactly as the V2 genre, else the standard genre of that
// name in any case, else "Other". The V1 tag is switched on.
void copyV2ToV1(EditorValues& values, const std::vector<std::string>& v1Genres);

// What the file name gave into the fields of one tag version (the buttons
// "Use file name for V1 title" and "... V2 title"); the others keep theirs.
void useFileName(EditorValues& values, bool v1, const FileNameUpdate& update);

// Default set `index` over the values: a field the set does not supply keeps
// its text; V1 fields only with "Apply defaults to V1 tags". The picture goes
// in at `pictureIndex` unless the set replaces the pictures. True when the
// values now have a picture to show.
bool applyDefaultTagData(EditorValues& values, int index, const PreferencesController& prefs,
                         size_t pictureIndex);

}  // namespace melos
