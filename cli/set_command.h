#pragma once
// `melos set`: the group update over the files named, with exactly the given
// fields' change boxes on.

#include <QString>
#include <QStringList>
#include <map>
#include <optional>
#include <ostream>
#include <string>

#include "cli/exit_code.h"
#include "engine/tag_data.h"

namespace melos::cli {

enum class TagTarget { V1, V2, Both };

struct NumberPair {
  uint16_t number = kUnsetNumber;
  std::optional<uint16_t> total;  // given after a "/"
};

struct SetOptions {
  TagTarget target = TagTarget::V2;
  // Text fields by their option names ("title", "album", "composer", ...).
  std::map<std::string, QString> texts;
  std::optional<NumberPair> track;
  std::optional<NumberPair> disc;
  std::optional<bool> compilation;
  std::optional<bool> podcast;
  std::optional<PicData> picture;
  bool removePictures = false;
  bool isrcIncrement = false;
  bool fromFileName = false;
  QString fromFileNameFormat;  // empty: the standard split
  bool v2ForV1 = false;
  bool rename = false;
  QString renameFormat;  // empty: the standard naming
  int version = 0;       // 0: the preferences' ID3v2 version
  bool yes = false;      // answer "Yes" where the editor would ask
  bool force = false;    // drop what the save version cannot hold
  bool progress = false; // a progress bar on the error stream
  int jobs = 1;          // files written at once
};

// Opens the files and runs the group update over them. Each file gets its
// own line; Failure when any file could not be opened or updated.
ExitCode setCommand(const QStringList& files, const SetOptions& options, std::ostream& out, std::ostream& err);

ExitCode runSet(const QStringList& arguments, std::ostream& out, std::ostream& err);
std::string setUsageText();

// "17" and "(17)" name the standard genre of that number; any other text is
// kept, except that a standard name in other capitals takes the list's spelling.
QString genreText(const QString& text);

}  // namespace melos::cli
