#include "cli/json_formatter.h"

#include <QJsonDocument>

#include "cli/text_formatter.h"
#include "engine/genres.h"
#include "engine/mpeg_info.h"
#include "engine/text.h"

namespace melos::cli {
namespace {

QString utf8(const std::string& text) { return QString::fromStdString(text); }
QString latin1(const std::string& text) { return utf8(latin1ToUtf8(text)); }
QString unicode(const UnicodeText& text) { return utf8(text.toUtf8()); }

QJsonValue number16(uint16_t value) {
  return value == kUnsetNumber ? QJsonValue() : QJsonValue(int{value});
}

QString hex(const Bytes& bytes) {
  return QString::fromLatin1(
      QByteArray(reinterpret_cast<const char*>(bytes.data()), static_cast<qsizetype>(bytes.size()))
          .toHex());
}

QString kindName(const ID3Tag& track) {
  if (track.isTagDataFile) return QStringLiteral("tdf");
  if (track.isAiffFile) return QStringLiteral("aiff");
  return QStringLiteral("mp3");
}

QJsonValue mpegVersionName(uint8_t versionBits) {
  switch (versionBits) {
    case 3: return QStringLiteral("1");
    case 2: return QStringLiteral("2");
    case 0: return QStringLiteral("2.5");
    default: return QJsonValue();  // the reserved value
  }
}

QJsonArray pictures(const PicDataArray& pictures) {
  QJsonArray list;
  for (const PicData& picture : pictures)
    list.append(QJsonObject{{"type", utf8(picture.pictureSubtype)},
                            {"size", static_cast<qint64>(picture.data.size())}});
  return list;
}

QJsonArray userTexts(const UserTextArray& texts) {
  QJsonArray list;
  for (const UserText& text : texts)
    list.append(QJsonObject{{"description", unicode(text.description)},
                            {"value", unicode(text.value)}});
  return list;
}

QJsonArray privateFrames(const PrivateDataArray& frames) {
  QJsonArray list;
  for (const PrivateData& frame : frames)
    list.append(QJsonObject{{"id", latin1(frame.id)},
                            {"size", static_cast<qint64>(frame.body.size())}});
  return list;
}

}  // namespace

QJsonValue v1Json(const ID3Tag& track) {
  if (!track.v1Loaded) return QJsonValue();
  const V1Tag& v1 = track.v1;
  QJsonObject object{
      {"title", latin1(v1.title)},
      {"artist", latin1(v1.artist)},
      {"album", latin1(v1.album)},
      {"year", latin1(v1.year)},
      {"comment", latin1(v1.comment)},
      {"track", v1.track == kUnsetV1 ? QJsonValue() : QJsonValue(int{v1.track})},
      {"genre", v1.genre == kUnsetV1 ? QJsonValue() : QJsonValue(int{v1.genre})},
      {"genreName", v1.genre == kUnsetV1 ? QJsonValue()
                                         : QJsonValue(utf8(std::string(genreName(v1.genre))))},
  };
  return object;
}

QJsonValue v2Json(const TagData& tag) {
  if (!tag.enabled) return QJsonValue();
  QJsonObject object{
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
      {"popularity", QJsonObject{{"email", latin1(tag.popularity.email)},
                                 {"rate", int{tag.popularity.rate}},
                                 {"counter", latin1(tag.popularity.counter)}}},
      {"podcast", tag.podcast},
      {"podcastid", unicode(tag.podcastid)},
      {"podcastfeed", latin1(tag.podcastfeed)},
      {"podcastdesc", unicode(tag.podcastdesc)},
      {"privdata", privateFrames(tag.privdata)},
      {"advisory", static_cast<int>(tag.advisory)},
      {"producednotice", latin1(tag.producednotice)},
      {"mood", latin1(tag.mood)},
      {"iswc", latin1(tag.iswc)},
      {"uniqueid", QJsonObject{{"owner", latin1(tag.uniqueid.owner)},
                               {"data", hex(tag.uniqueid.data)}}},
  };
  return object;
}

QJsonValue audioJson(const ID3Tag& track) {
  // A tag-data file holds a tag and nothing else.
  if (track.isTagDataFile) return QJsonValue();
  const AudioInfo& audio = track.audio;
  const bool aiff = audio.isAiffSound || track.isAiffFile;
  QJsonValue channels;
  if (aiff)
    channels = int{audio.channels};
  else
    channels = audio.channelMode == kMono ? 1 : 2;
  QJsonObject object{
      {"mpegVersion", aiff ? QJsonValue() : mpegVersionName(audio.version)},
      {"layer", aiff || audio.layer > 2 ? QJsonValue() : QJsonValue(audio.layer + 1)},
      {"bitrate", static_cast<qint64>(audio.bitrate)},
      {"bitrateText", utf8(audio.bitrateText)},
      {"vbr", audio.vbr},
      {"estimated", audio.estimated},
      {"frames", static_cast<qint64>(audio.frames)},
      {"duration", static_cast<qint64>(track.duration)},
      {"sampleRate", static_cast<qint64>(track.sampleRateHz())},
      {"channelMode", utf8(channelModeName(audio.channelMode))},
      {"channels", channels},
      {"sampleSize", aiff ? QJsonValue(int{audio.sampleSize}) : QJsonValue()},
      {"lame", utf8(encoderName(audio.lame))},
  };
  return object;
}

QJsonObject trackJson(const QString& path, const ID3Tag& track) {
  return QJsonObject{
      {"path", path},
      {"kind", kindName(track)},
      {"readOnly", track.readOnly},
      {"fileSize", static_cast<qint64>(track.fileSize)},
      {"versions", utf8(track.versionText)},
      {"v2Version", track.tagData.enabled ? track.v2Version : 0},
      {"v1", v1Json(track)},
      {"v2", v2Json(track.tagData)},
      {"audio", audioJson(track)},
  };
}

QJsonObject errorJson(const QString& path, const std::string& error) {
  return QJsonObject{{"path", path}, {"error", utf8(error)}};
}

QJsonObject reportJson(const TrackReport& report) {
  if (!report.opened()) return errorJson(report.path, report.error);
  return trackJson(report.path, *report.track);
}

QByteArray jsonText(const QJsonArray& reports) {
  return QJsonDocument(reports).toJson(QJsonDocument::Indented);
}

}  // namespace melos::cli
