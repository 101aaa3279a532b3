// The XML export: escaping, the value elements, pictures, and documents read
// back with a real XML parser.

#include "operations/xml_export.h"

#include <gtest/gtest.h>

#include <QByteArray>
#include <QXmlStreamReader>
#include <algorithm>
#include <cerrno>
#include <functional>
#include <map>

#include "operations/base64.h"
#include "operations/export_values.h"
#include "tests/operations/export_fixtures.h"
#include "tests/support/log_capture.h"
#include "tests/support/temp_dir.h"

namespace melos {
namespace {

using test::TempDir;

std::string contents(const std::string& path) {
  const Bytes bytes = test::readFile(path);
  return std::string(bytes.begin(), bytes.end());
}

struct Value {
  std::string block;  // the id3 version
  std::string name;
  std::string type;
  std::string text;
};

struct Picture {
  std::string type;
  std::string size;
  QByteArray data;
};

struct Document {
  bool wellFormed = false;
  std::string error;
  std::string fileName, filePath;
  std::vector<Value> values;
  std::vector<Picture> pictures;
};

Document readDocument(const std::string& path) {
  const Bytes bytes = test::readFile(path);
  QXmlStreamReader reader(QByteArray(reinterpret_cast<const char*>(bytes.data()),
                                     static_cast<qsizetype>(bytes.size())));
  Document document;
  std::string block;
  while (!reader.atEnd()) {
    if (reader.readNext() != QXmlStreamReader::StartElement) continue;
    const auto attribute = [&](const char* name) {
      return reader.attributes().value(QString::fromLatin1(name)).toString().toStdString();
    };
    const QString element = reader.name().toString();
    if (element == u"file") {
      document.fileName = attribute("name");
      document.filePath = attribute("path");
    } else if (element == u"id3") {
      block = attribute("version");
    } else if (element == u"value") {
      Value value{block, attribute("name"), attribute("type"), {}};
      value.text = reader.readElementText().toStdString();
      document.values.push_back(value);
    } else if (element == u"picture") {
      Picture picture{attribute("content-type"), attribute("size"), {}};
      picture.data = QByteArray::fromBase64(reader.readElementText().toLatin1());
      document.pictures.push_back(picture);
    }
  }
  document.wellFormed = !reader.hasError();
  document.error = reader.errorString().toStdString();
  return document;
}

TEST(XmlExportTest, Base64) {
  struct Case {
    const char* data;
    const char* encoded;
  } cases[] = {{"", ""},         {"f", "Zg=="},         {"fo", "Zm8="},        {"foo", "Zm9v"},
               {"foob", "Zm9vYg=="}, {"fooba", "Zm9vYmE="}, {"foobar", "Zm9vYmFy"}, {"\xFF\xFE", "//4="}};
  for (const Case& c : cases) {
    const std::string_view data(c.data);
    EXPECT_EQ(base64Encode({reinterpret_cast<const uint8_t*>(data.data()), data.size()}), c.encoded);
    EXPECT_EQ(base64Length(data.size()), std::string_view(c.encoded).size());
  }
}

TEST(XmlExportTest, Escaping) {
  struct Case {
    const char* text;
    bool multiline;
    const char* expected;
  } cases[] = {
      {"<b&", false, "&lt;b&amp;"},
      {"'a' \"b\" >", false, "&apos;a&apos; &quot;b&quot; &gt;"},
      {"caf\xC3\xA9", false, "caf\xC3\xA9"},
      {"a\r\nb", false, "a\r\nb"},  // single-line values keep their breaks
      {"a\r\nb\n\nc", true, "a</br>b</br>c"},
      {"a\n\rb\r\rc\nd\re", true, "a</br>b</br>c</br>d</br>e"},
      {"a\n\n\nb", true, "a</br></br>b"},
      {"\nx\n", true, "</br>x</br>"},
  };
  for (const Case& c : cases) EXPECT_EQ(xmlEscape(c.text, c.multiline), c.expected) << c.text;
}

TEST(XmlExportTest, ValueElements) {
  EXPECT_EQ(xmlValueElement("Title", "<b&", kXmlString),
            "\t\t<value name=\"Title\" type=\"string\">&lt;b&amp;</value>\n");
  EXPECT_EQ(xmlValueElement("Podcast", "true", kXmlBool),
            "\t\t<value name=\"Podcast\" type=\"bool\">true</value>\n");
  EXPECT_EQ(xmlValueElement("Track", "7", kXmlLong), "\t\t<value name=\"Track\" type=\"long\">7</value>\n");
  EXPECT_EQ(xmlValueElement("Comment", "a\nb", kXmlString, true),
            "\t\t<value name=\"Comment\" type=\"string\">a</br>b</value>\n");
  EXPECT_EQ(xmlValueElement("X", "y", 3), "");
  EXPECT_EQ(xmlValueElement("X", "y", -1), "");
}

TEST(XmlExportTest, V1Block) {
  V1Tag tag;
  tag.title = "T\xE9";
  tag.genre = 17;
  EXPECT_EQ(v1XmlBlock(tag),
            "\t<id3 version=\"1\">\n"
            "\t\t<value name=\"Track\" type=\"long\">0</value>\n"
            "\t\t<value name=\"Title\" type=\"string\">T\xC3\xA9</value>\n"
            "\t\t<value name=\"Artist\" type=\"string\"></value>\n"
            "\t\t<value name=\"Album\" type=\"string\"></value>\n"
            "\t\t<value name=\"Year\" type=\"string\"></value>\n"
            "\t\t<value name=\"Genre\" type=\"long\">17</value>\n"
            "\t\t<value name=\"Comment\" type=\"string\"></value>\n"
            "\t</id3>\n");
  tag.track = 9;
  EXPECT_NE(v1XmlBlock(tag).find("type=\"long\">9<"), std::string::npos);
}

TEST(XmlExportTest, DocumentIsWellFormedWithEveryField) {
  TempDir dir;
  const std::string out = dir.file("tag.xml");
  ID3Tag track = test::exportTrack("/music/Rock and Roll/song.mp3");
  track.v1.title = "V1 <Title>";
  track.v1.track = 7;
  track.tagData.picdata.push_back({Bytes(300, 0xAB), "jpeg"});
  track.tagData.picdata.push_back({Bytes{1, 2, 3, 4, 5}, "png"});
  ASSERT_EQ(exportTagAsXml(&track, out, 2, true, v1XmlBlock(track.v1)), 0);

  const std::string text = contents(out);
  EXPECT_EQ(text.rfind("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- Created by Meloscribe version ", 0), 0u);
  EXPECT_NE(text.find("<tag version=\"2.0\">\n"), std::string::npos);

  const Document document = readDocument(out);
  ASSERT_TRUE(document.wellFormed) << document.error << "\n" << text;
  EXPECT_EQ(document.fileName, "song.mp3");
  EXPECT_EQ(document.filePath, "/music/Rock and Roll");

  const std::vector<std::string> v2Names{
      "Track", "Tracks", "Title", "Artist", "Album", "Year", "Genre", "Comment", "Composer",
      "Copyright", "Original artist", "Encoded by", "URL", "Compilation", "Lyrics", "Conductor",
      "Lyricist", "Orchestra", "Publisher", "Content", "Subtitle", "Set/Disc", "Sets/Discs", "ISRC",
      "Record time", "Release time", "Initial key", "BPM", "Artist URL", "Podcast", "Podcast ID",
      "Podcast feed", "Podcast description", "Advisory", "Produced notice", "Mood", "ISWC", "UFID",
      "UFID data"};
  std::vector<std::string> names;
  std::map<std::string, Value> byName;
  std::map<std::string, std::string> v1;
  for (const Value& value : document.values) {
    if (value.block == "1") {
      v1[value.name] = value.text;
      continue;
    }
    names.push_back(value.name);
    byName[value.name] = value;
  }
  EXPECT_EQ(names, v2Names);
  EXPECT_EQ(v1["Title"], "V1 <Title>");
  EXPECT_EQ(v1["Track"], "7");
  const std::pair<const char*, std::string> texts[] = {
      {"Title", "Caf\xC3\xA9 <Live> & \"More\""}, {"Artist", "\xE6\x97\xA5\xE6\x9C\xAC Artist"},
      {"Compilation", "true"}, {"Record time", "2000-12-31 23:59"}, {"Advisory", "Explicit lyrics"},
      {"UFID", "http://musicbrainz.org"}, {"UFID data", "abc123"}};
  for (const auto& [name, value] : texts) EXPECT_EQ(byName[name].text, value) << name;
  EXPECT_EQ(byName["Track"].type, "long");
  EXPECT_EQ(byName["Compilation"].type, "bool");

  ASSERT_EQ(document.pictures.size(), 2u);
  EXPECT_EQ(document.pictures[0].type, "image/jpeg");
  EXPECT_EQ(document.pictures[0].size, "300");
  EXPECT_EQ(document.pictures[0].data, QByteArray(300, static_cast<char>(0xAB)));
  EXPECT_EQ(document.pictures[1].data, QByteArray("\x01\x02\x03\x04\x05"));
}

TEST(XmlExportTest, PictureLinesHoldAtMost128Characters) {
  TempDir dir;
  const std::string out = dir.file("tag.xml");
  ID3Tag track = test::exportTrack(dir.file("song.mp3"));
  track.tagData.picdata.push_back({Bytes(200, 7), "png"});  // 268 characters: 128, 128, 12
  ASSERT_EQ(exportTagAsXml(&track, out, 2, true), 0);
  const std::string text = contents(out);
  const size_t start = text.find("<picture content-encoding=\"base64\" content-type=\"image/png\" size=\"200\">\n");
  ASSERT_NE(start, std::string::npos) << text;
  const size_t body = text.find('\n', start) + 1;
  const size_t end = text.find("\t\t</picture>\n", body);
  ASSERT_NE(end, std::string::npos);
  std::vector<size_t> lengths;
  for (size_t at = body; at < end; at = text.find('\n', at) + 1) {
    ASSERT_EQ(text.compare(at, 3, "\t\t\t"), 0);
    lengths.push_back(text.find('\n', at) - at - 3);
  }
  EXPECT_EQ(lengths, (std::vector<size_t>{128, 128, 12}));
}

TEST(XmlExportTest, PicturesOnlyWhenAskedAndNotTheTiny) {
  TempDir dir;
  const std::string out = dir.file("tag.xml");
  ID3Tag track = test::exportTrack(dir.file("song.mp3"));
  track.tagData.picdata.push_back({Bytes{9}, "jpeg"});
  track.tagData.picdata.push_back({Bytes{1, 2}, "gif"});
  ASSERT_EQ(exportTagAsXml(&track, out, 2, false), 0);
  EXPECT_EQ(contents(out).find("<picture"), std::string::npos);

  test::LogCapture log;
  ASSERT_EQ(exportTagAsXml(&track, out, 2, true), 0);
  const Document document = readDocument(out);
  ASSERT_TRUE(document.wellFormed) << document.error;
  // One byte cannot be encoded into twice its size; two bytes can.
  ASSERT_EQ(document.pictures.size(), 1u);
  EXPECT_EQ(document.pictures[0].type, "image/gif");
  EXPECT_TRUE(log.has(3, "Failed to create the XML image base 64")) << log.dump();
}

// The lines a document holds for tracks set up one way or another.
TEST(XmlExportTest, ValuesOfTheDocument) {
  const struct {
    const char* name;
    std::function<void(ID3Tag&)> setUp;
    int version;
    std::vector<std::string> lines;
  } rows[] = {
      {"unset numbers are zero",
       [](ID3Tag& t) {
         t.tagData.track = t.tagData.tracks = t.tagData.set = kUnsetNumber;
         t.tagData.advisory = 7;
         t.tagData.uniqueid = {};
       },
       2,
       {"<value name=\"Track\" type=\"long\">0</value>", "<value name=\"Tracks\" type=\"long\">0</value>",
        "<value name=\"Set/Disc\" type=\"long\">0</value>", "<value name=\"Advisory\" type=\"string\"></value>",
        "<value name=\"UFID\" type=\"string\">Default</value>"}},
      // Only the comment is a multi-line value.
      {"multi-line values fold their breaks",
       [](ID3Tag& t) {
         t.tagData.comment = UnicodeText::latin1("a\r\nb\n\nc");
         t.tagData.title = UnicodeText::latin1("one\ntwo");
       },
       2,
       {"<value name=\"Comment\" type=\"string\">a</br>b</br>c</value>",
        "<value name=\"Title\" type=\"string\">one\ntwo</value>"}},
      {"file name and folder go in as they are", [](ID3Tag& t) { t.setPath("/music/Rock & Roll/a<b>.mp3"); }, 2,
       {"\t<file name=\"a<b>.mp3\" path=\"/music/Rock & Roll\" />\n"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    TempDir dir;
    const std::string out = dir.file("tag.xml");
    ID3Tag track = test::exportTrack(dir.file("song.mp3"));
    row.setUp(track);
    ASSERT_EQ(exportTagAsXml(&track, out, row.version, false), 0);
    const std::string text = contents(out);
    for (const std::string& line : row.lines) EXPECT_NE(text.find(line), std::string::npos) << line << "\n" << text;
  }
}

TEST(XmlExportTest, VersionOneLeavesOutTheLaterFields) {
  TempDir dir;
  const std::string out = dir.file("tag.xml");
  const ID3Tag track = test::exportTrack(dir.file("song.mp3"));
  ASSERT_EQ(exportTagAsXml(&track, out, 1, false), 0);
  const Document document = readDocument(out);
  ASSERT_TRUE(document.wellFormed);
  EXPECT_EQ(document.values.size(), 33u);
  EXPECT_EQ(document.values.back().name, "Podcast description");
  EXPECT_NE(contents(out).find("<tag version=\"1.0\">"), std::string::npos);
}

TEST(XmlExportTest, ATrackWithoutV2TagGivesOnlyThePrologue) {
  TempDir dir;
  const std::string out = dir.write("tag.xml", Bytes(5000, 'x'));  // emptied first
  ID3Tag track = test::exportTrack(dir.file("song.mp3"));
  track.hasV2Tag = false;
  ASSERT_EQ(exportTagAsXml(&track, out, 2, true, "\t<id3 version=\"1\">\n\t</id3>\n"), 0);
  const std::string text = contents(out);
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 2);
  EXPECT_EQ(text.rfind("<?xml", 0), 0u);
}

TEST(XmlExportTest, Failures) {
  EXPECT_EQ(exportTagAsXml(nullptr, "unused.xml", 2, false), kExportNoTrack);
  TempDir dir;
  const ID3Tag track = test::exportTrack(dir.file("song.mp3"));
  EXPECT_EQ(exportTagAsXml(&track, dir.file("missing/tag.xml"), 2, false), ENOENT);
}

}  // namespace
}  // namespace melos
