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

using test::TempDir;
using Table = std::vector<std::vector<std::string>>;

#ifdef MELOS_PYTHON
constexpr const char* kPython = MELOS_PYTHON;
#else
constexpr const char* kPython = "";
#endif

std::string contents(const std::string& path) {
  const Bytes bytes = test::readFile(path);
  return std::string(bytes.begin(), bytes.end());
}

// The table as Python's csv module reads it (the byte order mark dropped).
std::optional<Table> readWithPython(const std::string& path) {
  const std::string command = std::string(kPython) +
                              " -c 'import csv, json, sys\n"
                              "with open(sys.argv[1], newline=\"\", encoding=\"utf-8-sig\") as f:\n"
                              "    print(json.dumps(list(csv.reader(f))))' '" +
                              path + "'";
  std::FILE* pipe = ::popen(command.c_str(), "r");
  if (pipe == nullptr) return std::nullopt;
  std::string output;
  char buffer[4096];
  for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) output.append(buffer, n);
  if (::pclose(pipe) != 0) return std::nullopt;
  Table table;
  for (const QJsonValue& row : QJsonDocument::fromJson(QByteArray::fromStdString(output)).array()) {
    table.emplace_back();
    for (const QJsonValue& field : row.toArray()) table.back().push_back(field.toString().toStdString());
  }
  return table;
}

TEST(CsvExportTest, Quoting) {
  struct Case {
    const char* text;
    const char* expected;
  } cases[] = {
      {"", ""},
      {"plain text", "plain text"},
      {"trailing ", "trailing "},
      {" leading", "\" leading\""},
      {"\ttab", "\"\ttab\""},
      {"say \"hi\"", "\"say \"\"hi\"\"\""},
      {"it's", "\"it's\""},
      {"a,b", "\"a,b\""},
      {"AC/DC", "\"AC/DC\""},
      {"a\\b", "\"a\\b\""},
      {"a\rb", "\"a\rb\""},
      {"a\nb", "\"a\nb\""},
      {"caf\xC3\xA9", "caf\xC3\xA9"},
  };
  for (const Case& c : cases) EXPECT_EQ(csvField(c.text), c.expected) << c.text;
}

TEST(CsvExportTest, RowOfAnEmptyTrack) {
  ID3Tag track;
  track.hasV2Tag = true;
  track.tagData.set = 0;
  const std::string row = csvRow(track, 2);
  EXPECT_EQ(row, ",,,,,,,,,,,,,No,0,No,,,,,,,,,,,,,,,No,,,,,,,,Default ,\r\n");
  EXPECT_EQ(csvRow(track, 1), ",,,,,,,,,,,,,No,0,No,,,,,,,,,,,,,,,No,,,,\r\n");
  // The header's names are read back in the table test; here only what 2.4 adds.
  EXPECT_EQ(csvHeader(2), csvHeader(1) + ",Advisory,Produced notice,Mood,ISWC,UFID");
}

TEST(CsvExportTest, TwoTracksMakeOneTable) {
  TempDir dir;
  const std::string out = dir.file("tags.csv");
  ID3Tag first = test::exportTrack(dir.file("one.mp3"));
  first.tagData.comment = UnicodeText::latin1("Line one\r\nLine two");
  first.tagData.picdata.push_back({Bytes(10, 1), "png"});
  ID3Tag second;
  second.hasV2Tag = true;
  second.tagData.title = UnicodeText::latin1(" Spaced");
  second.tagData.track = kUnsetNumber;
  ASSERT_EQ(exportTagAsCsv(out, &first, 2), 0);
  ASSERT_EQ(exportTagAsCsv(out, &second, 2), 0);

  const std::string text = contents(out);
  EXPECT_EQ(text.rfind("\xEF\xBB\xBFTrack,Tracks,", 0), 0u);
  EXPECT_EQ(text.find("\xEF\xBB\xBF", 1), std::string::npos);
  EXPECT_EQ(text.find("Track,Tracks", 10), std::string::npos);
  EXPECT_EQ(text.find(csvHeader(2) + "\r\n"), 3u);

  if (*kPython == '\0' || ::access(kPython, X_OK) != 0) GTEST_SKIP() << "no Python to read the table";
  const std::optional<Table> table = readWithPython(out);
  ASSERT_TRUE(table.has_value());
  ASSERT_EQ(table->size(), 3u);
  const std::vector<std::string>& header = (*table)[0];
  ASSERT_EQ(header.size(), 39u);
  for (const std::vector<std::string>& row : {(*table)[1], (*table)[2]}) {
    ASSERT_EQ(row.size(), 40u);  // a row ends with a comma
    EXPECT_EQ(row.back(), "");
  }
  std::map<std::string, std::string> one, two;
  for (size_t i = 0; i < header.size(); ++i) {
    one[header[i]] = (*table)[1][i];
    two[header[i]] = (*table)[2][i];
  }
  // Each field read back by its header name: the first track has every field, the second almost none.
  const std::pair<const char*, std::string> ofFirst[] = {
      {"Track", "3"}, {"Tracks", "12"}, {"Title", "Caf\xC3\xA9 <Live> & \"More\""},
      {"Artist", "\xE6\x97\xA5\xE6\x9C\xAC Artist"}, {"Album", "Album, Vol. 1"},
      {"Comment", "Line one\r\nLine two"}, {"Composer", "It's me"}, {"URL", "http://example.com/a?b=1&c=2"},
      {"Compilation", "Yes"}, {"Picture", "1"}, {"Lyrics", "Yes"}, {"Set/Disc", "1"},
      {"Record time", "2000-12-31 23:59"}, {"Release time", "2001-02-03"}, {"Podcast", "Yes"},
      {"Advisory", "Explicit lyrics"}, {"UFID", "http://musicbrainz.org abc123"}};
  const std::pair<const char*, std::string> ofSecond[] = {
      {"Track", ""}, {"Title", " Spaced"}, {"Compilation", "No"}, {"UFID", "Default "}};
  for (const auto& [name, value] : ofFirst) EXPECT_EQ(one[name], value) << name;
  for (const auto& [name, value] : ofSecond) EXPECT_EQ(two[name], value) << name;
}

TEST(CsvExportTest, TheHeaderComesOnlyWithANewFile) {
  TempDir dir;
  const ID3Tag track = test::exportTrack(dir.file("one.mp3"));
  const std::string existing = dir.write("existing.csv", {'x', '\r', '\n'});
  ASSERT_EQ(exportTagAsCsv(existing, &track, 2), 0);
  EXPECT_EQ(contents(existing), "x\r\n" + csvRow(track, 2));

  const std::string empty = dir.write("empty.csv", {});
  ASSERT_EQ(exportTagAsCsv(empty, &track, 1), 0);
  EXPECT_EQ(contents(empty), "\xEF\xBB\xBF" + csvHeader(1) + "\r\n" + csvRow(track, 1));
}

TEST(CsvExportTest, ATrackWithoutV2TagAddsNoRow) {
  TempDir dir;
  const std::string out = dir.file("tags.csv");
  ID3Tag track = test::exportTrack(dir.file("one.mp3"));
  track.hasV2Tag = false;
  ASSERT_EQ(exportTagAsCsv(out, &track, 2), 0);
  EXPECT_EQ(contents(out), "\xEF\xBB\xBF" + csvHeader(2) + "\r\n");
  ASSERT_EQ(exportTagAsCsv(out, &track, 2), 0);
  EXPECT_EQ(contents(out), "\xEF\xBB\xBF" + csvHeader(2) + "\r\n");
}

TEST(CsvExportTest, Failures) {
  EXPECT_EQ(exportTagAsCsv("unused.csv", nullptr, 2), kExportNoTrack);
  TempDir dir;
  const ID3Tag track = test::exportTrack(dir.file("one.mp3"));
  EXPECT_EQ(exportTagAsCsv(dir.file("missing/tags.csv"), &track, 2), kCsvOpenFailed);
}

TEST(ExportValuesTest, Texts) {
  EXPECT_EQ(advisoryText(0), "");
  EXPECT_EQ(advisoryText(1), "Explicit lyrics");
  EXPECT_EQ(advisoryText(2), "Clean lyrics");
  EXPECT_EQ(advisoryText(3), "");
  EXPECT_EQ(exportTime("2001-02-03T04:05"), "2001-02-03 04:05");
  UniqueFileID id;
  id.data = {'a', 'b', 0, 'c'};
  EXPECT_EQ(uniqueIdData(id), "ab");
  id.data.assign(70, 'z');
  EXPECT_EQ(uniqueIdData(id).size(), kMaxUniqueIdBytes);
  id.data = {0xE9};
  EXPECT_EQ(uniqueIdData(id), "\xC3\xA9");
}

}  // namespace
}  // namespace melos
