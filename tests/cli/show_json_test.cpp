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

class ShowJsonTest : public ::testing::Test {
 protected:
  TempDir dir;
};

TEST_F(ShowJsonTest, TaggedMp3ShowsEveryPartOfTheTrack) {
  const std::string path =
      dir.write("rich.mp3", mp3File({richV23Tag(), cbrAudio(500), {}, richV1Tag()}));
  ExitCode code{};
  const QJsonArray reports = showJson(qpaths({path}), &code);
  EXPECT_EQ(code, ExitCode::Ok);
  ASSERT_EQ(reports.size(), 1);
  const QJsonObject track = reports[0].toObject();

  EXPECT_EQ(keysOf(track), (std::set<std::string>{"path", "kind", "readOnly", "fileSize", "versions",
                                                  "v2Version", "v1", "v2", "audio"}));
  EXPECT_EQ(str(track["path"]), path);
  EXPECT_EQ(str(track["kind"]), "mp3");
  EXPECT_EQ(track["fileSize"].toInteger(), static_cast<qint64>(readFile(path).size()));
  EXPECT_EQ(str(track["versions"]), "V1 and V2.3");
  EXPECT_EQ(track["v2Version"].toInt(), 3);
  EXPECT_TRUE(track["readOnly"].isBool());

  const QJsonObject v1 = track["v1"].toObject();
  EXPECT_EQ(str(v1["title"]), "V1 Title");
  EXPECT_EQ(str(v1["artist"]), "V1 Artist");
  EXPECT_EQ(str(v1["album"]), "V1 Album");
  EXPECT_EQ(str(v1["year"]), "1999");
  EXPECT_EQ(str(v1["comment"]), "V1 comment");
  EXPECT_EQ(v1["track"].toInt(), 7);
  EXPECT_EQ(v1["genre"].toInt(), 17);
  EXPECT_EQ(str(v1["genreName"]), "Rock");

  const QJsonObject v2 = track["v2"].toObject();
  EXPECT_EQ(str(v2["title"]), "Caf\xC3\xA9 Song");
  EXPECT_EQ(str(v2["artist"]), "\xE6\x97\xA5\xE6\x9C\xAC Artist");
  EXPECT_EQ(str(v2["album"]), "The Album");
  EXPECT_EQ(str(v2["year"]), "2001");
  EXPECT_EQ(v2["track"].toInt(), 3);
  EXPECT_EQ(v2["tracks"].toInt(), 12);
  EXPECT_EQ(v2["set"].toInt(), 1);
  EXPECT_EQ(v2["sets"].toInt(), 2);
  EXPECT_EQ(str(v2["genre"]), "Rock");
  EXPECT_EQ(str(v2["comment"]), "A comment");
  const QJsonArray pictures = v2["picdata"].toArray();
  ASSERT_EQ(pictures.size(), 1);
  EXPECT_EQ(str(pictures[0].toObject()["type"]), "jpeg");
  EXPECT_EQ(pictures[0].toObject()["size"].toInteger(), static_cast<qint64>(kPictureSize));
  const QJsonArray userTexts = v2["usertext"].toArray();
  ASSERT_EQ(userTexts.size(), 1);
  EXPECT_EQ(str(userTexts[0].toObject()["description"]), "MOOD NOTE");
  EXPECT_EQ(str(userTexts[0].toObject()["value"]), "calm");
}

TEST_F(ShowJsonTest, AudioFactsOfAFullScan) {
  const std::string path = dir.write("cbr.mp3", mp3File({{}, cbrAudio(500), {}, {}}));
  const QJsonObject audio = showJson(qpaths({path}))[0].toObject()["audio"].toObject();
  EXPECT_EQ(str(audio["mpegVersion"]), "1");
  EXPECT_EQ(audio["layer"].toInt(), 3);
  EXPECT_EQ(audio["bitrate"].toInt(), 128);
  EXPECT_EQ(str(audio["bitrateText"]), "128 kbps (CBR)");
  EXPECT_FALSE(audio["vbr"].toBool(true));
  EXPECT_FALSE(audio["estimated"].toBool(true));
  EXPECT_EQ(audio["frames"].toInteger(), 500);
  // 500 frames of 417 bytes at 128 kbps.
  EXPECT_EQ(audio["duration"].toInteger(), 500 * 417 * 8 / 128000);
  EXPECT_EQ(audio["sampleRate"].toInteger(), 44100);
  EXPECT_EQ(str(audio["channelMode"]), channelModeName(kJointStereo));
  EXPECT_EQ(audio["channels"].toInt(), 2);
  EXPECT_TRUE(audio["sampleSize"].isNull());
  EXPECT_EQ(str(audio["lame"]), "");
}

TEST_F(ShowJsonTest, EncoderNameFromTheLameHeader) {
  MpegStream stream;
  stream.header.channelMode = 1;
  stream.frames = 30;
  stream.xing = true;
  stream.xingHeader.lame = "LAME3.100";
  const std::string path = dir.write("lame.mp3", mpegStream(stream));
  const QJsonObject audio = showJson(qpaths({path}))[0].toObject()["audio"].toObject();
  EXPECT_EQ(str(audio["lame"]), "LAME3.100");
}

TEST_F(ShowJsonTest, MpegVersionsAreNamed) {
  MpegHeader header;
  header.version = kMpeg2;
  header.bitrateIndex = 8;     // 64 kbps
  header.sampleRateIndex = 0;  // 22050 Hz
  header.channelMode = 3;      // mono
  const std::string mpeg2 = dir.write("mpeg2.mp3", cbrStream(header, 100));
  header.version = kMpeg25;   // 11025 Hz
  const std::string mpeg25 = dir.write("mpeg25.mp3", cbrStream(header, 100));
  const QJsonArray reports = showJson(qpaths({mpeg2, mpeg25}));
  ASSERT_EQ(reports.size(), 2);
  const QJsonObject audio2 = reports[0].toObject()["audio"].toObject();
  EXPECT_EQ(str(audio2["mpegVersion"]), "2");
  EXPECT_EQ(audio2["sampleRate"].toInteger(), 22050);
  EXPECT_EQ(audio2["channels"].toInt(), 1);
  const QJsonObject audio25 = reports[1].toObject()["audio"].toObject();
  EXPECT_EQ(str(audio25["mpegVersion"]), "2.5");
  EXPECT_EQ(audio25["sampleRate"].toInteger(), 11025);
}

TEST_F(ShowJsonTest, V2ObjectHasOneKeyPerTagDataField) {
  const std::string path = dir.write("t.mp3", mp3File({richV23Tag(), cbrAudio(20), {}, {}}));
  const QJsonObject v2 = showJson(qpaths({path}))[0].toObject()["v2"].toObject();
  const std::set<std::string> expected{
      "title",     "artist",      "album",          "year",        "comment",     "composer",
      "origArtist", "copyright",  "url",            "artisturl",   "encodedBy",   "track",
      "tracks",    "genre",       "compilation",    "musiccdid",   "grouping",    "picdata",
      "lyrics",    "conductor",   "lyricist",       "publisher",   "orchestra",   "content",
      "subtitle",  "encsettings", "usertext",       "set",         "sets",        "isrc",
      "releasetime", "recordtime", "bpm",           "initialkey",  "popularity",  "podcast",
      "podcastid", "podcastfeed", "podcastdesc",    "privdata",    "advisory",    "producednotice",
      "mood",      "iswc",        "uniqueid"};
  EXPECT_EQ(expected.size(), 45u);
  EXPECT_EQ(keysOf(v2), expected);
  EXPECT_EQ(keysOf(v2["popularity"].toObject()),
            (std::set<std::string>{"email", "rate", "counter"}));
  EXPECT_EQ(keysOf(v2["uniqueid"].toObject()), (std::set<std::string>{"owner", "data"}));
}

TEST_F(ShowJsonTest, UnsetNumbersAreNullAndEmptyTextsEmpty) {
  const Bytes tag = Id3v2Builder(3).text("TIT2", Enc::Latin1, "Only a title").build();
  const std::string path = dir.write("title.mp3", mp3File({tag, cbrAudio(20), {}, {}}));
  const QJsonObject track = showJson(qpaths({path}))[0].toObject();
  const QJsonObject v2 = track["v2"].toObject();
  EXPECT_EQ(str(v2["title"]), "Only a title");
  for (const char* key : {"track", "tracks", "set", "sets"}) EXPECT_TRUE(v2[key].isNull()) << key;
  EXPECT_EQ(str(v2["artist"]), "");
  EXPECT_EQ(v2["picdata"].toArray().size(), 0);
  EXPECT_FALSE(v2["compilation"].toBool(true));
  EXPECT_TRUE(track["v1"].isNull());
  EXPECT_EQ(str(track["versions"]), "V2.3");
}

TEST_F(ShowJsonTest, RarerFieldsKeepTheirForm) {
  const Bytes tag = Id3v2Builder(4)
                        .text("TIT2", Enc::Utf8, "\xE2\x99\xAB note")
                        .text("TDRC", Enc::Latin1, "2004-05-06T07:08")
                        .frame(popularityFrame("me@example.org", 196, 42))
                        .frame(uniqueIdFrame("http://example.org", {0x01, 0xAB, 0xFF}))
                        .build();
  const std::string path = dir.write("v24.mp3", mp3File({tag, cbrAudio(20), {}, {}}));
  const QJsonObject track = showJson(qpaths({path}))[0].toObject();
  EXPECT_EQ(track["v2Version"].toInt(), 4);
  const QJsonObject v2 = track["v2"].toObject();
  EXPECT_EQ(str(v2["title"]), "\xE2\x99\xAB note");
  EXPECT_EQ(str(v2["year"]), "2004");
  const QJsonObject popularity = v2["popularity"].toObject();
  EXPECT_EQ(str(popularity["email"]), "me@example.org");
  EXPECT_EQ(popularity["rate"].toInt(), 196);
  EXPECT_EQ(str(popularity["counter"]), "42");
  const QJsonObject unique = v2["uniqueid"].toObject();
  EXPECT_EQ(str(unique["owner"]), "http://example.org");
  EXPECT_EQ(str(unique["data"]), "01abff");
}

TEST_F(ShowJsonTest, UntaggedMp3HasNeitherTag) {
  const std::string path = dir.write("plain.mp3", cbrAudio(50));
  ExitCode code{};
  const QJsonObject track = showJson(qpaths({path}), &code)[0].toObject();
  EXPECT_EQ(code, ExitCode::Ok);
  EXPECT_TRUE(track["v1"].isNull());
  EXPECT_TRUE(track["v2"].isNull());
  EXPECT_EQ(track["v2Version"].toInt(), 0);
  EXPECT_EQ(str(track["versions"]), "");
}

TEST_F(ShowJsonTest, V1OnlyMp3) {
  const std::string path = dir.write("v1.mp3", mp3File({{}, cbrAudio(50), {}, richV1Tag()}));
  const QJsonObject track = showJson(qpaths({path}))[0].toObject();
  EXPECT_TRUE(track["v2"].isNull());
  EXPECT_EQ(track["v2Version"].toInt(), 0);
  EXPECT_EQ(str(track["versions"]), "V1");
  EXPECT_EQ(str(track["v1"].toObject()["genreName"]), std::string(genreName(17)));
}

TEST_F(ShowJsonTest, Latin1TextsBecomeUtf8) {
  Id3v1Fields fields;
  fields.title = "\xE9t\xE9";  // Latin-1 bytes
  fields.genre = 17;
  const std::string path = dir.write("latin1.mp3", mp3File({{}, cbrAudio(20), {}, id3v1Tag(fields)}));
  const QJsonObject v1 = showJson(qpaths({path}))[0].toObject()["v1"].toObject();
  EXPECT_EQ(str(v1["title"]), "\xC3\xA9t\xC3\xA9");
  EXPECT_TRUE(v1["track"].isNull());
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

TEST_F(ShowJsonTest, AiffAudioComesFromTheCommChunk) {
  const Bytes tag = Id3v2Builder(4).text("TIT2", Enc::Latin1, "In a chunk").build();
  const Bytes aiff = AiffBuilder("AIFF")
                         .chunk(commChunk(2, 3 * 44100, 16, 44100.0))
                         .chunk(ssndChunk(Bytes(64, 0)))
                         .chunk(id3Chunk(tag))
                         .build();
  const std::string path = dir.write("sound.aif", aiff);
  ExitCode code{};
  const QJsonObject track = showJson(qpaths({path}), &code)[0].toObject();
  EXPECT_EQ(code, ExitCode::Ok);
  EXPECT_EQ(str(track["kind"]), "aiff");
  EXPECT_TRUE(track["v1"].isNull());
  EXPECT_EQ(str(track["v2"].toObject()["title"]), "In a chunk");
  const QJsonObject audio = track["audio"].toObject();
  EXPECT_TRUE(audio["mpegVersion"].isNull());
  EXPECT_TRUE(audio["layer"].isNull());
  EXPECT_EQ(audio["sampleRate"].toInteger(), 44100);
  EXPECT_EQ(audio["channels"].toInt(), 2);
  EXPECT_EQ(audio["sampleSize"].toInt(), 16);
  EXPECT_EQ(audio["duration"].toInteger(), 3);
  EXPECT_EQ(audio["bitrate"].toInt(), 16 * 2 * 44100 / 1000);
}

TEST_F(ShowJsonTest, TagDataFileOpensWithoutAudio) {
  const Bytes tag = Id3v2Builder(3).text("TPE1", Enc::Latin1, "Saved artist").build();
  const std::string path = dir.write("clip.tdf", tag);
  ExitCode code{};
  const QJsonObject track = showJson(qpaths({path}), &code)[0].toObject();
  EXPECT_EQ(code, ExitCode::Ok);
  EXPECT_FALSE(track.contains("error")) << str(track["error"]);
  EXPECT_EQ(str(track["kind"]), "tdf");
  EXPECT_EQ(str(track["v2"].toObject()["artist"]), "Saved artist");
  EXPECT_TRUE(track["audio"].isNull());
}

TEST_F(ShowJsonTest, MissingFileGivesAnErrorObjectAndTheRunGoesOn) {
  const std::string good = dir.write("good.mp3", cbrAudio(20));
  const std::string missing = dir.file("missing.mp3");
  ExitCode code{};
  const QJsonArray reports = showJson(qpaths({missing, good}), &code);
  EXPECT_EQ(code, ExitCode::Failure);
  ASSERT_EQ(reports.size(), 2);
  const QJsonObject error = reports[0].toObject();
  EXPECT_EQ(keysOf(error), (std::set<std::string>{"path", "error"}));
  EXPECT_EQ(str(error["path"]), missing);
  EXPECT_NE(str(error["error"]).find("Failed to open the file"), std::string::npos)
      << str(error["error"]);
  EXPECT_NE(str(error["error"]).find("No such file or directory"), std::string::npos);
  // The cause is the message alone, without the log's timestamp.
  EXPECT_EQ(str(error["error"]).rfind("Failed", 0), 0u) << str(error["error"]);
  EXPECT_EQ(str(reports[1].toObject()["kind"]), "mp3");
}

TEST_F(ShowJsonTest, NameThatIsNoTrackGivesAnErrorObject) {
  const std::string notes = dir.write("notes.txt", {'h', 'i'});
  ExitCode code{};
  const QJsonArray reports = showJson(qpaths({notes}), &code);
  EXPECT_EQ(code, ExitCode::Failure);
  ASSERT_EQ(reports.size(), 1);
  EXPECT_EQ(keysOf(reports[0].toObject()), (std::set<std::string>{"path", "error"}));
  EXPECT_NE(str(reports[0].toObject()["error"]).find("not a track"), std::string::npos);
}

TEST_F(ShowJsonTest, ContainerCheckFailureIsTheCause) {
  const std::string garbage = dir.write("garbage.mp3", Bytes(100, 0x41));
  const std::string mp4 = dir.write("movie.mp3", {0, 0, 0, 0x20, 'f', 't', 'y', 'p', 'i', 's', 'o', 'm'});
  const std::string notAiff = dir.write("bad.aif", Bytes(64, 0x00));
  ExitCode code{};
  const QJsonArray reports = showJson(qpaths({garbage, mp4, notAiff}), &code);
  EXPECT_EQ(code, ExitCode::Failure);
  ASSERT_EQ(reports.size(), 3);
  EXPECT_NE(str(reports[0].toObject()["error"]).find("File is not a valid MP3 file"),
            std::string::npos);
  EXPECT_NE(str(reports[1].toObject()["error"]).find("MP4"), std::string::npos);
  EXPECT_NE(str(reports[2].toObject()["error"]).find("File is not a valid AIFF file"),
            std::string::npos);
}

TEST_F(ShowJsonTest, TagWithoutAudioIsAnError) {
  const Bytes tag = Id3v2Builder(3).text("TIT2", Enc::Latin1, "No audio").build();
  const std::string path = dir.write("tagonly.mp3", tag);
  ExitCode code{};
  const QJsonArray reports = showJson(qpaths({path}), &code);
  EXPECT_EQ(code, ExitCode::Failure);
  ASSERT_EQ(reports.size(), 1);
  EXPECT_FALSE(str(reports[0].toObject()["error"]).empty());
}

}  // namespace
}  // namespace melos::test
