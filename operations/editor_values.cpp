#include "operations/editor_values.h"

#include <algorithm>

#include "engine/genres.h"
#include "operations/group_model.h"  // numberField, numberText
#include "operations/tag_copy.h"
#include "preferences/default_tag_data.h"
#include "preferences/value_conversion.h"

namespace melos {
namespace {

using enum EditorField;
using K = FieldKind;
using T = EditorTab;
using C = CheckedField;

constexpr std::nullopt_t no = std::nullopt;

// The one table of the window: the controls are made, labelled, checked,
// twinned and given their quick lists from it. The V1 labels have no
// mnemonics: their letters belong to the V2 fields above them.
const std::array<EditorFieldInfo, kEditorFieldCount> kFields = {{
    {V1Track, "V1 track", "mT1Track", "Track:", T::V1, K::Line, C::V1Track, no, "", "mT1TrackWarningIcon"},
    {V1Title, "V1 title", "mT1Title", "Title:", T::V1, K::Line, C::V1Title, no, "", "mT1TitleWarningIcon"},
    {V1Artist, "V1 artist", "mT1Artist", "Artist:", T::V1, K::Line, C::V1Artist, no, "V1 artist",
     "mT1ArtistWarningIcon"},
    {V1Album, "V1 album", "mT1Album", "Album:", T::V1, K::Line, C::V1Album, no, "V1 album", "mT1AlbumWarningIcon"},
    {V1Year, "V1 year", "mT1Year", "Year:", T::V1, K::Line, no, no, "V1 year", ""},
    {V1Comment, "V1 comment", "mT1Comment", "Comment:", T::V1, K::Line, C::V1Comment, no, "V1 comment",
     "mT1CommentWarningIcon"},
    {V1Genre, "V1 genre", "mT1Genre", "Genre:", T::V1, K::Combo, no, no, "", ""},
    {Track, "Track", "mT2Track", "Trac&k:", T::Standard, K::Line, no, no, "", ""},
    {Tracks, "Tracks", "mT2Tracks", "of", T::Standard, K::Line, no, no, "", ""},
    {Title, "Title", "mT2Title", "T&itle:", T::Standard, K::Line, no, no, "", ""},
    {Artist, "Artist", "mT2Artist", "&Artist:", T::Standard, K::Line, no, no, "V2 artist", ""},
    {Album, "Album", "mT2Album", "Al&bum:", T::Standard, K::Line, no, no, "V2 album", ""},
    {Year, "Year", "mT2Year", "&Year:", T::Standard, K::Line, no, no, "V2 year", ""},
    {Genre, "Genre", "mT2Genre", "&Genre:", T::Standard, K::Combo, no, no, "V2 genre", ""},
    {Comment, "Comment", "mT2Comment", "Co&mment:", T::Standard, K::MultiLine, no, no, "V2 comment", ""},
    {Composer, "Composer", "mT2Composer", "Com&poser:", T::Standard, K::Line, no, no, "V2 composer", ""},
    {OrigArtist, "Orig. Artist", "mT2OrigArtist", "&Orig. Artist:", T::Standard, K::Line, no, no,
     "V2 original artist", ""},
    {Copyright, "Copyright", "mT2Copyright", "&Copyright:", T::Standard, K::Line, no, no, "V2 copyright", ""},
    {Url, "URL", "mT2URL", "&URL:", T::Standard, K::Line, no, no, "V2 URL", ""},
    {EncodedBy, "Encoded by", "mT2EncodedBy", "E&ncoded by:", T::Standard, K::Line, no, no, "V2 encoded by", ""},
    {Set, "Part of set", "mT2Set", "Part of &set:", T::Standard, K::Line, no, no, "", ""},
    {Sets, "Sets", "mT2Sets", "of", T::Standard, K::Line, no, no, "", ""},
    {Conductor, "Conductor", "mT2Conductor", "&Conductor:", T::Extended, K::Line, no, no, "V2 conductor", ""},
    {Lyricist, "Lyricist", "mT2Lyricist", "&Lyricist:", T::Extended, K::Line, no, no, "V2 lyricist", ""},
    {Publisher, "Publisher", "mT2Publisher", "&Publisher:", T::Extended, K::Line, no, UserPublisher,
     "V2 publisher", ""},
    {Orchestra, "Orchestra", "mT2Orchestra", "&Orchestra:", T::Extended, K::Line, no, no,
     "V2 orchestra (album artist in iTunes)", ""},
    {Content, "Content", "mT2Content", "Co&ntent:", T::Extended, K::Line, no, UserContent, "V2 content", ""},
    {Subtitle, "Subtitle", "mT2Subtitle", "&Subtitle:", T::Extended, K::MultiLine, no, UserSubtitle, "V2 subtitle",
     ""},
    {Isrc, "ISRC", "mT2ISRC", "&ISRC:", T::Extended, K::Line, C::Isrc, UserIsrc, "V2 ISRC", "mISRCTimeWarningIcon"},
    {ReleaseTime, "Released", "mT2ReleaseTime", "&Released:", T::Extended, K::Line, C::ReleaseTime,
     UserReleaseTime, "V2 release time", "mReleaseTimeWarningIcon"},
    {RecordTime, "Recorded", "mT2RecordTime", "Recor&ded:", T::Extended, K::Line, C::RecordTime, UserRecordTime,
     "V2 record time", "mRecordTimeWarningIcon"},
    {InitialKey, "Initial key", "mT2InitialKey", "Initial &key:", T::Extended, K::Line, C::InitialKey, no,
     "V2 initial key", "mInitialKeyWarningIcon"},
    {Bpm, "BPM", "mT2BPM", "BP&M:", T::Extended, K::Line, no, no, "V2 BPM", ""},
    {ArtistUrl, "Artist URL", "mT2ArtistURL", "Artist &URL:", T::Extended, K::Line, no, no, "Artist URL", ""},
    {PodcastId, "Identifier", "mT2PodcastID", "&Identifier:", T::Podcast, K::Line, C::PodcastId, UserPodcastId,
     "Podcast identifier", "mPodcastIDWarningIcon"},
    {PodcastFeed, "Feed", "mT2PodcastFeed", "Fee&d:", T::Podcast, K::Line, no, UserPodcastFeed, "Podcast feed", ""},
    {PodcastDescription, "Description", "mT2PodcastDesc", "De&scription:", T::Podcast, K::MultiLine, no,
     UserPodcastDescription, "Podcast description", ""},
    {UserPublisher, "Publisher", "mUserPublisher", "&Publisher:", T::User, K::Line, no, Publisher, "V2 publisher",
     ""},
    {UserContent, "Content", "mUserContent", "Co&ntent:", T::User, K::Line, no, Content, "V2 content", ""},
    {UserSubtitle, "Subtitle", "mUserSubtitle", "&Subtitle:", T::User, K::MultiLine, no, Subtitle, "V2 subtitle",
     ""},
    {UserIsrc, "ISRC", "mUserISRC", "&ISRC:", T::User, K::Line, C::Isrc, Isrc, "V2 ISRC",
     "mUserISRCTimeWarningIcon"},
    {UserReleaseTime, "Released", "mUserReleaseTime", "&Released:", T::User, K::Line, C::ReleaseTime, ReleaseTime,
     "V2 release time", "mUserReleaseTimeWarningIcon"},
    {UserRecordTime, "Recorded", "mUserRecordTime", "Recor&ded:", T::User, K::Line, C::RecordTime, RecordTime,
     "V2 record time", "mUserRecordTimeWarningIcon"},
    {UserPodcastId, "Identifier", "mUserPodcastID", "&Identifier:", T::User, K::Line, C::PodcastId, PodcastId,
     "Podcast identifier", "mUserPodcastIDWarningIcon"},
    {UserPodcastFeed, "Feed", "mUserPodcastFeed", "Fee&d:", T::User, K::Line, no, PodcastFeed, "Podcast feed", ""},
    {UserPodcastDescription, "Description", "mUserPodcastDesc", "De&scription:", T::User, K::MultiLine, no,
     PodcastDescription, "Podcast description", ""},
    {Lyrics, "Lyrics", "mT2Lyrics", "", T::Lyrics, K::MultiLine, no, no, "", ""},
}};

// The V2 texts that may be stored as UTF-16, and those kept as Latin-1.
struct TextField {
  EditorField field;
  UnicodeText TagData::*tag;
};
constexpr TextField kTextFields[] = {
    {Title, &TagData::title},         {Artist, &TagData::artist},         {Album, &TagData::album},
    {Genre, &TagData::genre},         {Comment, &TagData::comment},       {Composer, &TagData::composer},
    {OrigArtist, &TagData::origArtist}, {Copyright, &TagData::copyright}, {Conductor, &TagData::conductor},
    {Lyricist, &TagData::lyricist},   {Publisher, &TagData::publisher},   {Orchestra, &TagData::orchestra},
    {Content, &TagData::content},     {Subtitle, &TagData::subtitle},     {PodcastId, &TagData::podcastid},
    {PodcastDescription, &TagData::podcastdesc}, {Lyrics, &TagData::lyrics},
};
struct LatinField {
  EditorField field;
  std::string TagData::*tag;
};
constexpr LatinField kLatinFields[] = {
    {Year, &TagData::year},         {Url, &TagData::url},                 {EncodedBy, &TagData::encodedBy},
    {ArtistUrl, &TagData::artisturl}, {Isrc, &TagData::isrc},             {ReleaseTime, &TagData::releasetime},
    {RecordTime, &TagData::recordtime}, {Bpm, &TagData::bpm},             {InitialKey, &TagData::initialkey},
    {PodcastFeed, &TagData::podcastfeed},
};

UnicodeText editorText(std::u16string_view text, bool allowUnicode) {
  return allowUnicode ? storedText(text) : UnicodeText::latin1(latin1Field(text));
}

void setWithTwin(EditorValues& values, EditorField field, std::u16string_view text) {
  values[field] = text;
  if (const std::optional<EditorField> twin = editorFieldInfo(field).twin) values[*twin] = text;
}

}  // namespace

const EditorFieldInfo& editorFieldInfo(EditorField field) { return kFields[static_cast<size_t>(field)]; }
const std::array<EditorFieldInfo, kEditorFieldCount>& editorFields() { return kFields; }

bool EditorValues::operator==(const EditorValues& other) const {
  return texts == other.texts && v1Enabled == other.v1Enabled && v2Enabled == other.v2Enabled &&
         podcast == other.podcast && compilation == other.compilation && rating == other.rating &&
         advisory == other.advisory && (pictures == other.pictures || *pictures == *other.pictures);
}

void setFieldText(EditorValues& values, EditorField field, std::u16string_view text) {
  setWithTwin(values, field, field == Genre ? genreEntry(text) : std::u16string(text));
}

std::optional<std::u16string> fieldWarningFor(const EditorValues& values, EditorField field) {
  const std::optional<CheckedField> check = editorFieldInfo(field).check;
  if (!check) return std::nullopt;
  return fieldWarning(*check, values[field], values.podcast);
}

EditorValues valuesFromTrack(const ID3Tag& track) {
  EditorValues v;
  const V1Tag& v1 = track.v1;
  v.v1Enabled = v1.enabled;
  v[V1Title] = latin1ToU16(v1.title);
  v[V1Artist] = latin1ToU16(v1.artist);
  v[V1Album] = latin1ToU16(v1.album);
  v[V1Year] = latin1ToU16(v1.year);
  v[V1Comment] = latin1ToU16(v1.comment);
  v[V1Track] = v1.track == 0 ? std::u16string() : numberText(v1.track, kUnsetV1);
  v[V1Genre] = v1.genre == kUnsetV1 ? std::u16string() : latin1ToU16(genreName(v1.genre));

  const TagData& d = track.tagData;
  v.v2Enabled = d.enabled;
  for (const TextField& f : kTextFields) v[f.field] = (d.*f.tag).toU16();
  for (const LatinField& f : kLatinFields) v[f.field] = latin1ToU16(d.*f.tag);
  v[ReleaseTime] = latin1ToU16(timeText(d.releasetime));
  v[RecordTime] = latin1ToU16(timeText(d.recordtime));
  v[Track] = numberText(d.track);
  v[Tracks] = numberText(d.tracks);
  v[Set] = numberText(d.set);
  v[Sets] = numberText(d.sets);
  for (const EditorFieldInfo& info : kFields)
    if (info.tab == EditorTab::User && info.twin) v[info.field] = v[*info.twin];
  v.podcast = d.podcast;
  v.compilation = d.compilation;
  v.rating = d.popularity.rate;
  v.advisory = d.advisory;
  v.pictures = std::make_shared<PicDataArray>(d.picdata);
  return v;
}

void updateV1TagData(const EditorValues& v, ID3Tag& track) {
  V1Tag& v1 = track.v1;
  v1.enabled = v.v1Enabled;
  v1.title = latin1Field(v[V1Title]);
  v1.artist = latin1Field(v[V1Artist]);
  v1.album = latin1Field(v[V1Album]);
  v1.year = v1Field(v[V1Year], kV1YearField);
  v1.comment = latin1Field(v[V1Comment]);
  v1.track = v[V1Track].empty() ? kUnsetV1 : v1TrackFor(intValueOfText(u16ToUtf8(v[V1Track])));
  v1.genre = v[V1Genre].empty() ? kUnsetV1 : v1GenreFor(v[V1Genre]);
}

void updateV2TagData(const EditorValues& v, ID3Tag& track, bool allowUnicode) {
  TagData& d = track.tagData;
  d.enabled = v.v2Enabled;
  for (const TextField& f : kTextFields) {
    // An unchanged text keeps its stored form, so a save changes nothing the
    // user did not touch (a Latin-1 text stays Latin-1, UTF-16 stays UTF-16).
    if ((d.*f.tag).toU16() != v[f.field]) d.*f.tag = editorText(v[f.field], allowUnicode);
  }
  for (const LatinField& f : kLatinFields)
    if (f.field != ReleaseTime && f.field != RecordTime) d.*f.tag = latin1Field(v[f.field]);
  // The window shows a time with a blank where the tag may hold a "T".
  for (const LatinField& f : {LatinField{ReleaseTime, &TagData::releasetime}, {RecordTime, &TagData::recordtime}})
    if (latin1ToU16(timeText(d.*f.tag)) != v[f.field]) d.*f.tag = latin1Field(v[f.field]);
  d.year = v1Field(v[Year], kV2YearField);
  d.track = numberField(v[Track]);
  d.tracks = numberField(v[Tracks]);
  d.set = numberField(v[Set]);
  d.sets = numberField(v[Sets]);
  d.podcast = v.podcast;
  d.compilation = v.compilation;
  d.popularity.rate = v.rating;
  d.advisory = v.advisory;
  if (*v.pictures != d.picdata) d.picdata = *v.pictures;
}

void copyV1ToV2(EditorValues& v) {
  v.v2Enabled = true;
  v[Title] = v[V1Title];
  v[Artist] = v[V1Artist];
  v[Album] = v[V1Album];
  v[Year] = v[V1Year];
  v[Comment] = v[V1Comment];
  v[Track] = v[V1Track];
  v[Tracks].clear();
  v[Lyrics].clear();
  v[Genre] = v[V1Genre];
}

void copyV2ToV1(EditorValues& v, const std::vector<std::string>& v1Genres) {
  v.v1Enabled = true;
  using Pairs = std::initializer_list<std::pair<EditorField, EditorField>>;
  for (auto [to, from] : Pairs{{V1Title, Title}, {V1Artist, Artist}, {V1Album, Album}, {V1Comment, Comment},
                               {V1Year, Year}, {V1Track, Track}})
    v[to] = latin1ToU16(latin1Field(v[from]));
  const std::string genre = u16ToUtf8(v[Genre]);
  const bool listed = std::find(v1Genres.begin(), v1Genres.end(), genre) != v1Genres.end();
  // A name in another case or spelling of the standard list still finds its
  // genre; anything else is "Other".
  const int named = genreIndex(u16ToLatin1(v[Genre]), true);
  v[V1Genre] = listed ? v[Genre] : latin1ToU16(genreName(static_cast<unsigned>(named)));
}

void useFileName(EditorValues& v, bool v1, const FileNameUpdate& update) {
  const auto put = [&v](EditorField field, const std::optional<std::u16string>& text) {
    if (text) v[field] = *text;
  };
  put(v1 ? V1Title : Title, update.title);
  put(v1 ? V1Artist : Artist, update.artist);
  put(v1 ? V1Album : Album, update.album);
  put(v1 ? V1Year : Year, update.year);
  put(v1 ? V1Track : Track, update.track);
}

bool applyDefaultTagData(EditorValues& v, int index, const PreferencesController& prefs, size_t pictureIndex) {
  const DefaultTagValues d = defaultTagValues(index, prefs);
  if (prefs.removeAllData()) {
    const EditorValues empty;
    const bool v1 = v.v1Enabled;
    const bool v2 = v.v2Enabled;
    v = empty;
    v.v1Enabled = v1;
    v.v2Enabled = v2;
  }
  const auto put = [&v](EditorField field, const std::optional<std::string>& value) {
    if (value) setWithTwin(v, field, utf8ToU16(*value));
  };
  if (prefs.applyDefaultsToV1()) {
    put(V1Title, d.title);
    put(V1Album, d.album);
    put(V1Artist, d.artist);
    put(V1Comment, d.comment);
    put(V1Year, d.year);
    if (d.track) v[V1Track] = numberText(v1TrackFor(intValueOfText(*d.track)), 0);
  }
  using Defaults = std::initializer_list<std::pair<EditorField, const std::optional<std::string>*>>;
  for (auto [field, value] : Defaults{{Title, &d.title}, {Album, &d.album}, {Artist, &d.artist},
                              {Comment, &d.comment}, {Year, &d.year}, {Composer, &d.composer},
                              {OrigArtist, &d.origArtist}, {Copyright, &d.copyright}, {Url, &d.url},
                              {EncodedBy, &d.encodedBy}, {Track, &d.track}, {Tracks, &d.tracks}, {Genre, &d.genre}})
    put(field, *value);
  if (d.compilation) v.compilation = *d.compilation;
  if (d.picture) {
    auto pictures = std::make_shared<PicDataArray>(*v.pictures);
    if (prefs.isReplaceWithDefaultPictureSet()) {
      pictures->clear();
      if (d.picture->image) pictures->push_back(*d.picture->image);
    } else if (d.picture->image) {
      const size_t position = std::min(pictureIndex, pictures->size());
      pictures->insert(pictures->begin() + static_cast<std::ptrdiff_t>(position), *d.picture->image);
    }
    v.pictures = std::move(pictures);
  }
  return d.picture && !v.pictures->empty() && prefs.isShowPictureSet();
}

}  // namespace melos
