#pragma once
// Files for the command-line tests and a way to run a command and read its output.

#include <QStringList>
#include <string>

#include "cli/exit_code.h"
#include "engine/bytes.h"
#include "engine/id3_tag.h"
#include "tests/support/temp_dir.h"

namespace melos::test {

// 128 kbps MPEG-1 Layer III at 44.1 kHz, joint stereo: 417 bytes a frame.
Bytes cbrAudio(size_t frames);

// A V2.3 tag with a Latin-1 title, a UTF-16 artist, TRCK "3/12", TCON "(17)",
// a comment, a user text and a JPEG picture of 300 bytes.
Bytes richV23Tag();

// V1: title "V1 Title", artist "V1 Artist", album "V1 Album", year "1999",
// comment "V1 comment", track 7, genre 17.
Bytes richV1Tag();

struct CommandResult {
  cli::ExitCode code;
  std::string out, err;
};

// Runs the whole command line; the program name is added in front.
CommandResult runMelos(const QStringList& arguments);

// The track as a new quick open reads it from disk.
ID3Tag reopen(const std::string& path);

inline std::string fileText(const std::string& path) { const Bytes b = readFile(path); return {b.begin(), b.end()}; }

inline bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

}  // namespace melos::test
