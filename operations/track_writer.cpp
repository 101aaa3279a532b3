#include "operations/track_writer.h"

#include <sys/stat.h>

#include <cerrno>

#include "engine/file_io.h"
#include "engine/log.h"
#include "engine/open_track.h"
#include "engine/tag_removal.h"
#include "engine/v1_update.h"
#include "engine/v2_update.h"
#include "operations/rename_track.h"

namespace melos {

int TrackWriter::saveV1(ID3Tag& track, bool removeApe, bool keepDates, bool trim) {
  return updateV1ToTrack(track, removeApe, keepDates, trim);
}

int TrackWriter::removeV1(ID3Tag& track, bool removeApe, bool keepDates) {
  return removeV1FromTrack(track, removeApe, keepDates);
}

int TrackWriter::saveV2(ID3Tag& track, bool moveToTrash, int version, bool keepDates, bool trim) {
  // The engine keeps user texts and kept frames whatever this flag says.
  return updateV2ToTrack(track, moveToTrash, version, keepDates, trim, 0);
}

int TrackWriter::removeV2(ID3Tag& track, bool moveToTrash, bool keepDates) {
  return removeV2FromTrack(track, moveToTrash, keepDates);
}

bool TrackWriter::rename(ID3Tag& track, const SaveSettings& settings) {
  return renameByTags(track, settings.addTrackNumber, settings.dateTracks, settings.createFolder,
                      settings.utf8TrackName, settings.toFileNameFormat);
}

bool TrackWriter::makeWritable(const std::string& path) {
  struct stat st;
  if (::stat(path.c_str(), &st) != 0 || ::chmod(path.c_str(), st.st_mode | S_IWUSR) != 0) {
    LogMessage(LogError, "Failed to make the file '%s' writable (error: %s)", path.c_str(), errorText(errno).c_str());
    return false;
  }
  return true;
}

unsigned TrackWriter::reopen(ID3Tag& track, int scanMode) {
  const std::string path = track.path();
  return OpenTrack(track, path, scanMode, nullptr, true);
}

bool TrackWriter::readForUpdate(ID3Tag& track) {
  const bool v1Changed = track.v1Changed;
  const bool v2Changed = track.v2Changed;
  const AudioInfo audio = track.audio;
  const uint64_t duration = track.duration;
  const std::string path = track.path();
  const unsigned opened = OpenTrack(track, path, kScanNone, nullptr, true);
  track.v1Changed = v1Changed;
  track.v2Changed = v2Changed;
  track.audio = audio;
  track.setDuration(duration);
  // A tag data file has no audio whose analysis could say it opened.
  return track.readError == 0 && track.readState.valid && (opened != 0 || track.isTagDataFile);
}

TrackWriter& engineTrackWriter() {
  static TrackWriter writer;
  return writer;
}

}  // namespace melos
