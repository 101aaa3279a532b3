#include "cli/json_formatter.h"


#include "cli/text_formatter.h"
#include "engine/genres.h"
#include "engine/mpeg_info.h"
#include "engine/text.h"

namespace melos::cli {
namespace {

JsonValue utf8(const std::string& text) { return JsonValue(text); }
JsonValue latin1(const std::string& text) { return JsonValue(latin1ToUtf8(text)); }
JsonValue unicode(const UnicodeText& text) { return JsonValue(text.toUtf8()); }

JsonValue number16(uint16_t value) { return value == kUnsetNumber ? JsonValue() : JsonValue(int{value}); }

JsonValue hex(const Bytes& bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  text.reserve(bytes.size() * 2);
  for (uint8_t byte : bytes) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return JsonValue(std::move(text));
}

JsonValue kindName(const ID3Tag& track) {
  if (track.isTagDataFile) return "tdf";
  if (track.isAiffFile) return "aiff";
  return "mp3";
}

JsonValue mpegVersionName(uint8_t versionBits) {
  switch (versionBits) {
    case 3: return "1";
    case 2: return "2";
    case 0: return "2.5";
    default: return JsonValue();  // the reserved value
  }
}

JsonValue size(size_t bytes) { return JsonValue(static_cast<int64_t>(bytes)); }

JsonValue pictures(const PicDataArray& pictures) {
  JsonValue list = JsonValue::array();
  for (const PicData& picture : pictures)
    list.append(JsonValue::object().set("type", utf8(picture.pictureSubtype)).set("size", size(picture.data.size())));
  return list;
}

JsonValue userTexts(const UserTextArray& texts) {
  JsonValue list = JsonValue::array();
  for (const UserText& text : texts)
    list.append(JsonValue::object().set("description", unicode(text.description)).set("value", unicode(text.value)));
  return list;
}

JsonValue privateFrames(const PrivateDataArray& frames) {
  JsonValue list = JsonValue::array();
  for (const PrivateData& frame : frames)
    list.append(JsonValue::object().set("id", latin1(frame.id)).set("size", size(frame.body.size())));
  return list;
}

// Members in the order written below; the text sorts them.
JsonValue objectOf(std::initializer_list<std::pair<const char*, JsonValue>> members) {
  JsonValue object = JsonValue::object();
  for (const auto& [key, value] : members) object.set(key, value);
  return object;
}

}  // namespace

JsonValue v1Json(const ID3Tag& track) {
  if (!track.v1Loaded) return JsonValue();
  const V1Tag& v1 = track.v1;
  return objectOf({
      {"title", latin1(v1.title)},
      {"artist", latin1(v1.artist)},
      {"album", latin1(v1.album)},
      {"year", latin1(v1.year)},
      {"comment", latin1(v1.comment)},
      {"track", v1.track == kUnsetV1 ? JsonValue() : JsonValue(int{v1.track})},
      {"genre", v1.genre == kUnsetV1 ? JsonValue() : JsonValue(int{v1.genre})},
      {"genreName", v1.genre == kUnsetV1 ? JsonValue() : utf8(std::string(genreName(v1.genre)))},
  });
}

JsonValue v2Json(const TagData& tag) {
  if (!tag.enabled) return JsonValue();
  return objectOf({
      {"title", unicode(tag.title)},
      {"artist", unicode(tag.artist)},
      {"album", unicode(tag.album)},
      {"year", latin1(tag.year)},
      {"comment", unicode(tag.comment)},
      {"composer", unicode(tag.composer)},
      {"origArtist", unicode(tag.origArtist)},
      {"copyright", unicode(tag.copyright)},
      {"url", latin1(tag.url)},
      {"artisturl", latin1(tag.artisturl)},
      {"encodedBy", latin1(tag.encodedBy)},
      {"track", number16(tag.track)},
      {"tracks", number16(tag.tracks)},
      {"genre", unicode(tag.genre)},
      {"compilation", tag.compilation},
      {"musiccdid", latin1(tag.musiccdid)},
      {"grouping", latin1(tag.grouping)},
      {"picdata", pictures(tag.picdata)},
      {"lyrics", unicode(tag.lyrics)},
      {"conductor", unicode(tag.conductor)},
      {"lyricist", unicode(tag.lyricist)},
      {"publisher", unicode(tag.publisher)},
      {"orchestra", unicode(tag.orchestra)},
      {"content", unicode(tag.content)},
      {"subtitle", unicode(tag.subtitle)},
      {"encsettings", unicode(tag.encsettings)},
      {"usertext", userTexts(tag.usertext)},
      {"set", number16(tag.set)},
      {"sets", number16(tag.sets)},
      {"isrc", latin1(tag.isrc)},
      {"releasetime", latin1(tag.releasetime)},
      {"recordtime", latin1(tag.recordtime)},
      {"bpm", latin1(tag.bpm)},
      {"initialkey", latin1(tag.initialkey)},
      {"popularity", objectOf({{"email", latin1(tag.popularity.email)},
                               {"rate", int{tag.popularity.rate}},
                               {"counter", latin1(tag.popularity.counter)}})},
      {"podcast", tag.podcast},
      {"podcastid", unicode(tag.podcastid)},
      {"podcastfeed", latin1(tag.podcastfeed)},
      {"podcastdesc", unicode(tag.podcastdesc)},
      {"privdata", privateFrames(tag.privdata)},
      {"advisory", static_cast<int>(tag.advisory)},
      {"producednotice", latin1(tag.producednotice)},
      {"mood", latin1(tag.mood)},
      {"iswc", latin1(tag.iswc)},
      {"uniqueid", objectOf({{"owner", latin1(tag.uniqueid.owner)}, {"data", hex(tag.uniqueid.data)}})},
  });
}

JsonValue audioJson(const ID3Tag& track) {
  // A tag-data file holds a tag and nothing else.
  if (track.isTagDataFile) return JsonValue();
  const AudioInfo& audio = track.audio;
  const bool aiff = audio.isAiffSound || track.isAiffFile;
  const JsonValue channels = aiff ? int{audio.channels} : audio.channelMode == kMono ? 1 : 2;
  return objectOf({
      {"mpegVersion", aiff ? JsonValue() : mpegVersionName(audio.version)},
      {"layer", aiff || audio.layer > 2 ? JsonValue() : JsonValue(audio.layer + 1)},
      {"bitrate", static_cast<int64_t>(audio.bitrate)},
      {"bitrateText", utf8(audio.bitrateText)},
      {"vbr", audio.vbr},
      {"estimated", audio.estimated},
      {"frames", static_cast<int64_t>(audio.frames)},
      {"duration", static_cast<int64_t>(track.duration)},
      {"sampleRate", static_cast<int64_t>(track.sampleRateHz())},
      {"channelMode", utf8(channelModeName(audio.channelMode))},
      {"channels", channels},
      {"sampleSize", aiff ? JsonValue(int{audio.sampleSize}) : JsonValue()},
      {"lame", utf8(encoderName(audio.lame))},
  });
}

JsonValue trackJson(const QString& path, const ID3Tag& track) {
  return objectOf({
      {"path", path},
      {"kind", kindName(track)},
      {"readOnly", track.readOnly},
      {"fileSize", static_cast<int64_t>(track.fileSize)},
      {"versions", utf8(track.versionText)},
      {"v2Version", track.tagData.enabled ? track.v2Version : 0},
      {"v1", v1Json(track)},
      {"v2", v2Json(track.tagData)},
      {"audio", audioJson(track)},
  });
}

JsonValue errorJson(const QString& path, const std::string& error) {
  return objectOf({{"path", path}, {"error", utf8(error)}});
}

JsonValue reportJson(const TrackReport& report) {
  if (!report.opened()) return errorJson(report.path, report.error);
  return trackJson(report.path, *report.track);
}


}  // namespace melos::cli
