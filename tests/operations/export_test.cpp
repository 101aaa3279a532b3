// The CSV and XML exports: quoting and escaping, the header on a new file
// only, and what Python's csv module and Qt's XML reader read back.

#include <gtest/gtest.h>
#include <unistd.h>

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QXmlStreamReader>
#include <cerrno>
#include <cstdio>
#include <map>

#include "operations/csv_export.h"
#include "operations/export_values.h"
#include "operations/xml_export.h"
#include "tests/support/log_capture.h"
#include "tests/support/temp_dir.h"

// Tags name only the fields a test sets.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace melos {

#ifndef MELOS_PYTHON
#define MELOS_PYTHON ""
#endif
using Found = std::map<std::string, std::string>;

// A track whose exported fields need escaping, quoting or a rule of their own.
static ID3Tag exportTrack(const std::string& path) {
  ID3Tag track;
  track.setPath(path), track.hasV2Tag = true;
  track.tagData = {.enabled = true, .title = UnicodeText::latin1("Caf\xE9 <Live> & \"More\""),
                   .artist = UnicodeText::utf16(u"\u65E5\u672C Artist"), .album = UnicodeText::latin1("Album, Vol. 1"),
                   .url = "http://example.com/a?b=1&c=2", .track = 3, .tracks = 12, .compilation = true,
                   .lyrics = UnicodeText::latin1("La la"), .set = 1, .recordtime = "2000-12-31T23:59", .podcast = true,
                   .advisory = 1, .uniqueid = {"http://musicbrainz.org", {'a', 'b', 'c', '1', '2', '3'}}};
  return track;
}

static std::string contents(const std::string& path) {
  const Bytes bytes = test::readFile(path);
  return std::string(bytes.begin(), bytes.end());
}

// The table as Python's csv module reads it (the byte order mark dropped), as JSON.
static QJsonArray readWithPython(const std::string& path) {
  const std::string command = std::string(MELOS_PYTHON) + " -c 'import csv, json, sys\n"
                              "with open(sys.argv[1], newline=\"\", encoding=\"utf-8-sig\") as f:\n"
                              "    print(json.dumps(list(csv.reader(f))))' '" + path + "'";
  std::FILE* pipe = ::popen(command.c_str(), "r");
  std::string output(1 << 16, '\0');
  output.resize(pipe != nullptr ? std::fread(output.data(), 1, output.size(), pipe) : 0);
  EXPECT_TRUE(pipe != nullptr && ::pclose(pipe) == 0);
  return QJsonDocument::fromJson(QByteArray::fromStdString(output)).array();
}

// What Qt's reader finds, keyed by the id3 version, the element and its
// attribute values: a value's text, a picture's decoded data.
static Found readBack(const std::string& path) {
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

static size_t countOf(const Found& found, const std::string& prefix) {
  return std::count_if(found.begin(), found.end(), [&](const auto& entry) { return entry.first.starts_with(prefix); });
}

TEST(CsvExport, QuotingRowsAndATableOfTwoTracksWithTheHeaderOnlyInANewFile) {
  for (const auto& [text, field] : Found{
           {"", ""}, {"plain text", "plain text"}, {"trailing ", "trailing "}, {" leading", "\" leading\""},
           {"\ttab", "\"\ttab\""}, {"say \"hi\"", "\"say \"\"hi\"\"\""}, {"it's", "\"it's\""}, {"a,b", "\"a,b\""},
           {"AC/DC", "\"AC/DC\""}, {"a\\b", "\"a\\b\""}, {"a\rb", "\"a\rb\""}, {"a\nb", "\"a\nb\""},
           {"caf\xC3\xA9", "caf\xC3\xA9"}})
    EXPECT_EQ(csvField(text), field) << text;
  ID3Tag track;
  track.hasV2Tag = true, track.tagData.set = 0;
  EXPECT_EQ(csvRow(track, 2), ",,,,,,,,,,,,,No,0,No,,,,,,,,,,,,,,,No,,,,,,,,Default ,\r\n");
  EXPECT_EQ(csvRow(track, 1), ",,,,,,,,,,,,,No,0,No,,,,,,,,,,,,,,,No,,,,\r\n");
  // The header's names are read back in the table test; here only what 2.4 adds.
  EXPECT_EQ(csvHeader(2), csvHeader(1) + ",Advisory,Produced notice,Mood,ISWC,UFID");
  EXPECT_EQ(advisoryText(0) + advisoryText(2) + advisoryText(3), "Clean lyrics");
  // The unique id's data ends at a zero byte, at 64 bytes, and is read as Latin-1.
  for (const auto& [data, text] : std::initializer_list<std::pair<Bytes, std::string>>{
           {{'a', 'b', 0, 'c'}, "ab"}, {Bytes(70, 'z'), std::string(kMaxUniqueIdBytes, 'z')}, {{0xE9}, "\xC3\xA9"}})
    EXPECT_EQ(uniqueIdData({"", data}), text);
  test::TempDir dir;
  const std::string out = dir.file("tags.csv"), existing = dir.write("existing.csv", {'x', '\r', '\n'});
  ID3Tag first = exportTrack(dir.file("one.mp3")), second, none = first;
  first.tagData.comment = UnicodeText::latin1("Line one\r\nLine two");
  first.tagData.picdata.push_back({Bytes(10, 1), "png"});
  second.hasV2Tag = true, second.tagData.title = UnicodeText::latin1(" Spaced"), none.hasV2Tag = false;
  for (const ID3Tag* each : {&none, &first, &none, &second}) ASSERT_EQ(exportTagAsCsv(out, each, 2), 0);
  ASSERT_EQ(exportTagAsCsv(existing, &first, 1), 0);
  EXPECT_EQ(contents(existing), "x\r\n" + csvRow(first, 1));
  EXPECT_EQ(contents(out), "\xEF\xBB\xBF" + csvHeader(2) + "\r\n" + csvRow(first, 2) + csvRow(second, 2));
  EXPECT_EQ(exportTagAsCsv("unused.csv", nullptr, 2), kExportNoTrack);
  EXPECT_EQ(exportTagAsCsv(dir.file("missing/tags.csv"), &first, 2), kCsvOpenFailed);

  if (*MELOS_PYTHON == '\0' || ::access(MELOS_PYTHON, X_OK) != 0) GTEST_SKIP() << "no Python to read the table";
  const QJsonArray table = readWithPython(out);
  ASSERT_EQ(std::pair(table.size(), table[0].toArray().size()), std::pair(3ll, 39ll));
  std::map<std::string, std::pair<std::string, std::string>> byName;
  const auto at = [&](int row, int i) { return table[row].toArray().at(i).toString().toStdString(); };
  for (int i = 0; i < 39; ++i) byName[at(0, i)] = {at(1, i), at(2, i)};
  // Each field read back by its header name: the first track has many fields, the second almost none.
  for (const auto& [name, values] : std::map<std::string, std::pair<std::string, std::string>>{
           {"Track", {"3", ""}}, {"Tracks", {"12", ""}}, {"Title", {"Caf\xC3\xA9 <Live> & \"More\"", " Spaced"}},
           {"Artist", {"\xE6\x97\xA5\xE6\x9C\xAC Artist", ""}}, {"Album", {"Album, Vol. 1", ""}},
           {"Comment", {"Line one\r\nLine two", ""}}, {"URL", {"http://example.com/a?b=1&c=2", ""}},
           {"Compilation", {"Yes", "No"}}, {"Picture", {"1", "0"}}, {"Lyrics", {"Yes", "No"}}, {"Set/Disc", {"1", ""}},
           {"Record time", {"2000-12-31 23:59", ""}}, {"Podcast", {"Yes", "No"}}, {"Advisory", {"Explicit lyrics", ""}},
           {"UFID", {"http://musicbrainz.org abc123", "Default "}}})
    EXPECT_EQ(byName[name], values) << name;
}

TEST(XmlExport, DocumentsReadBackWithEveryValueAndPicture) {
  test::TempDir dir;
  const std::string out = dir.file("tag.xml");
  ID3Tag track = exportTrack("/music/Rock and Roll/song.mp3");
  track.v1.title = "V1 <Title>";
  Bytes image(301);
  for (size_t i = 0; i < image.size(); ++i) image[i] = static_cast<uint8_t>(i * 7);
  // One byte cannot be encoded into twice its size; two bytes can.
  track.tagData.picdata = {PicData(image, "jpeg"), PicData({9}, "jpeg"), PicData({1, 2}, "gif"),
                           PicData({1, 2, 3}, "png")};
  test::LogCapture log;
  ASSERT_EQ(exportTagAsXml(&track, out, 2, true, v1XmlBlock(track.v1)), 0);
  EXPECT_TRUE(log.has(3, "Failed to create the XML image base 64")) << log.dump();
  const std::string text = contents(out);
  EXPECT_TRUE(text.starts_with("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- Created by Meloscribe version ") &&
              text.find("-->\n<tag version=\"2.0\">\n") != std::string::npos);
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
           {"2 value Record time string", "2000-12-31 23:59"},
           {"2 value UFID string", "http://musicbrainz.org"}, {"2 value UFID data string", "abc123"},
           {"2 picture base64 image/jpeg 301", data}, {"2 picture base64 image/gif 2", "\x01\x02"},
           {"2 picture base64 image/png 3", "\x01\x02\x03"}})
    EXPECT_EQ(found[key], value) << key;
  EXPECT_EQ(std::pair(countOf(found, "2 value"), countOf(found, "2 picture")), std::pair(39ul, 3ul));
  // Version 1 leaves out the later fields; pictures come only when asked.
  ASSERT_EQ(exportTagAsXml(&track, out, 1, false), 0);
  found = readBack(out);
  EXPECT_EQ(std::tuple(countOf(found, "2 value"), found.count("2 value Advisory string"), countOf(found, "2 picture")),
            std::tuple(33ul, 0ul, 0ul));
  EXPECT_NE(contents(out).find("<tag version=\"1.0\">"), std::string::npos);
}

TEST(XmlExport, EscapingUnsetNumbersTheFileAsItIsAndWithoutV2TagOnlyThePrologue) {
  for (const auto& [text, multiline, expected] : std::initializer_list<std::tuple<const char*, bool, const char*>>{
           {"<b&", false, "&lt;b&amp;"}, {"'a' \"b\" >", false, "&apos;a&apos; &quot;b&quot; &gt;"},
           {"caf\xC3\xA9", false, "caf\xC3\xA9"}, {"a\r\nb", false, "a\r\nb"},  // single-line values keep breaks
           {"a\r\nb\n\nc", true, "a</br>b</br>c"}, {"a\n\rb\r\rc\nd\re", true, "a</br>b</br>c</br>d</br>e"},
           {"a\n\n\nb", true, "a</br></br>b"}, {"\nx\n", true, "</br>x</br>"}})
    EXPECT_EQ(xmlEscape(text, multiline), expected) << text;
  EXPECT_EQ(xmlValueElement("Comment", "a\n<", kXmlString, true),
            "\t\t<value name=\"Comment\" type=\"string\">a</br>&lt;</value>\n");
  EXPECT_EQ(xmlValueElement("X", "y", 3) + xmlValueElement("X", "y", -1), "");
  test::TempDir dir;
  const std::string out = dir.write("tag.xml", Bytes(5000, 'x'));  // emptied first
  ID3Tag track;
  track.hasV2Tag = true, track.tagData.advisory = 7;
  track.setPath("/music/Rock & Roll/a<b>.mp3");
  track.tagData.title = UnicodeText::latin1("one\ntwo");  // only the comment folds its breaks
  track.tagData.comment = UnicodeText::latin1("a\r\nb");
  ASSERT_EQ(exportTagAsXml(&track, out, 2, false), 0);
  for (const char* line : {"\"Track\" type=\"long\">0<", "\"Tracks\" type=\"long\">0<", "\"Set/Disc\" type=\"long\">0<",
                           "\"Advisory\" type=\"string\"><", "\"UFID\" type=\"string\">Default<",
                           "\"Title\" type=\"string\">one\ntwo<", "\"Comment\" type=\"string\">a</br>b<",
                           "\t<file name=\"a<b>.mp3\" path=\"/music/Rock & Roll\" />\n"})
    EXPECT_NE(contents(out).find(line), std::string::npos) << line;
  track.hasV2Tag = false;
  ASSERT_EQ(exportTagAsXml(&track, out, 2, true, "\t<id3 version=\"1\">\n\t</id3>\n"), 0);
  const std::string text = contents(out);
  EXPECT_TRUE(text.starts_with("<?xml") && std::count(text.begin(), text.end(), '\n') == 2) << text;
  EXPECT_EQ(exportTagAsXml(nullptr, "unused.xml", 2, false), kExportNoTrack);
  EXPECT_EQ(exportTagAsXml(&track, dir.file("missing/tag.xml"), 2, false), ENOENT);
}

}  // namespace melos
