#include "engine/compare.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "engine/log.h"

namespace melos {

namespace {

bool sameUnicode(const UnicodeText& a, const UnicodeText& b) {
  if (a.empty() && b.empty()) return true;
  if (a.empty() != b.empty()) return false;
  if (a.unicode != b.unicode) return false;
  if (!a.unicode) return trimLatin1(a.data) == trimLatin1(b.data);
  // Byte order counts: the same characters in the other order are other bytes.
  if (isBigEndianUtf16(a) != isBigEndianUtf16(b)) return false;
  std::u16string wa = a.toU16(), wb = b.toU16();
  return trimU16(wa) == trimU16(wb);
}

bool samePlain(const std::string& a, const std::string& b) { return trimLatin1(a) == trimLatin1(b); }

bool sameLanguage(const std::string& a, const std::string& b) {
  auto written = [](const std::string& language) { return language.size() == 3 ? language : std::string("eng"); };
  return written(a) == written(b);
}

bool samePictures(const PicDataArray& a, const PicDataArray& b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i)
    if (a[i].pictureType != b[i].pictureType || a[i].description.toU16() != b[i].description.toU16()) return false;
  return true;
}

// The further values written beside a text that still says what it was read as.
bool sameMoreValues(const TagData& a, const TagData& b) {
  for (const MoreValues& written : a.moreValues) {
    auto reread = std::find_if(b.moreValues.begin(), b.moreValues.end(),
                               [&](const MoreValues& m) { return m.frameId == written.frameId; });
    const bool kept = reread != b.moreValues.end() && reread->first == written.first;
    if (kept && reread->rest != written.rest) return false;
  }
  return true;
}

}  // namespace

unsigned CompareV1Tags(const ID3Tag& written, const ID3Tag& reread) noexcept {
  if (!written.isMp3File || !reread.isMp3File) return 0;
  if (written.v1Loaded != reread.v1Loaded)
    LogMessage(LogStatus, "Comparing V1 loaded state failed (%d != %d)", written.v1Loaded, reread.v1Loaded);
  if (written.v1.enabled != reread.v1.enabled)
    LogMessage(LogWarning, "Comparing V1 enabled state failed (%d != %d)", written.v1.enabled,
               reread.v1.enabled);
  if (!written.v1.enabled || !reread.v1.enabled) return 0;
  const V1Tag& a = written.v1;
  const V1Tag& b = reread.v1;
  if (a.title != b.title) return 3;
  if (a.album != b.album) return 4;
  if (a.artist != b.artist) return 5;
  if (a.comment != b.comment) return 6;
  if (a.year != b.year) return 7;
  if (a.track != b.track) return 8;
  if (a.genre != b.genre) return 10;
  return 0;
}

unsigned CompareV2Tags(const ID3Tag& written, const ID3Tag& reread, int version) noexcept {
  try {
    if (written.v2Read != reread.v2Read)
      LogMessage(LogStatus, "Comparing V2 loaded state failed (%d != %d)", written.v2Read, reread.v2Read);
    const TagData& a = written.tagData;
    const TagData& b = reread.tagData;
    if (a.enabled != b.enabled)
      LogMessage(LogWarning, "Comparing V2 enabled state failed (%d != %d)", a.enabled, b.enabled);
    // A tag that was written and cannot be found again was not saved.
    if (a.enabled && !b.enabled) return kCompareNoV2Tag;
    if (!a.enabled) return 0;

    if (!sameUnicode(a.title, b.title)) return 103;
    if (!sameUnicode(a.album, b.album)) return 104;
    if (!sameUnicode(a.artist, b.artist)) return 105;
    if (!sameUnicode(a.comment, b.comment)) return 106;
    // The year is compared with itself and so never differs (107); kept so.
    if (!samePlain(a.year, a.year)) return 107;
    if (a.track != b.track) return 108;
    if (a.track < kUnsetNumber && a.tracks != b.tracks) return 109;
    if (!sameUnicode(a.genre, b.genre)) return 110;
    if (!sameUnicode(a.composer, b.composer)) return 111;
    if (!sameUnicode(a.origArtist, b.origArtist)) return 112;
    if (!sameUnicode(a.copyright, b.copyright)) return 113;
    if (!samePlain(a.url, b.url)) return 114;
    if (!samePlain(a.encodedBy, b.encodedBy)) return 115;
    if (!sameUnicode(a.lyrics, b.lyrics)) return 116;
    if (!sameUnicode(a.conductor, b.conductor)) return 117;
    if (!sameUnicode(a.lyricist, b.lyricist)) return 118;
    if (!sameUnicode(a.publisher, b.publisher)) return 119;
    if (!sameUnicode(a.orchestra, b.orchestra)) return 120;
    if (!sameUnicode(a.content, b.content)) return 121;
    if (!sameUnicode(a.subtitle, b.subtitle)) return 122;
    if (!sameUnicode(a.encsettings, b.encsettings)) return 123;
    if (!samePlain(a.artisturl, b.artisturl)) return 124;
    if (a.podcast != b.podcast) return 125;
    if (!sameUnicode(a.podcastid, b.podcastid)) return 126;
    if (!samePlain(a.podcastfeed, b.podcastfeed)) return 127;
    if (!sameUnicode(a.podcastdesc, b.podcastdesc)) return 128;
    if (a.usertext.size() != b.usertext.size()) return 129;
    if (a.set != b.set) return 130;
    if (a.set < kUnsetNumber && a.sets != b.sets) return 131;
    if (!samePlain(a.isrc, b.isrc)) return 132;
    if (version >= 4) {
      // Both times go through one shared normalisation, so each side is the
      // same text when compared: 133 and 134 never occur; kept so.
      std::string recorded = timeText(a.recordtime);
      if (!samePlain(recorded, recorded)) return 133;
      std::string released = timeText(a.releasetime);
      if (!samePlain(released, released)) return 134;
    }
    if (!samePlain(a.bpm, b.bpm)) return 135;
    if (!samePlain(a.initialkey, b.initialkey)) return 136;
    if (a.compilation != b.compilation) return 137;
    if (a.advisory != b.advisory) return 138;
    if (!samePlain(a.producednotice, b.producednotice)) return 139;
    if (!samePlain(a.mood, b.mood)) return 140;
    if (!samePlain(a.iswc, b.iswc)) return 141;
    if (!samePlain(a.uniqueid.owner, b.uniqueid.owner)) return 142;
    size_t common = std::min(a.uniqueid.data.size(), b.uniqueid.data.size());
    if (!std::equal(a.uniqueid.data.begin(), a.uniqueid.data.begin() + static_cast<long>(common),
                    b.uniqueid.data.begin()))
      return 143;
    // What the fields do not show, but a save must keep.
    if (!samePictures(a.picdata, b.picdata)) return 145;
    if (!a.comment.empty() && (!sameLanguage(a.commentLanguage, b.commentLanguage) ||
                               a.commentDescription.toU16() != b.commentDescription.toU16()))
      return 146;
    if (!a.lyrics.empty() && (!sameLanguage(a.lyricsLanguage, b.lyricsLanguage) ||
                              a.lyricsDescription.toU16() != b.lyricsDescription.toU16()))
      return 147;
    if (a.popularity.rate != 0 && !(a.popularity == b.popularity)) return 148;
    if (!sameMoreValues(a, b)) return 149;
    return 0;
  } catch (...) {
    return 0;
  }
}

const char* compareFieldName(unsigned code) noexcept {
  static constexpr const char* kNames[] = {
      "Title", "Album", "Artist", "Comment", "Year", "Track", "Tracks", "Genre", "Composer",
      "Original artist", "Copyright", "URL", "Encoded by", "Lyrics", "Conductor", "Lyricist",
      "Publisher", "Orchestra", "Content", "Subtitle", "Encoder settings", "Artist URL", "Podcast",
      "Podcast ID", "Podcast feed", "Podcast description", "Picture count", "Set", "Sets", "ISRC",
      "Record time", "Release time", "BPM", "Initial key", "Compilation", "Advisory",
      "Produced notice", "Mood", "ISWC", "UFID owner", "UFID data", "V2 tag", "Picture type or description",
      "Comment language or description", "Lyrics language or description", "Rating", "Further values"};
  if (code < 103 || code > 149) return "";
  return kNames[code - 103];
}

void DescribeTagVersions(ID3Tag& track, int version) noexcept {
  track.v2Version = version;
  const char* unsupported = version >= 5 ? " (unsupported)" : "";
  char text[64];
  if (track.v1Loaded && track.v2Read)
    std::snprintf(text, sizeof text, "V1 and V2.%d%s", version, unsupported);
  else if (track.v2Read)
    std::snprintf(text, sizeof text, "V2.%d%s", version, unsupported);
  else if (track.v1Loaded)
    std::snprintf(text, sizeof text, "V1");
  else
    return;
  track.versionText = text;
  if (track.tagData.podcast) track.versionText += " (podcast)";
  if (track.versionText.size() > 63) track.versionText.resize(63);
}

}  // namespace melos
