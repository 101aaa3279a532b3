// The CSV export: quoting, the header on a new file only, and a table of
// several tracks read back by Python's csv module.

#include "operations/csv_export.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <cstdio>

#include "operations/export_values.h"
#include "tests/operations/export_fixtures.h"
#include "tests/support/temp_dir.h"

namespace melos {
namespace {

#ifdef MELOS_PYTHON
constexpr const char* kPython = MELOS_PYTHON;
#else
constexpr const char* kPython = "";
#endif

std::string contents(const std::string& path) {
  const Bytes bytes = test::readFile(path);
  return std::string(bytes.begin(), bytes.end());
}

// The table as Python's csv module reads it (the byte order mark dropped), as JSON.
QJsonArray readWithPython(const std::string& path) {
  const std::string command = std::string(kPython) + " -c 'import csv, json, sys\n"
                              "with open(sys.argv[1], newline=\"\", encoding=\"utf-8-sig\") as f:\n"
                              "    print(json.dumps(list(csv.reader(f))))' '" + path + "'";
  std::FILE* pipe = ::popen(command.c_str(), "r");
  std::string output(1 << 16, '\0');
  output.resize(pipe != nullptr ? std::fread(output.data(), 1, output.size(), pipe) : 0);
  EXPECT_TRUE(pipe != nullptr && ::pclose(pipe) == 0);
  return QJsonDocument::fromJson(QByteArray::fromStdString(output)).array();
}

TEST(CsvExport, QuotingRowsAndExportValues) {
  for (const auto& [text, field] : std::initializer_list<std::pair<const char*, const char*>>{
           {"", ""}, {"plain text", "plain text"}, {"trailing ", "trailing "}, {" leading", "\" leading\""},
           {"\ttab", "\"\ttab\""}, {"say \"hi\"", "\"say \"\"hi\"\"\""}, {"it's", "\"it's\""}, {"a,b", "\"a,b\""},
           {"AC/DC", "\"AC/DC\""}, {"a\\b", "\"a\\b\""}, {"a\rb", "\"a\rb\""}, {"a\nb", "\"a\nb\""},
           {"caf\xC3\xA9", "caf\xC3\xA9"}})
    EXPECT_EQ(csvField(text), field) << text;
  ID3Tag track;
  track.hasV2Tag = true;
  track.tagData.set = 0;
  EXPECT_EQ(csvRow(track, 2), ",,,,,,,,,,,,,No,0,No,,,,,,,,,,,,,,,No,,,,,,,,Default ,\r\n");
  EXPECT_EQ(csvRow(track, 1), ",,,,,,,,,,,,,No,0,No,,,,,,,,,,,,,,,No,,,,\r\n");
  // The header's names are read back in the table test; here only what 2.4 adds.
  EXPECT_EQ(csvHeader(2), csvHeader(1) + ",Advisory,Produced notice,Mood,ISWC,UFID");
  EXPECT_EQ(advisoryText(0) + advisoryText(2) + advisoryText(3), "Clean lyrics");
  UniqueFileID id{"", {'a', 'b', 0, 'c'}};
  EXPECT_EQ(uniqueIdData(id), "ab");
  id.data.assign(70, 'z');
  EXPECT_EQ(uniqueIdData(id).size(), kMaxUniqueIdBytes);
  id.data = {0xE9};
  EXPECT_EQ(uniqueIdData(id), "\xC3\xA9");
}

TEST(CsvExport, TwoTracksMakeOneTableWithTheHeaderOnlyInANewFile) {
  test::TempDir dir;
  const std::string out = dir.file("tags.csv"), existing = dir.write("existing.csv", {'x', '\r', '\n'});
  ID3Tag first = test::exportTrack(dir.file("one.mp3")), second, none = first;
  first.tagData.comment = UnicodeText::latin1("Line one\r\nLine two");
  first.tagData.picdata.push_back({Bytes(10, 1), "png"});
  second.hasV2Tag = true;
  second.tagData.title = UnicodeText::latin1(" Spaced");
  none.hasV2Tag = false;
  for (const ID3Tag* track : {&none, &first, &none, &second}) ASSERT_EQ(exportTagAsCsv(out, track, 2), 0);
  ASSERT_EQ(exportTagAsCsv(existing, &first, 1), 0);
  EXPECT_EQ(contents(existing), "x\r\n" + csvRow(first, 1));
  EXPECT_EQ(contents(out), "\xEF\xBB\xBF" + csvHeader(2) + "\r\n" + csvRow(first, 2) + csvRow(second, 2));
  EXPECT_EQ(exportTagAsCsv("unused.csv", nullptr, 2), kExportNoTrack);
  EXPECT_EQ(exportTagAsCsv(dir.file("missing/tags.csv"), &first, 2), kCsvOpenFailed);

  if (*kPython == '\0' || ::access(kPython, X_OK) != 0) GTEST_SKIP() << "no Python to read the table";
  const QJsonArray table = readWithPython(out);
  ASSERT_EQ(table.size(), 3);
  ASSERT_EQ(table[0].toArray().size(), 39);
  std::map<std::string, std::string> one, two;
  for (qsizetype i = 0; i < 40; ++i) {  // a row ends with a comma: an empty 40th field
    const std::string name = table[0].toArray().at(i).toString().toStdString();
    one[name] = table[1].toArray().at(i).toString().toStdString();
    two[name] = table[2].toArray().at(i).toString().toStdString();
  }
  // Each field read back by its header name: the first track has every field, the second almost none.
  for (const auto& [name, value] : std::initializer_list<std::pair<const char*, std::string>>{
           {"Track", "3"}, {"Tracks", "12"}, {"Title", "Caf\xC3\xA9 <Live> & \"More\""}, {"Album", "Album, Vol. 1"},
           {"Artist", "\xE6\x97\xA5\xE6\x9C\xAC Artist"}, {"Comment", "Line one\r\nLine two"}, {"Composer", "It's me"},
           {"URL", "http://example.com/a?b=1&c=2"}, {"Compilation", "Yes"}, {"Picture", "1"}, {"Lyrics", "Yes"},
           {"Set/Disc", "1"}, {"Record time", "2000-12-31 23:59"}, {"Release time", "2001-02-03"}, {"Podcast", "Yes"},
           {"Advisory", "Explicit lyrics"}, {"UFID", "http://musicbrainz.org abc123"}, {"", ""}})
    EXPECT_EQ(one[name], value) << name;
  for (const auto& [name, value] : std::initializer_list<std::pair<const char*, std::string>>{
           {"Track", ""}, {"Title", " Spaced"}, {"Compilation", "No"}, {"UFID", "Default "}, {"", ""}})
    EXPECT_EQ(two[name], value) << name;
}

}  // namespace
}  // namespace melos
