#include "tests/cli/cli_fixtures.h"

#include <gtest/gtest.h>

#include <QJsonDocument>
#include <QJsonParseError>
#include <QStandardPaths>
#include <cstdlib>
#include <sstream>

#include "cli/cli.h"
#include "engine/open_track.h"
#include "tests/support/id3v1_builder.h"
#include "tests/support/id3v2_builder.h"
#include "tests/support/mpeg_builder.h"
#include "tests/support/temp_dir.h"

namespace melos::test {

namespace {
// The tool reads the user's preferences and writes the user's log; tests read
// Qt's test locations instead and write a log of their own, gone at exit.
[[maybe_unused]] const bool kTestLocations = [] {
  QStandardPaths::setTestModeEnabled(true);
  static const TempDir state;
  ::setenv("XDG_STATE_HOME", state.path().c_str(), 1);
  return true;
}();
}  // namespace

Bytes cbrAudio(size_t frames) {
  MpegHeader header;
  header.version = kMpeg1;
  header.layer = 3;
  header.bitrateIndex = 9;     // 128 kbps
  header.sampleRateIndex = 0;  // 44100 Hz
  header.channelMode = 1;      // joint stereo
  return cbrStream(header, frames);
}

Bytes richV23Tag() {
  return Id3v2Builder(3)
      .text("TIT2", Enc::Latin1, "Caf\xC3\xA9 Song")
      .text("TPE1", Enc::Utf16LE, "\xE6\x97\xA5\xE6\x9C\xAC Artist")  // two CJK characters
      .text("TALB", Enc::Latin1, "The Album")
      .text("TYER", Enc::Latin1, "2001")
      .text("TRCK", Enc::Latin1, "3/12")
      .text("TPOS", Enc::Latin1, "1/2")
      .text("TCON", Enc::Latin1, "(17)")
      .frame(commentFrame(Enc::Latin1, "eng", "", "A comment"))
      .frame(userTextFrame(Enc::Latin1, "MOOD NOTE", "calm"))
      .frame(pictureFrame(Enc::Latin1, "image/jpeg", 3, "cover", jpegBytes(kPictureSize)))
      .padding(64)
      .build();
}

Bytes richV1Tag() {
  Id3v1Fields fields;
  fields.title = "V1 Title";
  fields.artist = "V1 Artist";
  fields.album = "V1 Album";
  fields.year = "1999";
  fields.comment = "V1 comment";
  fields.track = 7;
  fields.genre = 17;
  return id3v1Tag(fields);
}

CommandResult runMelos(const QStringList& arguments) {
  std::ostringstream out;
  std::ostringstream err;
  QStringList all{QStringLiteral("melos")};
  all += arguments;
  const cli::ExitCode code = cli::runCli(all, out, err);
  return {code, out.str(), err.str()};
}

QJsonArray showJson(const QStringList& files, cli::ExitCode* code) {
  QStringList arguments{QStringLiteral("show"), QStringLiteral("--json"),
                        QStringLiteral("--full-scan"), QStringLiteral("--")};
  arguments += files;
  const CommandResult result = runMelos(arguments);
  if (code != nullptr) *code = result.code;
  QJsonParseError error{};
  const QJsonDocument document =
      QJsonDocument::fromJson(QByteArray::fromStdString(result.out), &error);
  EXPECT_EQ(error.error, QJsonParseError::NoError) << result.out;
  EXPECT_TRUE(document.isArray()) << result.out;
  return document.array();
}

QStringList qpaths(std::initializer_list<std::string> paths) {
  QStringList list;
  for (const std::string& path : paths) list << QString::fromStdString(path);
  return list;
}

ID3Tag reopen(const std::string& path) {
  ID3Tag track;
  OpenTrack(track, path, kScanQuick, nullptr, false);
  return track;
}

std::string fileText(const std::string& path) {
  const Bytes bytes = readFile(path);
  return std::string(bytes.begin(), bytes.end());
}

}  // namespace melos::test
