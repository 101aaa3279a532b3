// The XML export: escaping, the value elements, pictures, and documents read
// back with a real XML parser.

#include "operations/xml_export.h"

#include <gtest/gtest.h>

#include <QByteArray>
#include <QXmlStreamReader>
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

// What Qt's reader finds: "<version> <name>" gives a value's text, with
// " type" added its type; a picture is its content type, size and decoded data.
struct Document {
  std::string file, error;
  std::map<std::string, std::string> values;
  int v2Count = 0;
  std::vector<std::pair<std::string, QByteArray>> pictures;
};

Document readDocument(const std::string& path) {
  QXmlStreamReader reader(QByteArray::fromStdString(contents(path)));
  const auto attribute = [&](const char* name) {
    return reader.attributes().value(QString::fromLatin1(name)).toString().toStdString();
  };
  Document document;
  std::string block;
  while (!reader.atEnd()) {
    if (reader.readNext() != QXmlStreamReader::StartElement) continue;
    const QString element = reader.name().toString();
    if (element == u"file") document.file = attribute("path") + "|" + attribute("name");
    if (element == u"id3") block = attribute("version");
    if (element == u"value") {
      const std::string key = block + " " + attribute("name");
      document.values[key + " type"] = attribute("type");
      document.values[key] = reader.readElementText().toStdString();
      document.v2Count += block == "2";
    }
    if (element == u"picture") {
      const std::string kind = attribute("content-type") + " " + attribute("size");
      document.pictures.emplace_back(kind, QByteArray::fromBase64(reader.readElementText().toLatin1()));
    }
  }
  if (reader.hasError()) document.error = reader.errorString().toStdString();
  return document;
}

TEST(XmlExport, Base64EscapingAndValueElements) {
  for (const auto& [data, encoded] : std::map<std::string, std::string>{
           {"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foo", "Zm9v"}, {"foob", "Zm9vYg=="}, {"fooba", "Zm9vYmE="},
           {"foobar", "Zm9vYmFy"}, {"\xFF\xFE", "//4="}}) {
    EXPECT_EQ(base64Encode({reinterpret_cast<const uint8_t*>(data.data()), data.size()}), encoded);
    EXPECT_EQ(base64Length(data.size()), encoded.size());
  }
  const struct {
    const char* text;
    bool multiline;
    const char* expected;
  } cases[] = {{"<b&", false, "&lt;b&amp;"}, {"'a' \"b\" >", false, "&apos;a&apos; &quot;b&quot; &gt;"},
               {"caf\xC3\xA9", false, "caf\xC3\xA9"}, {"a\r\nb", false, "a\r\nb"},  // single-line values keep breaks
               {"a\r\nb\n\nc", true, "a</br>b</br>c"}, {"a\n\rb\r\rc\nd\re", true, "a</br>b</br>c</br>d</br>e"},
               {"a\n\n\nb", true, "a</br></br>b"}, {"\nx\n", true, "</br>x</br>"}};
  for (const auto& c : cases) EXPECT_EQ(xmlEscape(c.text, c.multiline), c.expected) << c.text;
  EXPECT_EQ(xmlValueElement("Track", "7", kXmlLong), "\t\t<value name=\"Track\" type=\"long\">7</value>\n");
  EXPECT_EQ(xmlValueElement("Podcast", "true", kXmlBool), "\t\t<value name=\"Podcast\" type=\"bool\">true</value>\n");
  EXPECT_EQ(xmlValueElement("Comment", "a\n<", kXmlString, true),
            "\t\t<value name=\"Comment\" type=\"string\">a</br>&lt;</value>\n");
  EXPECT_EQ(xmlValueElement("X", "y", 3) + xmlValueElement("X", "y", -1), "");
}

TEST(XmlExport, DocumentsReadBackWithEveryValueAndPicture) {
  TempDir dir;
  const std::string out = dir.file("tag.xml");
  ID3Tag track = test::exportTrack("/music/Rock and Roll/song.mp3");
  track.v1.title = "V1 <Title>";
  // One byte cannot be encoded into twice its size; two bytes can.
  for (const PicData& picture : {PicData(Bytes(300, 0xAB), "jpeg"), PicData({9}, "jpeg"), PicData({1, 2}, "gif")})
    track.tagData.picdata.push_back(picture);
  test::LogCapture log;
  ASSERT_EQ(exportTagAsXml(&track, out, 2, true, v1XmlBlock(track.v1)), 0);
  EXPECT_TRUE(log.has(3, "Failed to create the XML image base 64")) << log.dump();
  const std::string text = contents(out);
  EXPECT_TRUE(text.starts_with("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- Created by Meloscribe version "));
  EXPECT_NE(text.find("-->\n<tag version=\"2.0\">\n"), std::string::npos);
  // Lines of at most 128 characters, the encoding checked against Qt's own.
  const std::string encoded = QByteArray(300, static_cast<char>(0xAB)).toBase64().toStdString();
  std::string lines = "\t\t<picture content-encoding=\"base64\" content-type=\"image/jpeg\" size=\"300\">\n";
  for (size_t at = 0; at < encoded.size(); at += 128) lines += "\t\t\t" + encoded.substr(at, 128) + "\n";
  EXPECT_NE(text.find(lines + "\t\t</picture>\n"), std::string::npos) << text;

  Document document = readDocument(out);
  ASSERT_EQ(document.error, "") << text;
  EXPECT_EQ(document.file, "/music/Rock and Roll|song.mp3");
  EXPECT_EQ(document.v2Count, 39);
  for (const auto& [name, value] : std::map<std::string, std::string>{
           {"1 Title", "V1 <Title>"}, {"1 Track", "0"}, {"1 Track type", "long"}, {"2 Track", "3"},
           {"2 Track type", "long"}, {"2 Title", "Caf\xC3\xA9 <Live> & \"More\""}, {"2 Compilation type", "bool"},
           {"2 Artist", "\xE6\x97\xA5\xE6\x9C\xAC Artist"}, {"2 Compilation", "true"}, {"2 Advisory", "Explicit lyrics"},
           {"2 Record time", "2000-12-31 23:59"}, {"2 UFID", "http://musicbrainz.org"}, {"2 UFID data", "abc123"}})
    EXPECT_EQ(document.values[name], value) << name;
  ASSERT_EQ(document.pictures.size(), 2u);
  EXPECT_EQ(document.pictures[0], std::pair(std::string("image/jpeg 300"), QByteArray(300, static_cast<char>(0xAB))));
  EXPECT_EQ(document.pictures[1], std::pair(std::string("image/gif 2"), QByteArray("\x01\x02")));

  // Version 1 leaves out the later fields; pictures come only when asked.
  ASSERT_EQ(exportTagAsXml(&track, out, 1, false), 0);
  document = readDocument(out);
  EXPECT_EQ(document.v2Count, 33);
  EXPECT_EQ(document.values.count("2 Advisory") + document.pictures.size(), 0u);
  EXPECT_NE(contents(out).find("<tag version=\"1.0\">"), std::string::npos);
}

TEST(XmlExport, ValuesOfTheDocument) {
  const struct {
    const char* name;
    std::function<void(ID3Tag&)> setUp;
    std::vector<std::string> lines;
  } rows[] = {
      {"unset numbers are zero",
       [](ID3Tag& t) {
         t.tagData.track = t.tagData.tracks = t.tagData.set = kUnsetNumber;
         t.tagData.advisory = 7;
         t.tagData.uniqueid = {};
       },
       {"\"Track\" type=\"long\">0<", "\"Tracks\" type=\"long\">0<", "\"Set/Disc\" type=\"long\">0<",
        "\"Advisory\" type=\"string\"><", "\"UFID\" type=\"string\">Default<"}},
      // Only the comment is a multi-line value.
      {"multi-line values fold their breaks",
       [](ID3Tag& t) {
         t.tagData.comment = UnicodeText::latin1("a\r\nb\n\nc");
         t.tagData.title = UnicodeText::latin1("one\ntwo");
       },
       {"\"Comment\" type=\"string\">a</br>b</br>c<", "\"Title\" type=\"string\">one\ntwo<"}},
      {"file name and folder go in as they are", [](ID3Tag& t) { t.setPath("/music/Rock & Roll/a<b>.mp3"); },
       {"\t<file name=\"a<b>.mp3\" path=\"/music/Rock & Roll\" />\n"}},
  };
  for (const auto& row : rows) {
    TempDir dir;
    ID3Tag track = test::exportTrack(dir.file("song.mp3"));
    row.setUp(track);
    ASSERT_EQ(exportTagAsXml(&track, dir.file("tag.xml"), 2, false), 0);
    for (const std::string& line : row.lines) EXPECT_NE(contents(dir.file("tag.xml")).find(line), std::string::npos) << row.name << ": " << line;
  }
}

TEST(XmlExport, WithoutV2TagOnlyThePrologueAndFailures) {
  TempDir dir;
  const std::string out = dir.write("tag.xml", Bytes(5000, 'x'));  // emptied first
  ID3Tag track = test::exportTrack(dir.file("song.mp3"));
  track.hasV2Tag = false;
  ASSERT_EQ(exportTagAsXml(&track, out, 2, true, "\t<id3 version=\"1\">\n\t</id3>\n"), 0);
  const std::string text = contents(out);
  EXPECT_TRUE(text.starts_with("<?xml") && std::count(text.begin(), text.end(), '\n') == 2) << text;
  EXPECT_EQ(exportTagAsXml(nullptr, "unused.xml", 2, false), kExportNoTrack);
  EXPECT_EQ(exportTagAsXml(&track, dir.file("missing/tag.xml"), 2, false), ENOENT);
}

}  // namespace
}  // namespace melos
