// `melos show` for people: a header line per file, aligned labels, filled fields only.

#include <gtest/gtest.h>

#include <sstream>
#include <vector>

#include "cli/text_formatter.h"
#include "engine/id3_tag.h"
#include "tests/cli/cli_fixtures.h"
#include "tests/support/id3v2_builder.h"
#include "tests/support/mp3_file_builder.h"
#include "tests/support/temp_dir.h"

namespace melos::test {
namespace {

using cli::ExitCode;

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

// The column where the value of a "Label:   value" line starts.
size_t valueColumn(const std::string& line) {
  const size_t colon = line.find(':');
  return line.find_first_not_of(' ', colon + 1);
}

const std::string* lineStartingWith(const std::vector<std::string>& lines, const std::string& start) {
  for (const std::string& line : lines)
    if (line.find_first_not_of(' ') != std::string::npos &&
        line.substr(line.find_first_not_of(' ')).rfind(start, 0) == 0)
      return &line;
  return nullptr;
}

TEST(ShowTextTest, HeaderSectionsAndAlignedLabels) {
  TempDir dir;
  const std::string path =
      dir.write("rich.mp3", mp3File({richV23Tag(), cbrAudio(500), {}, richV1Tag()}));
  const CommandResult result = runMelos(
      {QStringLiteral("show"), QStringLiteral("--full-scan"), QString::fromStdString(path)});
  EXPECT_EQ(result.code, ExitCode::Ok) << result.err;
  EXPECT_TRUE(result.err.empty()) << result.err;
  const std::vector<std::string> lines = linesOf(result.out);
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines[0], path);

  const std::string* audio = lineStartingWith(lines, "Audio:");
  ASSERT_NE(audio, nullptr) << result.out;
  EXPECT_NE(audio->find("128 kbps (CBR), 0:13, 44.1 kHz"), std::string::npos) << *audio;

  ASSERT_NE(lineStartingWith(lines, "V1"), nullptr) << result.out;
  ASSERT_NE(lineStartingWith(lines, "V2"), nullptr) << result.out;
  const std::string* tags = lineStartingWith(lines, "Tags:");
  ASSERT_NE(tags, nullptr) << result.out;
  EXPECT_NE(tags->find("V1 and V2.3"), std::string::npos) << *tags;
  const std::string* v2Title = lineStartingWith(lines, "Title:   ");
  ASSERT_NE(v2Title, nullptr);
  size_t column = 0;
  for (const std::string& line : lines) {
    if (line.find(':') == std::string::npos || line == path) continue;
    if (column == 0) column = valueColumn(line);
    EXPECT_EQ(valueColumn(line), column) << line;
  }
  EXPECT_NE(result.out.find("V1 Title"), std::string::npos);
  EXPECT_NE(result.out.find("Caf\xC3\xA9 Song"), std::string::npos);
  EXPECT_NE(result.out.find("3/12"), std::string::npos);
  EXPECT_NE(result.out.find("jpeg, 300 bytes"), std::string::npos);
  // Empty fields are left out.
  EXPECT_EQ(lineStartingWith(lines, "Composer:"), nullptr);
  EXPECT_EQ(lineStartingWith(lines, "Lyrics:"), nullptr);
}

TEST(ShowTextTest, ControlCharactersOfATagNeverReachTheTerminal) {
  TempDir dir;
  const Bytes tag =
      Id3v2Builder(3).text("TIT2", Enc::Latin1, "red\x1B[31m title\x07").build();
  const std::string path = dir.write("escape.mp3", mp3File({tag, cbrAudio(20), {}, {}}));
  const CommandResult result = runMelos({QStringLiteral("show"), QString::fromStdString(path)});
  EXPECT_EQ(result.out.find('\x1B'), std::string::npos);
  EXPECT_EQ(result.out.find('\x07'), std::string::npos);
  EXPECT_NE(result.out.find("red?[31m title?"), std::string::npos) << result.out;
}

TEST(ShowTextTest, MultiLineValuesContinueUnderTheirFirstLine) {
  TempDir dir;
  const Bytes tag = Id3v2Builder(3)
                        .frame(commentFrame(Enc::Latin1, "eng", "", "first line\r\nsecond line"))
                        .build();
  const std::string path = dir.write("lines.mp3", mp3File({tag, cbrAudio(20), {}, {}}));
  const CommandResult result = runMelos({QStringLiteral("show"), QString::fromStdString(path)});
  const std::vector<std::string> lines = linesOf(result.out);
  const std::string* comment = lineStartingWith(lines, "Comment:");
  ASSERT_NE(comment, nullptr) << result.out;
  const size_t column = valueColumn(*comment);
  const std::string* second = lineStartingWith(lines, "second line");
  ASSERT_NE(second, nullptr) << result.out;
  EXPECT_EQ(second->find_first_not_of(' '), column);
}

TEST(ShowTextTest, FilesAreSeparatedAndFailuresGoToStandardError) {
  TempDir dir;
  const std::string a = dir.write("a.mp3", cbrAudio(20));
  const std::string b = dir.write("b.mp3", cbrAudio(20));
  const CommandResult result =
      runMelos({QStringLiteral("show"), QString::fromStdString(a),
                QString::fromStdString(dir.file("missing.mp3")), QString::fromStdString(b)});
  EXPECT_EQ(result.code, ExitCode::Failure);
  EXPECT_NE(result.out.find(a + "\n"), std::string::npos);
  EXPECT_NE(result.out.find("\n\n" + b + "\n"), std::string::npos) << result.out;
  EXPECT_EQ(result.out.find("missing.mp3"), std::string::npos);
  EXPECT_NE(result.err.find("missing.mp3"), std::string::npos);
}

TEST(ShowTextTest, SmallFormatters) {
  EXPECT_EQ(cli::durationText(0), "0:00");
  EXPECT_EQ(cli::durationText(187), "3:07");
  EXPECT_EQ(cli::durationText(3723), "1:02:03");
  EXPECT_EQ(cli::sampleRateText(44100), "44.1 kHz");
  EXPECT_EQ(cli::sampleRateText(48000), "48 kHz");
  EXPECT_EQ(cli::sampleRateText(22050), "22.05 kHz");
  EXPECT_EQ(cli::sampleRateText(11025), "11.025 kHz");
  EXPECT_EQ(cli::encoderName(std::string("LAME3.100\x01\xAA", 11)), "LAME3.100");
  EXPECT_EQ(cli::encoderName("LAME3.99r"), "LAME3.99r");
}

TEST(ShowTextTest, TagDataFileHasNoAudioLine) {
  TempDir dir;
  const std::string path =
      dir.write("clip.tdf", Id3v2Builder(3).text("TIT2", Enc::Latin1, "Clip").build());
  const CommandResult result = runMelos({QStringLiteral("show"), QString::fromStdString(path)});
  EXPECT_EQ(result.code, ExitCode::Ok) << result.err;
  EXPECT_EQ(result.out.find("Audio:"), std::string::npos) << result.out;
  EXPECT_NE(result.out.find("tag data file"), std::string::npos);
  EXPECT_NE(result.out.find("Clip"), std::string::npos);
}

}  // namespace
}  // namespace melos::test
