#include "engine/id3_tag.h"

#include <cstdio>

#include "engine/mpeg_info.h"

namespace melos {

ID3Tag::ID3Tag() noexcept { initialise(); }

ID3Tag::ID3Tag(const ID3Tag& other) : Tag() {
  initialise();
  CopyTagData(*this, other, true, false, false, false, false);
}

void ID3Tag::initialise() noexcept {
  clearV1();
  resetAudio();
  setFileSize(0);
  setDuration(0);
  aiffId3ChunkSize = 0;
  readOnly = true;
  v2ReadingOption = true;
  aiffSizeTolerance = true;
  id3ChunkAfterSound = true;
}

void ID3Tag::clearTagData() noexcept {
  tagData.clear();
  v2Read = false;
}

void ID3Tag::clearV1() noexcept {
  v1.clear();
  v1Loaded = false;
}

void ID3Tag::resetAudio() noexcept {
  audio = AudioInfo{};
  versionText.clear();
  v2Version = 0;
}

void ID3Tag::setDuration(uint64_t seconds) {
  duration = seconds;
  durationText = durationDisplay(seconds);
}

void ID3Tag::setFileSize(uint64_t bytes) {
  fileSize = bytes;
  fileSizeText = fileSizeDisplay(bytes);
}

float ID3Tag::sampleRateKHz() const noexcept {
  return static_cast<float>(sampleRateHz()) / 1000.0f;
}

uint32_t ID3Tag::sampleRateHz() const noexcept {
  if (isAiffFile) return audio.sampleRate;
  return mpegSampleRate(audio.version, audio.sampleRateIndex);
}

std::string fileSizeDisplay(uint64_t bytes) {
  char text[48];
  if (bytes < 1024)
    std::snprintf(text, sizeof text, "%llu bytes", static_cast<unsigned long long>(bytes));
  else if (bytes < 1024 * 1024)
    std::snprintf(text, sizeof text, "%.1f KB", static_cast<double>(bytes) / 1024.0);
  else if (bytes < 1024ull * 1024 * 1024)
    std::snprintf(text, sizeof text, "%.1f MB", static_cast<double>(bytes) / (1024.0 * 1024.0));
  else
    std::snprintf(text, sizeof text, "%.2f GB", static_cast<double>(bytes) / (1024.0 * 1024.0 * 1024.0));
  return text;
}

std::string durationDisplay(uint64_t seconds, bool withHours) {
  char text[48];
  unsigned long long h = seconds / 3600, m = (seconds / 60) % 60, s = seconds % 60;
  if (h > 0 || withHours)
    std::snprintf(text, sizeof text, "%llu:%02llu:%02llu", h, m, s);
  else
    std::snprintf(text, sizeof text, "%llu:%02llu", m, s);
  return text;
}

namespace {
std::string cut(const std::string& text, size_t limit) { return text.substr(0, limit); }
uint16_t unsetZero(uint16_t n) { return n == 0 ? kUnsetNumber : n; }
}  // namespace

void CopyTagData(ID3Tag& to, const ID3Tag& from, bool all, bool title, bool track, bool composer,
                 bool origArtist) {
  to.v2ReadingOption = from.v2ReadingOption;

  if (to.isMp3File) {
    to.v1Loaded = from.v1Loaded;
    to.v1.enabled = from.v1.enabled;
    if (all || title) to.v1.title = cut(from.v1.title, kV1TextField);
    to.v1.album = cut(from.v1.album, kV1TextField);
    to.v1.artist = cut(from.v1.artist, kV1TextField);
    to.v1.comment = cut(from.v1.comment, kV1CommentField);
    to.v1.year = cut(from.v1.year, kV1YearField);
    if (all || track) to.v1.track = from.v1.track == 0 ? kUnsetV1 : from.v1.track;
    to.v1.genre = from.v1.genre;
  } else {
    to.v1.enabled = false;
    to.v1Loaded = false;
  }

  to.v2Read = from.v2Read;
  TagData& d = to.tagData;
  const TagData& s = from.tagData;
  d.enabled = s.enabled;

  if (all || title) d.title = s.title;
  d.album = s.album;
  d.artist = s.artist;
  d.comment = s.comment;
  d.commentLanguage = s.commentLanguage;
  d.commentDescription = s.commentDescription;
  d.year = s.year;
  d.genre = s.genre;
  if (all || composer) d.composer = s.composer;
  if (all || origArtist) d.origArtist = s.origArtist;
  d.copyright = s.copyright;
  d.url = s.url;
  d.encodedBy = s.encodedBy;
  if (all) {
    d.lyrics = s.lyrics;
    d.lyricsLanguage = s.lyricsLanguage;
    d.lyricsDescription = s.lyricsDescription;
  }
  d.conductor = s.conductor;
  d.lyricist = s.lyricist;
  d.publisher = s.publisher;
  d.orchestra = s.orchestra;
  d.content = s.content;
  d.subtitle = s.subtitle;
  d.encsettings = s.encsettings;
  d.artisturl = s.artisturl;
  d.podcastid = s.podcastid;
  d.podcastfeed = s.podcastfeed;
  d.podcastdesc = s.podcastdesc;
  d.podcast = s.podcast;

  if (all || track) d.track = unsetZero(s.track);
  d.tracks = unsetZero(s.tracks);
  d.set = unsetZero(s.set);
  d.sets = unsetZero(s.sets);

  d.picdata = s.picdata;
  // The further values go with the texts they were read with: beside a text
  // that was not copied they are never written.
  d.moreValues = s.moreValues;

  d.isrc = s.isrc;
  d.releasetime = timeText(s.releasetime);
  d.recordtime = timeText(s.recordtime);
  d.bpm = s.bpm;
  d.initialkey = s.initialkey;
  d.advisory = s.advisory;
  d.producednotice = s.producednotice;
  d.mood = s.mood;
  d.iswc = s.iswc;
  // compilation, musiccdid, grouping, usertext, popularity, privdata and
  // uniqueid stay the destination's own.
}

}  // namespace melos
