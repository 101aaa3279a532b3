// The XML export: escaping, the value elements, pictures, and documents read
// back with a real XML parser.

#include "operations/xml_export.h"

#include <gtest/gtest.h>

#include <QByteArray>
#include <QXmlStreamReader>
#include <cerrno>
#include <map>

#include "operations/export_values.h"
#include "tests/operations/export_fixtures.h"
#include "tests/support/log_capture.h"
#include "tests/support/temp_dir.h"

namespace melos {
namespace {

using Found = std::map<std::string, std::string>;

std::string contents(const std::string& path) {
  const Bytes bytes = test::readFile(path);
  return std::string(bytes.begin(), bytes.end());
}

// What Qt's reader finds, keyed by the id3 version, the element and its
// attribute values: a value's text, a picture's decoded data.
Found readBack(const std::string& path) {
  QXmlStreamReader reader(QByteArray::fromStdString(contents(path)));
  Found found;
  QString block;
  while (reader.readNext() != QXmlStreamReader::EndDocument && !reader.hasError()) {
    if (!reader.isStartElement() || reader.name() == u"tag") continue;
    QString key = block + reader.name().toString();
    for (const QXmlStreamAttribute& attribute : reader.attributes()) key += " " + attribute.value().toString();
    if (reader.name() == u"id3") block = reader.attributes().value(QStringLiteral("version")).toString() + " ";
    const QString text = reader.name() == u"id3" ? QString() : reader.readElementText();
    found[key.toStdString()] = reader.name() == u"picture" ? QByteArray::fromBase64(text.toLatin1()).toStdString()
                                                            : text.toStdString();
  }
  found["error"] = reader.errorString().toStdString();
  return found;
}

size_t countOf(const Found& found, const std::string& prefix) {
  return std::count_if(found.begin(), found.end(), [&](const auto& entry) { return entry.first.starts_with(prefix); });
}

TEST(XmlExport, EscapingAndValueElements) {
  for (const auto& [text, multiline, expected] : std::initializer_list<std::tuple<const char*, bool, const char*>>{
           {"<b&", false, "&lt;b&amp;"}, {"'a' \"b\" >", false, "&apos;a&apos; &quot;b&quot; &gt;"},
           {"caf\xC3\xA9", false, "caf\xC3\xA9"}, {"a\r\nb", false, "a\r\nb"},  // single-line values keep breaks
           {"a\r\nb\n\nc", true, "a</br>b</br>c"}, {"a\n\rb\r\rc\nd\re", true, "a</br>b</br>c</br>d</br>e"},
           {"a\n\n\nb", true, "a</br></br>b"}, {"\nx\n", true, "</br>x</br>"}})
    EXPECT_EQ(xmlEscape(text, multiline), expected) << text;
  EXPECT_EQ(xmlValueElement("Comment", "a\n<", kXmlString, true),
            "\t\t<value name=\"Comment\" type=\"string\">a</br>&lt;</value>\n");
  EXPECT_EQ(xmlValueElement("X", "y", 3) + xmlValueElement("X", "y", -1), "");
}

TEST(XmlExport, DocumentsReadBackWithEveryValueAndPicture) {
  test::TempDir dir;
  const std::string out = dir.file("tag.xml");
  ID3Tag track = test::exportTrack("/music/Rock and Roll/song.mp3");
  track.v1.title = "V1 <Title>";
  Bytes image(301);
  for (size_t i = 0; i < image.size(); ++i) image[i] = static_cast<uint8_t>(i * 7);
  // One byte cannot be encoded into twice its size; two bytes can.
  for (const PicData& picture : {PicData(image, "jpeg"), PicData({9}, "jpeg"), PicData({1, 2}, "gif")})
    track.tagData.picdata.push_back(picture);
  test::LogCapture log;
  ASSERT_EQ(exportTagAsXml(&track, out, 2, true, v1XmlBlock(track.v1)), 0);
  EXPECT_TRUE(log.has(3, "Failed to create the XML image base 64")) << log.dump();
  const std::string text = contents(out);
  EXPECT_TRUE(text.starts_with("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- Created by Meloscribe version "));
  EXPECT_NE(text.find("-->\n<tag version=\"2.0\">\n"), std::string::npos);
  // Lines of at most 128 characters, the encoding checked against Qt's own.
  const std::string data(image.begin(), image.end()), encoded = QByteArray::fromStdString(data).toBase64().toStdString();
  std::string lines = "\t\t<picture content-encoding=\"base64\" content-type=\"image/jpeg\" size=\"301\">\n";
  for (size_t at = 0; at < encoded.size(); at += 128) lines += "\t\t\t" + encoded.substr(at, 128) + "\n";
  EXPECT_NE(text.find(lines + "\t\t</picture>\n"), std::string::npos) << text;

  Found found = readBack(out);
  for (const auto& [key, value] : Found{
           {"error", ""}, {"file song.mp3 /music/Rock and Roll", ""}, {"1 value Title string", "V1 <Title>"},
           {"1 value Track long", "0"}, {"2 value Track long", "3"}, {"2 value Compilation bool", "true"},
           {"2 value Title string", "Caf\xC3\xA9 <Live> & \"More\""}, {"2 value Advisory string", "Explicit lyrics"},
           {"2 value Artist string", "\xE6\x97\xA5\xE6\x9C\xAC Artist"}, {"2 value Record time string", "2000-12-31 23:59"},
           {"2 value UFID string", "http://musicbrainz.org"}, {"2 value UFID data string", "abc123"},
           {"2 picture base64 image/jpeg 301", data}, {"2 picture base64 image/gif 2", "\x01\x02"}})
    EXPECT_EQ(found[key], value) << key;
  EXPECT_EQ(std::pair(countOf(found, "2 value"), countOf(found, "2 picture")), std::pair(39ul, 2ul));

  // Version 1 leaves out the later fields; pictures come only when asked.
  ASSERT_EQ(exportTagAsXml(&track, out, 1, false), 0);
  found = readBack(out);
  EXPECT_EQ(std::tuple(countOf(found, "2 value"), found.count("2 value Advisory string"), countOf(found, "2 picture")),
            std::tuple(33ul, 0ul, 0ul));
  EXPECT_NE(contents(out).find("<tag version=\"1.0\">"), std::string::npos);
}

TEST(XmlExport, UnsetNumbersAreZeroOnlyTheCommentFoldsItsBreaksAndTheFileGoesInAsItIs) {
  test::TempDir dir;
  ID3Tag track;
  track.hasV2Tag = true;
  track.setPath("/music/Rock & Roll/a<b>.mp3");
  track.tagData.advisory = 7;
  track.tagData.comment = UnicodeText::latin1("a\r\nb\n\nc");
  track.tagData.title = UnicodeText::latin1("one\ntwo");
  ASSERT_EQ(exportTagAsXml(&track, dir.file("tag.xml"), 2, false), 0);
  const std::string text = contents(dir.file("tag.xml"));
  for (const char* line : {"\"Track\" type=\"long\">0<", "\"Tracks\" type=\"long\">0<", "\"Set/Disc\" type=\"long\">0<",
                           "\"Advisory\" type=\"string\"><", "\"UFID\" type=\"string\">Default<",
                           "\"Comment\" type=\"string\">a</br>b</br>c<", "\"Title\" type=\"string\">one\ntwo<",
                           "\t<file name=\"a<b>.mp3\" path=\"/music/Rock & Roll\" />\n"})
    EXPECT_NE(text.find(line), std::string::npos) << line << "\n" << text;
}

TEST(XmlExport, WithoutV2TagOnlyThePrologueAndFailures) {
  test::TempDir dir;
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
