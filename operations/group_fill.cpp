#include "operations/group_fill.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <string_view>

namespace melos {
namespace {

using G = GroupField;
using K = GroupSlot::Kind;
using V = GroupValues;

GroupSlot text(G field, std::u16string V::*member) { return {field, K::Text, member, nullptr}; }
GroupSlot flag(G field, bool V::*member) { return {field, K::Flag, nullptr, member}; }

std::vector<GroupSlot> makeSlots() {
  return {
      text(G::V1Title, &V::v1Title),
      text(G::V1Artist, &V::v1Artist),
      text(G::V1Album, &V::v1Album),
      text(G::V1Year, &V::v1Year),
      text(G::V1Comment, &V::v1Comment),
      text(G::V1Genre, &V::v1Genre),
      text(G::V2Title, &V::title),
      text(G::V2Artist, &V::artist),
      text(G::V2Album, &V::album),
      text(G::V2Year, &V::year),
      text(G::V2Genre, &V::genre),
      text(G::V2Comment, &V::comment),
      text(G::V2Composer, &V::composer),
      text(G::V2OrigArtist, &V::origArtist),
      text(G::V2Copyright, &V::copyright),
      text(G::V2Url, &V::url),
      text(G::V2EncodedBy, &V::encodedBy),
      text(G::V2Tracks, &V::tracks),
      text(G::V2SetAndSets, &V::set),
      text(G::V2SetAndSets, &V::sets),
      text(G::V2Conductor, &V::conductor),
      text(G::V2Lyricist, &V::lyricist),
      text(G::V2Publisher, &V::publisher),
      text(G::V2Orchestra, &V::orchestra),
      text(G::V2Content, &V::content),
      text(G::V2Subtitle, &V::subtitle),
      flag(G::V2Compilation, &V::compilation),
      {G::V2Picture, K::Picture, nullptr, nullptr},
      text(G::ArtistUrl, &V::artisturl),
      text(G::Isrc, &V::isrc),
      text(G::ReleaseTime, &V::releasetime),
      text(G::RecordTime, &V::recordtime),
      text(G::Bpm, &V::bpm),
      text(G::InitialKey, &V::initialkey),
      flag(G::PodcastEnable, &V::podcast),
      text(G::PodcastId, &V::podcastid),
      text(G::PodcastFeed, &V::podcastfeed),
      text(G::PodcastDescription, &V::podcastdesc),
  };
}

bool sameInSlot(const GroupSlot& slot, const V& a, const V& b) {
  switch (slot.kind) {
    case K::Text: return a.*slot.text == b.*slot.text;
    case K::Flag: return a.*slot.flag == b.*slot.flag;
    case K::Picture: return a.picture == b.picture;
  }
  return false;
}

void copySlot(const GroupSlot& slot, V& to, const V& from) {
  switch (slot.kind) {
    case K::Text: to.*slot.text = from.*slot.text; break;
    case K::Flag: to.*slot.flag = from.*slot.flag; break;
    case K::Picture: to.picture = from.picture; break;
  }
}

void markChanged(GroupModel& model, G field) {
  model.setChangeBox(field, true);
  if (isV1Field(field)) model.changedV1(true, true);
  else model.changedV2(true, true);
}

// The library's hash reads whole words: a byte-at-a-time hash of every
// cover was the largest cost of reading a folder.
uint64_t hashBytes(uint64_t seed, const uint8_t* bytes, size_t size) {
  const std::string_view view(reinterpret_cast<const char*>(bytes), size);
  return seed * 1099511628211ull ^ std::hash<std::string_view>{}(view);
}

// A picture's fingerprint reads a bounded part of it: the size, the head and
// the tail, and words spread evenly over the rest. Hashing every byte of every
// cover took more time than reading the tracks. Two different covers of the
// same size share all of that only by design, and the worst a false match
// does is show one track's cover as the group's; nothing is written unasked.
constexpr size_t kPictureEnds = 512;
constexpr size_t kPictureSamples = 512;
uint64_t pictureFingerprint(uint64_t seed, const Bytes& data) {
  const size_t size = data.size();
  if (size <= 2 * kPictureEnds + kPictureSamples * 8) return hashBytes(seed, data.data(), size);
  uint64_t hash = hashBytes(seed ^ size, data.data(), kPictureEnds);
  hash = hashBytes(hash, data.data() + size - kPictureEnds, kPictureEnds);
  std::array<uint8_t, kPictureSamples * 8> samples{};
  const size_t step = (size - 2 * kPictureEnds) / kPictureSamples;
  for (size_t i = 0; i < kPictureSamples; ++i)
    std::memcpy(samples.data() + i * 8, data.data() + kPictureEnds + i * step, 8);
  return hashBytes(hash, samples.data(), samples.size());
}

}  // namespace

const std::vector<GroupSlot>& groupSlots() {
  static const std::vector<GroupSlot> slots = makeSlots();
  return slots;
}

size_t slotOfText(std::u16string V::*member) {
  const auto& slots = groupSlots();
  const auto found =
      std::find_if(slots.begin(), slots.end(), [member](const GroupSlot& slot) { return slot.text == member; });
  return static_cast<size_t>(found - slots.begin());
}

GroupValues valuesOfTrack(const ID3Tag& track) {
  GroupModel scratch;
  scratch.setTagData(track);
  return std::move(scratch.values);
}

PictureSummary summarisePictures(const PicDataArray& pictures) {
  PictureSummary summary;
  summary.count = static_cast<uint32_t>(pictures.size());
  for (const PicData& picture : pictures) summary.bytes += picture.data.size();
  if (pictures.empty()) return summary;
  // What the window's picture is compared by: the well shows its type too.
  const PicData& first = pictures.front();
  uint64_t hash = hashBytes(first.pictureType + 1u, nullptr, 0);
  hash = hashBytes(hash, reinterpret_cast<const uint8_t*>(first.pictureSubtype.data()), first.pictureSubtype.size());
  hash = pictureFingerprint(hash, first.data);
  summary.firstHash = hash == 0 ? 1 : hash;
  return summary;
}

void CommonValues::add(GroupValues values, const PictureSummary& picture, bool hasV1, bool hasV2) {
  const auto& slots = groupSlots();
  anyV1_ = anyV1_ || hasV1;
  anyV2_ = anyV2_ || hasV2;
  if (count_++ == 0) {
    values_ = std::move(values);
    pictureHash_ = picture.firstHash;
    return;
  }
  for (size_t i = 0; i < slots.size(); ++i) {
    if (differing_[i]) continue;
    const GroupSlot& slot = slots[i];
    // Pictures are compared by their summaries: the group does not keep them.
    const bool same =
        slot.kind == K::Picture ? picture.firstHash == pictureHash_ : sameInSlot(slot, values_, values);
    if (same) continue;
    differing_[i] = true;
    if (slot.kind == K::Picture) values_.picture.reset();
    else if (slot.kind == K::Text) (values_.*slot.text).clear();
    else values_.*slot.flag = false;
  }
}

void showCommonValues(GroupModel& model, SlotSet& differing, const CommonValues& common) {
  const auto& slots = groupSlots();
  for (size_t i = 0; i < slots.size(); ++i) {
    if (model.changeBox(slots[i].field)) continue;
    copySlot(slots[i], model.values, common.values());
    differing[i] = common.differing()[i];
  }
  const ID3Tag* first = model.tracks().empty() ? nullptr : model.tracks().front().get();
  if (first == nullptr || !first->v1Changed) model.enableV1 = common.anyV1();
  if (first == nullptr || !first->v2Changed) model.enableV2 = common.anyV2();
}

void joinGroup(GroupModel& model, std::unique_ptr<ID3Tag> track, const PictureSummary& pictures) {
  if (!model.tracks().empty()) {
    track->v1Changed = model.tracks().front()->v1Changed;
    track->v2Changed = model.tracks().front()->v2Changed;
  }
  if (pictures.count > 0) model.noteImagesExist();
  model.addTrack(std::move(track));
}

GroupEditState captureEdit(const GroupModel& model, const SlotSet& differing) {
  GroupEditState state;
  state.values = model.values;
  for (size_t i = 0; i < kGroupFieldCount; ++i) state.boxes[i] = model.changeBox(static_cast<G>(i));
  state.enableV1 = model.enableV1;
  state.enableV2 = model.enableV2;
  state.copyV2Details = model.copyV2Details;
  state.fileName = model.fileName;
  state.isrcIncrement = model.isrcIncrement;
  state.replacePictures = model.replacePictures;
  if (!model.tracks().empty()) {
    state.v1Changed = model.tracks().front()->v1Changed;
    state.v2Changed = model.tracks().front()->v2Changed;
  }
  state.differing = differing;
  return state;
}

void restoreEdit(GroupModel& model, const GroupEditState& state) {
  model.values = state.values;
  for (size_t i = 0; i < kGroupFieldCount; ++i) model.setChangeBox(static_cast<G>(i), state.boxes[i]);
  model.enableV1 = state.enableV1;
  model.enableV2 = state.enableV2;
  model.copyV2Details = state.copyV2Details;
  model.fileName = state.fileName;
  model.isrcIncrement = state.isrcIncrement;
  model.replacePictures = state.replacePictures;
  model.changedV1(state.v1Changed, false);
  model.changedV2(state.v2Changed, false);
}

void slotEdited(GroupModel& model, SlotSet& differing, size_t slot) {
  differing[slot] = false;
  markChanged(model, groupSlots().at(slot).field);
}

void changeBoxToggled(GroupModel& model, G field, bool on) {
  if (on) markChanged(model, field);
  else model.setChangeBox(field, false);
}

namespace {
// The model's box of an option, to read or to set.
template <typename Model>
auto& optionRef(Model& model, GroupOption option) {
  switch (option) {
    case GroupOption::CopyV2Details: return model.copyV2Details;
    case GroupOption::FileName: return model.fileName;
    case GroupOption::IsrcIncrement: return model.isrcIncrement;
    case GroupOption::ReplacePictures: break;
  }
  return model.replacePictures;
}
}  // namespace

bool optionValue(const GroupModel& model, GroupOption option) { return optionRef(model, option); }

void optionToggled(GroupModel& model, GroupOption option, bool on) {
  optionRef(model, option) = on;
  if (!on) return;
  if (option == GroupOption::CopyV2Details || option == GroupOption::FileName) model.changedV1(true, false);
  if (option == GroupOption::FileName) model.changedV2(true, false);
}

void enableBoxToggled(GroupModel& model, bool v1, bool on) {
  (v1 ? model.enableV1 : model.enableV2) = on;
  if (v1) model.changedV1(true, false);
  else model.changedV2(true, false);
}

SlotSet applyValues(GroupModel& model, SlotSet& differing, const GroupValues& values, bool takeDiffering) {
  const auto& slots = groupSlots();
  SlotSet edited;
  for (size_t i = 0; i < slots.size(); ++i) {
    const bool changes = !sameInSlot(slots[i], model.values, values);
    if (!changes && !(takeDiffering && differing[i])) continue;
    copySlot(slots[i], model.values, values);
    slotEdited(model, differing, i);
    edited[i] = true;
  }
  return edited;
}

}  // namespace melos
