// `melos show --json`: one object per file, keys named as the tag data fields.

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonObject>
#include <set>

#include <sys/stat.h>
#include <unistd.h>

#include "engine/genres.h"
#include "engine/id3_tag.h"
#include "engine/mpeg_info.h"
#include "tests/cli/cli_fixtures.h"
#include "tests/support/aiff_builder.h"
#include "tests/support/id3v1_builder.h"
#include "tests/support/id3v2_builder.h"
#include "tests/support/mp3_file_builder.h"
#include "tests/support/mpeg_builder.h"
#include "tests/support/temp_dir.h"

namespace melos::test {
namespace {

using cli::ExitCode;

std::string str(const QJsonValue& value) { return value.toString().toStdString(); }

std::set<std::string> keysOf(const QJsonObject& object) {
  std::set<std::string> keys;
  for (const QString& key : object.keys()) keys.insert(key.toStdString());
  return keys;
}

// The value at a path such as "v2/picdata/0/size" of a JSON object.
QJsonValue at(QJsonValue value, const std::string& path) {
  for (const QString& step : QString::fromStdString(path).split('/')) {
    bool index = false;
    const int n = step.toInt(&index);
    value = index ? value.toArray().at(n) : value.toObject().value(step);
  }
  return value;
}

class ShowJsonTest : public ::testing::Test {
 protected:
  TempDir dir;
};

TEST_F(ShowJsonTest, TaggedMp3HasOneKeyPerPartAndPerTagDataField) {
  const std::string path =
      dir.write("rich.mp3", mp3File({richV23Tag(), cbrAudio(500), {}, richV1Tag()}));
  const QJsonObject track = showJson(qpaths({path}))[0].toObject();
  EXPECT_EQ(keysOf(track), (std::set<std::string>{"path", "kind", "readOnly", "fileSize", "versions",
                                                  "v2Version", "v1", "v2", "audio"}));
  EXPECT_EQ(str(track["path"]), path);
  EXPECT_EQ(track["fileSize"].toInteger(), static_cast<qint64>(readFile(path).size()));
  EXPECT_TRUE(track["readOnly"].isBool());
  const QJsonObject v2 = track["v2"].toObject();
  const std::set<std::string> expected{
      "title",     "artist",      "album",          "year",        "comment",     "composer",
      "origArtist", "copyright",  "url",            "artisturl",   "encodedBy",   "track",
      "tracks",    "genre",       "compilation",    "musiccdid",   "grouping",    "picdata",
      "lyrics",    "conductor",   "lyricist",       "publisher",   "orchestra",   "content",
      "subtitle",  "encsettings", "usertext",       "set",         "sets",        "isrc",
      "releasetime", "recordtime", "bpm",           "initialkey",  "popularity",  "podcast",
      "podcastid", "podcastfeed", "podcastdesc",    "privdata",    "advisory",    "producednotice",
      "mood",      "iswc",        "uniqueid"};
  EXPECT_EQ(keysOf(v2), expected);
  EXPECT_EQ(keysOf(v2["popularity"].toObject()),
            (std::set<std::string>{"email", "rate", "counter"}));
  EXPECT_EQ(keysOf(v2["uniqueid"].toObject()), (std::set<std::string>{"owner", "data"}));
}

TEST_F(ShowJsonTest, ReadOnlyFollowsThePermissions) {
  if (geteuid() == 0) GTEST_SKIP() << "the superuser may write any file";
  const std::string path = dir.write("locked.mp3", cbrAudio(20));
  ASSERT_EQ(chmod(path.c_str(), 0444), 0);
  const std::string open = dir.write("open.mp3", cbrAudio(20));
  const QJsonArray reports = showJson(qpaths({path, open}));
  EXPECT_TRUE(reports[0].toObject()["readOnly"].toBool(false));
  EXPECT_FALSE(reports[1].toObject()["readOnly"].toBool(true));
}

Bytes mpegFile(uint8_t version, uint8_t bitrateIndex, uint8_t channelMode) {
  MpegHeader header;
  header.version = version;
  header.bitrateIndex = bitrateIndex;
  header.sampleRateIndex = 0;
  header.channelMode = channelMode;
  return cbrStream(header, 100);
}

Bytes lameFile() {
  MpegStream stream;
  stream.header.channelMode = 1;
  stream.frames = 30;
  stream.xing = true;
  stream.xingHeader.lame = "LAME3.100";
  return mpegStream(stream);
}

Bytes aiffFile() {
  const Bytes tag = Id3v2Builder(4).text("TIT2", Enc::Latin1, "In a chunk").build();
  return AiffBuilder("AIFF")
      .chunk(commChunk(2, 3 * 44100, 16, 44100.0))
      .chunk(ssndChunk(Bytes(64, 0)))
      .chunk(id3Chunk(tag))
      .build();
}

Bytes latin1V1File() {
  Id3v1Fields fields;
  fields.title = "\xE9t\xE9";  // Latin-1 bytes
  fields.genre = 17;
  return mp3File({{}, cbrAudio(20), {}, id3v1Tag(fields)});
}

Bytes rarerFieldsFile() {
  const Bytes tag = Id3v2Builder(4)
                        .text("TIT2", Enc::Utf8, "\xE2\x99\xAB note")
                        .text("TDRC", Enc::Latin1, "2004-05-06T07:08")
                        .frame(popularityFrame("me@example.org", 196, 42))
                        .frame(uniqueIdFrame("http://example.org", {0x01, 0xAB, 0xFF}))
                        .build();
  return mp3File({tag, cbrAudio(20), {}, {}});
}

// One file of each kind and what its report holds, path by path.
TEST_F(ShowJsonTest, EachKindOfFileReportsItsParts) {
  const QJsonValue null(QJsonValue::Null);
  const struct {
    const char* name;
    Bytes bytes;
    std::vector<std::pair<std::string, QJsonValue>> values;
  } rows[] = {
      {"rich.mp3", mp3File({richV23Tag(), cbrAudio(500), {}, richV1Tag()}),
       {{"kind", "mp3"}, {"versions", "V1 and V2.3"}, {"v2Version", 3}, {"v1/title", "V1 Title"},
        {"v1/artist", "V1 Artist"}, {"v1/album", "V1 Album"}, {"v1/year", "1999"},
        {"v1/comment", "V1 comment"}, {"v1/track", 7}, {"v1/genre", 17}, {"v1/genreName", "Rock"},
        {"v2/title", "Caf\xC3\xA9 Song"}, {"v2/artist", "\xE6\x97\xA5\xE6\x9C\xAC Artist"},
        {"v2/album", "The Album"}, {"v2/year", "2001"}, {"v2/track", 3}, {"v2/tracks", 12},
        {"v2/set", 1}, {"v2/sets", 2}, {"v2/genre", "Rock"}, {"v2/comment", "A comment"},
        {"v2/picdata/0/type", "jpeg"}, {"v2/picdata/0/size", static_cast<qint64>(kPictureSize)},
        {"v2/picdata/1", QJsonValue(QJsonValue::Undefined)},
        {"v2/usertext/0/description", "MOOD NOTE"}, {"v2/usertext/0/value", "calm"},
        {"v2/usertext/1", QJsonValue(QJsonValue::Undefined)}}},
      {"cbr.mp3", mp3File({{}, cbrAudio(500), {}, {}}),
       {{"audio/mpegVersion", "1"}, {"audio/layer", 3}, {"audio/bitrate", 128},
        {"audio/bitrateText", "128 kbps (CBR)"}, {"audio/vbr", false}, {"audio/estimated", false},
        {"audio/frames", 500},
        {"audio/duration", 500 * 417 * 8 / 128000},  // 500 frames of 417 bytes at 128 kbps
        {"audio/sampleRate", 44100}, {"audio/channelMode", channelModeName(kJointStereo)},
        {"audio/channels", 2}, {"audio/sampleSize", null}, {"audio/lame", ""},
        // No tag at all.
        {"v1", null}, {"v2", null}, {"v2Version", 0}, {"versions", ""}}},
      {"lame.mp3", lameFile(), {{"audio/lame", "LAME3.100"}}},
      {"mpeg2.mp3", mpegFile(kMpeg2, 8, 3),
       {{"audio/mpegVersion", "2"}, {"audio/sampleRate", 22050}, {"audio/channels", 1}}},
      {"mpeg25.mp3", mpegFile(kMpeg25, 8, 3),
       {{"audio/mpegVersion", "2.5"}, {"audio/sampleRate", 11025}}},
      {"title.mp3",
       mp3File({Id3v2Builder(3).text("TIT2", Enc::Latin1, "Only a title").build(), cbrAudio(20), {}, {}}),
       {{"v2/title", "Only a title"}, {"v2/track", null}, {"v2/tracks", null}, {"v2/set", null},
        {"v2/sets", null}, {"v2/artist", ""}, {"v2/picdata", QJsonArray()},
        {"v2/compilation", false}, {"v1", null}, {"versions", "V2.3"}}},
      {"v24.mp3", rarerFieldsFile(),
       {{"v2Version", 4}, {"v2/title", "\xE2\x99\xAB note"}, {"v2/year", "2004"},
        {"v2/popularity/email", "me@example.org"}, {"v2/popularity/rate", 196},
        {"v2/popularity/counter", "42"}, {"v2/uniqueid/owner", "http://example.org"},
        {"v2/uniqueid/data", "01abff"}}},
      {"v1.mp3", mp3File({{}, cbrAudio(50), {}, richV1Tag()}),
       {{"v2", null}, {"v2Version", 0}, {"versions", "V1"}, {"v1/genreName", QString::fromUtf8(genreName(17).data(), static_cast<qsizetype>(genreName(17).size()))}}},
      {"latin1.mp3", latin1V1File(), {{"v1/title", "\xC3\xA9t\xC3\xA9"}, {"v1/track", null}}},
      {"sound.aif", aiffFile(),
       {{"kind", "aiff"}, {"v1", null}, {"v2/title", "In a chunk"}, {"audio/mpegVersion", null},
        {"audio/layer", null}, {"audio/sampleRate", 44100}, {"audio/channels", 2},
        {"audio/sampleSize", 16}, {"audio/duration", 3}, {"audio/bitrate", 16 * 2 * 44100 / 1000}}},
      {"clip.tdf", Id3v2Builder(3).text("TPE1", Enc::Latin1, "Saved artist").build(),
       {{"kind", "tdf"}, {"v2/artist", "Saved artist"}, {"audio", null}, {"error", QJsonValue(QJsonValue::Undefined)}}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    ExitCode code{};
    const QJsonArray reports = showJson(qpaths({dir.write(row.name, row.bytes)}), &code);
    EXPECT_EQ(code, ExitCode::Ok);
    ASSERT_EQ(reports.size(), 1);
    for (const auto& [path, expected] : row.values) EXPECT_EQ(at(reports[0], path), expected) << path;
  }
}

// A file that cannot be read gives an object of its path and the cause, and
// the run goes on with the next file.
TEST_F(ShowJsonTest, AFileThatCannotBeReadGivesItsCause) {
  const struct {
    const char* name;
    std::optional<Bytes> bytes;  // none: no such file
    const char* cause;
  } rows[] = {
      {"missing.mp3", std::nullopt, "Failed to open the file"},
      {"missing.mp3", std::nullopt, "No such file or directory"},
      {"notes.txt", Bytes{'h', 'i'}, "not a track"},
      {"garbage.mp3", Bytes(100, 0x41), "File is not a valid MP3 file"},
      {"movie.mp3", Bytes{0, 0, 0, 0x20, 'f', 't', 'y', 'p', 'i', 's', 'o', 'm'}, "MP4"},
      {"bad.aif", Bytes(64, 0x00), "File is not a valid AIFF file"},
      {"tagonly.mp3", Id3v2Builder(3).text("TIT2", Enc::Latin1, "No audio").build(), ""},
  };
  const std::string good = dir.write("good.mp3", cbrAudio(20));
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const std::string path = row.bytes ? dir.write(row.name, *row.bytes) : dir.file(row.name);
    ExitCode code{};
    const QJsonArray reports = showJson(qpaths({path, good}), &code);
    EXPECT_EQ(code, ExitCode::Failure);
    ASSERT_EQ(reports.size(), 2);
    const QJsonObject error = reports[0].toObject();
    EXPECT_EQ(keysOf(error), (std::set<std::string>{"path", "error"}));
    EXPECT_EQ(str(error["path"]), path);
    EXPECT_NE(str(error["error"]).find(row.cause), std::string::npos) << str(error["error"]);
    EXPECT_FALSE(str(error["error"]).empty());
    EXPECT_EQ(str(reports[1].toObject()["kind"]), "mp3");
  }
  // The cause is the message alone, without the log's timestamp.
  EXPECT_EQ(str(showJson(qpaths({dir.file("gone.mp3")}))[0].toObject()["error"]).rfind("Failed", 0), 0u);
}

}  // namespace
}  // namespace melos::test
