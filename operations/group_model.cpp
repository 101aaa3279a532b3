#include "operations/group_model.h"

#include "engine/genres.h"
#include "preferences/default_tag_data.h"
#include "preferences/value_conversion.h"

#include <algorithm>
#include <cstdio>

#include "operations/questions.h"
#include "operations/tag_copy.h"

namespace melos {
namespace {

constexpr std::array<std::string_view, kGroupFieldCount> kLabels = {
    "Change V1 title",
    "Change V1 artist",
    "Change V1 album",
    "Change V1 year",
    "Change V1 comment",
    "Change V1 genre",
    "Change V2 title",
    "Change V2 artist",
    "Change V2 album",
    "Change V2 year",
    "Change V2 genre",
    "Change V2 comment",
    "Change V2 composer",
    "Change V2 original artist",
    "Change V2 copyright",
    "Change V2 URL",
    "Change V2 encoded by",
    "Change V2 tracks",
    "Change V2 set and sets (disc number in iTunes)",
    "Change V2 conductor",
    "Change V2 lyricist",
    "Change V2 publisher",
    "Change V2 orchestra (album artist in iTunes)",
    "Change V2 content",
    "Change V2 subtitle",
    "Change V2 compilation",
    "Change V2 picture",
    "Change artist URL",
    "Change ISRC",
    "Change release time",
    "Change recorded time",
    "Change BPM",
    "Change initial key",
    "Change podcast enable",
    "Change podcast identifier",
    "Change podcast feed",
    "Change podcast description",
};

constexpr size_t kIsrcPrefix = 7;
constexpr size_t kIsrcLength = 12;

}  // namespace

std::string_view changeBoxLabel(GroupField field) noexcept { return kLabels[static_cast<size_t>(field)]; }

bool isV1Field(GroupField field) noexcept { return field <= GroupField::V1Genre; }

std::u16string numberText(unsigned number, unsigned unset) {
  return number == unset ? std::u16string() : latin1ToU16(std::to_string(number));
}

uint16_t numberField(std::u16string_view text) {
  if (text.empty()) return kUnsetNumber;
  const int value = intValueOfText(u16ToUtf8(text));
  if (value <= 0 || value >= kUnsetNumber) return kUnsetNumber;
  return static_cast<uint16_t>(value);
}

std::string incrementedIsrc(std::u16string_view isrc, size_t index) {
  const std::string typed = latin1Field(isrc);
  if (isrc.size() <= kIsrcPrefix) return typed;
  const std::optional<int> number = leadingInteger(u16ToUtf8(isrc.substr(kIsrcPrefix)));
  if (!number) return typed;
  char digits[32];
  std::snprintf(digits, sizeof digits, "%05lld", *number + static_cast<long long>(index));
  std::string result = typed.substr(0, kIsrcPrefix) + digits;
  if (result.size() > kIsrcLength) result.resize(kIsrcLength);
  return result;
}

GroupModel::GroupModel(Tracks tracks) {
  for (auto& track : tracks) addTrack(std::move(track));
}

void GroupModel::addTrack(std::unique_ptr<ID3Tag> track) {
  totalSize_ += track->fileSize;
  totalLength_ += track->duration;
  if (!track->tagData.picdata.empty()) imagesExist_ = true;
  tracks_.push_back(std::move(track));
}

std::unique_ptr<ID3Tag> GroupModel::removeTrack(size_t index) {
  if (index >= tracks_.size()) return nullptr;
  std::unique_ptr<ID3Tag> track = std::move(tracks_[index]);
  tracks_.erase(tracks_.begin() + static_cast<std::ptrdiff_t>(index));
  totalSize_ -= std::min(totalSize_, track->fileSize);
  totalLength_ -= std::min(totalLength_, track->duration);
  return track;
}

void GroupModel::resetCheckBoxes() noexcept {
  boxes_.fill(false);
  copyV2Details = false;
  fileName = false;
  isrcIncrement = false;
  replacePictures = false;
}

namespace {

// The V2 texts the window edits: the one list that both the copy into a track
// and the filling from a tag walk.
struct TextField {
  GroupField field;
  UnicodeText TagData::*tag;
  std::u16string GroupValues::*value;
};
constexpr TextField kTextFields[] = {
    {GroupField::V2Title, &TagData::title, &GroupValues::title},
    {GroupField::V2Artist, &TagData::artist, &GroupValues::artist},
    {GroupField::V2Album, &TagData::album, &GroupValues::album},
    {GroupField::V2Genre, &TagData::genre, &GroupValues::genre},
    {GroupField::V2Comment, &TagData::comment, &GroupValues::comment},
    {GroupField::V2Composer, &TagData::composer, &GroupValues::composer},
    {GroupField::V2OrigArtist, &TagData::origArtist, &GroupValues::origArtist},
    {GroupField::V2Copyright, &TagData::copyright, &GroupValues::copyright},
    {GroupField::V2Conductor, &TagData::conductor, &GroupValues::conductor},
    {GroupField::V2Lyricist, &TagData::lyricist, &GroupValues::lyricist},
    {GroupField::V2Publisher, &TagData::publisher, &GroupValues::publisher},
    {GroupField::V2Orchestra, &TagData::orchestra, &GroupValues::orchestra},
    {GroupField::V2Content, &TagData::content, &GroupValues::content},
    {GroupField::V2Subtitle, &TagData::subtitle, &GroupValues::subtitle},
    {GroupField::PodcastId, &TagData::podcastid, &GroupValues::podcastid},
    {GroupField::PodcastDescription, &TagData::podcastdesc, &GroupValues::podcastdesc},
};

// The V2 fields kept as Latin-1.
struct LatinField {
  GroupField field;
  std::string TagData::*tag;
  std::u16string GroupValues::*value;
};
constexpr LatinField kLatinFields[] = {
    {GroupField::V2Url, &TagData::url, &GroupValues::url},
    {GroupField::V2EncodedBy, &TagData::encodedBy, &GroupValues::encodedBy},
    {GroupField::ArtistUrl, &TagData::artisturl, &GroupValues::artisturl},
    {GroupField::Isrc, &TagData::isrc, &GroupValues::isrc},
    {GroupField::ReleaseTime, &TagData::releasetime, &GroupValues::releasetime},
    {GroupField::RecordTime, &TagData::recordtime, &GroupValues::recordtime},
    {GroupField::Bpm, &TagData::bpm, &GroupValues::bpm},
    {GroupField::InitialKey, &TagData::initialkey, &GroupValues::initialkey},
    {GroupField::PodcastFeed, &TagData::podcastfeed, &GroupValues::podcastfeed},
};

}  // namespace

bool GroupModel::updateV1() const noexcept {
  if (!enableV1) return false;
  for (size_t i = 0; i < kGroupFieldCount; ++i)
    if (boxes_[i] && isV1Field(static_cast<GroupField>(i))) return true;
  return false;
}

bool GroupModel::updateV2() const noexcept {
  if (!enableV2) return false;
  for (size_t i = 0; i < kGroupFieldCount; ++i)
    if (boxes_[i] && !isV1Field(static_cast<GroupField>(i))) return true;
  return false;
}

void GroupModel::updateV1TagData(ID3Tag& track) const {
  const GroupValues& v = values;
  V1Tag& v1 = track.v1;
  v1.enabled = true;
  if (changeBox(GroupField::V1Title)) v1.title = v1Field(v.v1Title, kV1TextField);
  if (changeBox(GroupField::V1Artist)) v1.artist = v1Field(v.v1Artist, kV1TextField);
  if (changeBox(GroupField::V1Album)) v1.album = v1Field(v.v1Album, kV1TextField);
  if (changeBox(GroupField::V1Year)) v1.year = v1Field(v.v1Year, kV1YearField);
  if (changeBox(GroupField::V1Comment)) v1.comment = v1Field(v.v1Comment, kV1CommentField);
  if (changeBox(GroupField::V1Genre)) v1.genre = v1GenreFor(v.v1Genre);
}

void GroupModel::updateV2TagData(ID3Tag& track, bool addPicToEnd) const {
  const GroupValues& v = values;
  TagData& d = track.tagData;
  d.enabled = true;
  for (const TextField& f : kTextFields)
    if (changeBox(f.field)) d.*f.tag = storedText(v.*f.value);
  for (const LatinField& f : kLatinFields)
    if (changeBox(f.field)) d.*f.tag = latin1Field(v.*f.value);
  if (changeBox(GroupField::V2Year)) d.year = v1Field(v.year, kV2YearField);
  if (changeBox(GroupField::V2Tracks)) d.tracks = numberField(v.tracks);
  if (changeBox(GroupField::V2SetAndSets)) {
    d.set = numberField(v.set);
    d.sets = numberField(v.sets);
  }
  if (changeBox(GroupField::V2Compilation)) d.compilation = v.compilation;
  if (changeBox(GroupField::V2Picture)) {
    if (replacePictures) d.picdata.clear();
    if (v.picture) {
      if (addPicToEnd) d.picdata.push_back(*v.picture);
      else d.picdata.insert(d.picdata.begin(), *v.picture);
    }
  }
  if (changeBox(GroupField::PodcastEnable)) d.podcast = v.podcast;
}

void GroupModel::changedV1(bool changed, bool enable) {
  for (auto& track : tracks_) track->v1Changed = changed;
  if (enable) enableV1 = true;
  changedFromFirstTrack();
}

void GroupModel::changedV2(bool changed, bool enable) {
  for (auto& track : tracks_) track->v2Changed = changed;
  if (enable) enableV2 = true;
  changedFromFirstTrack();
}

void GroupModel::changedFromFirstTrack() {
  dirty_ = !tracks_.empty() && (tracks_.front()->v1Changed || tracks_.front()->v2Changed);
}

void GroupModel::removePicture(Questions& questions) {
  values.picture.reset();
  setChangeBox(GroupField::V2Picture, true);
  changedV2(true, true);
  if (imagesExist_ && !replacePictures &&
      askYesNo(questions, "Remove existing images",
               "Would you like to also remove existing images from the tracks? As just removing the image will "
               "not by default replace existing images."))
    replacePictures = true;
  imagesExist_ = false;
}

void GroupModel::setTagData(const ID3Tag& tag) {
  GroupValues& v = values;
  v.v1Title = latin1ToU16(tag.v1.title);
  v.v1Artist = latin1ToU16(tag.v1.artist);
  v.v1Album = latin1ToU16(tag.v1.album);
  v.v1Year = latin1ToU16(tag.v1.year);
  v.v1Comment = latin1ToU16(tag.v1.comment);
  v.v1Genre = tag.v1.genre < kGenreCount ? latin1ToU16(std::string(genreName(tag.v1.genre))) : std::u16string();

  const TagData& d = tag.tagData;
  for (const TextField& f : kTextFields) v.*f.value = (d.*f.tag).toU16();
  for (const LatinField& f : kLatinFields) v.*f.value = latin1ToU16(d.*f.tag);
  v.year = latin1ToU16(d.year);
  v.tracks = numberText(d.tracks);
  v.set = numberText(d.set);
  v.sets = numberText(d.sets);
  v.compilation = d.compilation;
  v.picture = d.picdata.empty() ? std::nullopt : std::optional<PicData>(d.picdata.front());
  v.podcast = d.podcast;
}

void GroupModel::setDefaultTagData(int index, const PreferencesController& prefs) {
  // Straight into the window's values: a trip through a tag would cut, convert
  // and complete the fields that the set leaves alone.
  const DefaultTagValues d = defaultTagValues(index, prefs);
  if (prefs.removeAllData()) clearTagData();
  GroupValues& v = values;
  auto put = [](std::u16string& field, const std::optional<std::string>& value) {
    if (value) field = utf8ToU16(*value);
  };
  if (prefs.applyDefaultsToV1()) {
    put(v.v1Title, d.title);
    put(v.v1Album, d.album);
    put(v.v1Artist, d.artist);
    put(v.v1Comment, d.comment);
    put(v.v1Year, d.year);
  }
  put(v.title, d.title);
  put(v.album, d.album);
  put(v.artist, d.artist);
  put(v.comment, d.comment);
  put(v.year, d.year);
  put(v.composer, d.composer);
  put(v.origArtist, d.origArtist);
  put(v.copyright, d.copyright);
  put(v.url, d.url);
  put(v.encodedBy, d.encodedBy);
  put(v.tracks, d.tracks);
  put(v.genre, d.genre);
  if (d.compilation) v.compilation = *d.compilation;
  if (d.picture) {
    if (d.picture->image) v.picture = d.picture->image;
    else if (prefs.isReplaceWithDefaultPictureSet()) v.picture.reset();
  }
}

void GroupModel::clearTagData() { values = GroupValues{}; }

std::unique_ptr<ID3Tag> GroupModel::getTagData() const {
  // Every box on in a copy of this model: the one copy of the window into a
  // tag is then the one the update uses.
  GroupModel all;
  all.values = values;
  all.boxes_.fill(true);
  all.replacePictures = true;
  auto tag = std::make_unique<ID3Tag>();
  tag->isMp3File = true;
  tag->v1.enabled = true;
  all.updateV1TagData(*tag);
  all.updateV2TagData(*tag, true);
  return tag;
}

}  // namespace melos
