#include "tests/cli/cli_fixtures.h"

#include <QStandardPaths>
#include <cstdlib>
#include <sstream>

#include "cli/cli.h"
#include "engine/open_track.h"
#include "tests/support/id3v1_builder.h"
#include "tests/support/id3v2_builder.h"
#include "tests/support/mpeg_builder.h"

namespace melos::test {

// The tool reads the user's preferences and writes the user's log; tests read
// Qt's test locations instead and write a log of their own, gone at exit.
[[maybe_unused]] static const bool kTestLocations = [] {
  QStandardPaths::setTestModeEnabled(true);
  static const TempDir state;
  ::setenv("XDG_STATE_HOME", state.path().c_str(), 1);
  return true;
}();

Bytes cbrAudio(size_t frames) { return cbrStream(MpegHeader{.channelMode = 1}, frames); }

Bytes richV23Tag() {
  return Id3v2Builder(3)
      .text("TIT2", Enc::Latin1, "Caf\xC3\xA9 Song")
      .text("TPE1", Enc::Utf16LE, "\xE6\x97\xA5\xE6\x9C\xAC Artist")  // two CJK characters
      .text("TALB", Enc::Latin1, "The Album").text("TYER", Enc::Latin1, "2001")
      .text("TRCK", Enc::Latin1, "3/12").text("TPOS", Enc::Latin1, "1/2").text("TCON", Enc::Latin1, "(17)")
      .frame(commentFrame(Enc::Latin1, "eng", "", "A comment"))
      .frame(userTextFrame(Enc::Latin1, "MOOD NOTE", "calm"))
      .frame(pictureFrame(Enc::Latin1, "image/jpeg", 3, "cover", jpegBytes(300)))
      .padding(64)
      .build();
}

Bytes richV1Tag() { return id3v1Tag({"V1 Title", "V1 Artist", "V1 Album", "1999", "V1 comment", 7, 17}); }

CommandResult runMelos(const QStringList& arguments) {
  std::ostringstream out, err;
  const cli::ExitCode code = cli::runCli(QStringList{"melos"} + arguments, out, err);
  return {code, out.str(), err.str()};
}

ID3Tag reopen(const std::string& path) {
  ID3Tag track;
  OpenTrack(track, path, kScanQuick, nullptr, false);
  return track;
}

}  // namespace melos::test
