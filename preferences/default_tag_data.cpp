#include "preferences/default_tag_data.h"

#include <algorithm>
#include <optional>
#include <string>

#include "engine/text.h"
#include "preferences/preferences_controller.h"
#include "preferences/value_conversion.h"

namespace melos {

namespace {

// The defaults are stored as UTF-8; the V1 tag holds Latin-1 of fixed widths.
std::string latin1Of(const std::string& utf8) { return u16ToLatin1(utf8ToU16(utf8)); }

std::string cut(std::string text, size_t width) {
  if (text.size() > width) text.resize(width);
  return text;
}

UnicodeText v2Text(const std::string& utf8, bool allowUnicode) {
  return allowUnicode ? UnicodeText::fromUtf8(utf8) : UnicodeText::latin1(latin1Of(utf8));
}

uint8_t v1TrackOf(const std::string& text) { return v1TrackFor(intValueOfText(text)); }

uint16_t v2NumberOf(const std::string& text) {
  if (text.empty()) return kUnsetNumber;
  const int value = intValueOfText(text);
  if (value < 0 || value > kUnsetNumber) return kUnsetNumber;
  return static_cast<uint16_t>(value);
}

template <typename Field, typename Convert>
void setIfSupplied(Field& field, const std::optional<std::string>& value, Convert convert) {
  if (value) field = convert(*value);
}

void clearAllFields(ID3Tag& track) {
  const bool v1Enabled = track.v1.enabled;
  const bool v2Enabled = track.tagData.enabled;
  track.v1.clear();
  track.tagData.clear();
  track.v1.enabled = v1Enabled;
  track.tagData.enabled = v2Enabled;
}

void applyV1(V1Tag& v1, const DefaultTagValues& values) {
  auto text = [](size_t width) {
    return [width](const std::string& value) { return cut(latin1Of(value), width); };
  };
  setIfSupplied(v1.title, values.title, text(kV1TextField));
  setIfSupplied(v1.album, values.album, text(kV1TextField));
  setIfSupplied(v1.artist, values.artist, text(kV1TextField));
  setIfSupplied(v1.comment, values.comment, text(kV1CommentField));
  setIfSupplied(v1.year, values.year, text(kV1YearField));
  setIfSupplied(v1.track, values.track, v1TrackOf);
}

void applyV2(TagData& tag, const DefaultTagValues& values, bool unicode) {
  auto text = [unicode](const std::string& value) { return v2Text(value, unicode); };
  auto latin1 = [](const std::string& value) { return latin1Of(value); };
  auto year = [](const std::string& value) { return cut(latin1Of(value), kV2YearField); };

  setIfSupplied(tag.title, values.title, text);
  setIfSupplied(tag.album, values.album, text);
  setIfSupplied(tag.artist, values.artist, text);
  setIfSupplied(tag.comment, values.comment, text);
  setIfSupplied(tag.year, values.year, year);
  setIfSupplied(tag.composer, values.composer, text);
  setIfSupplied(tag.origArtist, values.origArtist, text);
  setIfSupplied(tag.copyright, values.copyright, text);
  setIfSupplied(tag.url, values.url, latin1);
  setIfSupplied(tag.encodedBy, values.encodedBy, latin1);
  setIfSupplied(tag.track, values.track, v2NumberOf);
  setIfSupplied(tag.tracks, values.tracks, v2NumberOf);
  setIfSupplied(tag.genre, values.genre, text);
}

}  // namespace

uint8_t v1TrackFor(int number) noexcept {
  const auto low = static_cast<uint8_t>(number);
  return low == 0 ? kUnsetV1 : low;
}

DefaultTagValues defaultTagValues(int index, const PreferencesController& prefs) {
  DefaultTagValues values;
  values.title = prefs.getDefaultT2Title(index);
  values.album = prefs.getDefaultT2Album(index);
  values.artist = prefs.getDefaultT2Artist(index);
  values.comment = prefs.getDefaultT2Comment(index);
  values.year = prefs.getDefaultT2Year(index);
  values.composer = prefs.getDefaultT2Composer(index);
  values.origArtist = prefs.getDefaultT2OriginalArtist(index);
  values.copyright = prefs.getDefaultT2Copyright(index);
  values.url = prefs.getDefaultT2URL(index);
  values.encodedBy = prefs.getDefaultT2EncodedBy(index);
  values.track = prefs.getDefaultT2Track(index);
  values.tracks = prefs.getDefaultT2OfTracks(index);
  values.genre = prefs.getDefaultT2Genre(index);
  if (prefs.useDefaultT2Compilation(index)) values.compilation = prefs.getDefaultT2Compilation(index);
  values.picture = prefs.getDefaultPicture(index);
  return values;
}

DefaultsApplied setDefaultTagData(ID3Tag& track, int index, const PreferencesController& prefs,
                                  size_t pictureIndex) {
  DefaultsApplied applied;
  DefaultTagValues values = defaultTagValues(index, prefs);
  if (prefs.removeAllData()) clearAllFields(track);
  if (prefs.applyDefaultsToV1()) applyV1(track.v1, values);
  applyV2(track.tagData, values, prefs.allowUnicode());

  if (values.compilation) track.tagData.compilation = *values.compilation;

  if (std::optional<DefaultPicture>& picture = values.picture) {
    PicDataArray& pictures = track.tagData.picdata;
    if (prefs.isReplaceWithDefaultPictureSet()) {
      // Replacing with a set whose picture file holds no image removes them all.
      pictures.clear();
      if (picture->image) pictures.push_back(std::move(*picture->image));
    } else if (picture->image) {
      const size_t position = std::min(pictureIndex, pictures.size());
      pictures.insert(pictures.begin() + static_cast<std::ptrdiff_t>(position),
                      std::move(*picture->image));
    }
    applied.showPicture = !pictures.empty() && prefs.isShowPictureSet();
  }

  track.v1Changed = true;
  track.v2Changed = true;
  return applied;
}

}  // namespace melos
