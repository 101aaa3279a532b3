// `melos export`: XML documents and CSV tables of files made in a temporary folder.

#include <gtest/gtest.h>

#include <QXmlStreamReader>

#include "tests/cli/cli_fixtures.h"
#include "tests/support/mp3_file_builder.h"
#include "tests/support/temp_dir.h"

namespace melos::test {
namespace {

using cli::ExitCode;

Bytes richMp3() { return mp3File({richV23Tag(), cbrAudio(20), {}, richV1Tag()}); }
Bytes plainMp3() { return mp3File({{}, cbrAudio(20), {}, {}}); }

QStringList exportArgs(std::initializer_list<std::string> arguments) {
  QStringList list{QStringLiteral("export")};
  list += qpaths(arguments);
  return list;
}

size_t countOf(const std::string& text, const std::string& part) {
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

TEST(ExportCommandTest, XmlDocumentOfOneFile) {
  TempDir dir;
  const std::string song = dir.write("song.mp3", richMp3());
  const std::string out = dir.file("tags.xml");
  const CommandResult result = runMelos(exportArgs({"--xml", out, "--pictures", song}));
  ASSERT_EQ(result.code, ExitCode::Ok) << result.err;
  EXPECT_NE(result.out.find("exported to " + out), std::string::npos) << result.out;

  const std::string text = fileText(out);
  QXmlStreamReader reader(QByteArray::fromStdString(text));
  std::map<std::string, std::string> v1, v2;
  std::string block, folder;
  int pictures = 0;
  while (!reader.atEnd()) {
    if (reader.readNext() != QXmlStreamReader::StartElement) continue;
    const auto attribute = [&](const char* name) {
      return reader.attributes().value(QString::fromLatin1(name)).toString().toStdString();
    };
    if (reader.name() == u"file") folder = attribute("path");
    if (reader.name() == u"id3") block = attribute("version");
    if (reader.name() == u"picture") {
      ++pictures;
      EXPECT_EQ(attribute("size"), std::to_string(kPictureSize));
    }
    if (reader.name() == u"value") {
      const std::string name = attribute("name");
      (block == "1" ? v1 : v2)[name] = reader.readElementText().toStdString();
    }
  }
  ASSERT_FALSE(reader.hasError()) << reader.errorString().toStdString() << "\n" << text;
  EXPECT_EQ(folder, dir.path());
  EXPECT_EQ(v1["Title"], "V1 Title");
  EXPECT_EQ(v1["Track"], "7");
  EXPECT_EQ(v2["Title"], "Caf\xC3\xA9 Song");
  EXPECT_EQ(v2["Track"], "3");
  EXPECT_EQ(v2["Tracks"], "12");
  EXPECT_EQ(pictures, 1);
}

TEST(ExportCommandTest, CsvRowsAreAppendedAndAFileThatGivesNoneDoesNotStopTheOthers) {
  TempDir dir;
  const std::string one = dir.write("one.mp3", richMp3());
  const std::string two = dir.write("two.mp3", richMp3());
  const std::string plain = dir.write("plain.mp3", plainMp3());
  const std::string out = dir.file("tags.csv");
  CommandResult result =
      runMelos(exportArgs({"--csv", out, one, dir.file("missing.mp3"), plain, two}));
  EXPECT_EQ(result.code, ExitCode::Failure);
  EXPECT_NE(result.err.find("missing.mp3"), std::string::npos) << result.err;
  EXPECT_EQ(countOf(result.out, ": exported to"), 2u) << result.out;
  // A file without a V2 tag gives no row.
  EXPECT_NE(result.out.find(plain + ": no ID3v2 tag"), std::string::npos) << result.out;

  result = runMelos(exportArgs({"--csv", out, one, plain}));
  ASSERT_EQ(result.code, ExitCode::Ok) << result.err;
  const std::string text = fileText(out);
  EXPECT_EQ(text.rfind("\xEF\xBB\xBFTrack,Tracks,Title,", 0), 0u);
  EXPECT_EQ(countOf(text, "Track,Tracks"), 1u);
  EXPECT_EQ(countOf(text, "\r\n"), 4u);  // the header and three rows
  EXPECT_EQ(countOf(text, "3,12,Caf\xC3\xA9 Song,"), 3u);
}

TEST(ExportCommandTest, AnUnwritableTargetFails) {
  TempDir dir;
  const std::string song = dir.write("song.mp3", richMp3());
  for (const char* option : {"--xml", "--csv"}) {
    const CommandResult result = runMelos(exportArgs({option, dir.file("no/such/out"), song}));
    EXPECT_EQ(result.code, ExitCode::Failure) << option;
    EXPECT_NE(result.err.find("Failed to write the tag data"), std::string::npos) << result.err;
  }
}

TEST(ExportCommandTest, UsageErrors) {
  TempDir dir;
  const std::string song = dir.write("song.mp3", richMp3());
  const std::string other = dir.write("other.mp3", richMp3());
  const std::string out = dir.file("out");
  const struct {
    QStringList arguments;
    const char* message;
  } cases[] = {
      {exportArgs({song}), "either --xml OUT or --csv OUT"},
      {exportArgs({"--xml", out, "--csv", out, song}), "either --xml OUT or --csv OUT"},
      {exportArgs({"--xml", out}), "no FILE"},
      {exportArgs({"--xml", out, song, other}), "--xml takes one FILE"},
      {exportArgs({"--csv", out, "--pictures", song}), "--pictures goes with --xml"},
      {exportArgs({"--xml", song, song}), "is one of the FILEs"},
      {exportArgs({"--csv", other, song, other}), "is one of the FILEs"},
  };
  for (const auto& c : cases) {
    const CommandResult result = runMelos(c.arguments);
    EXPECT_EQ(result.code, ExitCode::Usage) << c.message;
    EXPECT_NE(result.err.find(c.message), std::string::npos) << result.err;
  }
  // The track named as the output is untouched.
  EXPECT_EQ(readFile(song), richMp3());
}

}  // namespace
}  // namespace melos::test
