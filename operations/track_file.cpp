#include "operations/track_file.h"

#include "engine/open_track.h"

namespace melos {
namespace {

// The engine reports its first stage only once the container check has passed,
// and a tag-data file has no audio whose analysis could say it opened: the
// stages are the one sign that such a file was read at all.
struct StageWatch {
  bool started = false;
  static void report(const char*, int, void* context) {
    static_cast<StageWatch*>(context)->started = true;
  }
};

std::string fallbackCause(const ID3Tag& track, bool started) {
  if (!started) return "the file could not be read as a track";
  if (track.isMp3File) return "no MPEG audio frames found";
  if (track.isAiffFile) return "the AIFF file has no COMM chunk with a sample rate";
  return "the file could not be read as a track";
}

}  // namespace

TrackFile openTrackFile(const std::string& path, int scanMode) {
  TrackFile result;
  if (GetFileKind(path, nullptr) == 0) {
    result.cause = "not a track: the name must end in .mp3, .aif or .tdf";
    return result;
  }
  auto track = std::make_unique<ID3Tag>();
  StageWatch watch;
  ProgressCallback progress{&StageWatch::report, &watch};
  const unsigned opened = OpenTrack(*track, path, scanMode, &progress, true);
  if (!watch.started || (opened == 0 && !track->isTagDataFile)) {
    result.cause = fallbackCause(*track, watch.started);
    return result;
  }
  result.track = std::move(track);
  return result;
}

}  // namespace melos
