#include "tests/support/open_helpers.h"

#include "engine/id3v2_reader.h"
#include "tests/support/mpeg_builder.h"

namespace melos::test {

unsigned openBytes(const TempDir& dir, const std::string& name, const Bytes& bytes, ID3Tag& track,
                   int scanMode) {
  std::string path = dir.write(name, bytes);
  return OpenTrack(track, path, scanMode, nullptr, true);
}

ID3Tag walkTag(const Bytes& tag, int keepMode) {
  ID3Tag track;
  track.keepMode = keepMode;
  ReadV2Frames(track, tag, true);
  return track;
}

Bytes shortAudio(size_t frames) { return cbrStream(MpegHeader{}, frames); }

}  // namespace melos::test
