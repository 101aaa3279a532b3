#include "operations/tag_clipboard.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "engine/bytes.h"
#include "engine/log.h"
#include "engine/open_track.h"
#include "engine/tag_writer.h"
#include "operations/track_file.h"
#include "preferences/preferences_controller.h"

namespace melos {

void TagClipboard::copyTagData(const TagEditor* front, bool all) {
  m_bPasteAllTagData = all;
  if (front == nullptr || front->kind() == DocumentKind::Other) return;
  m_pCopiedTag.reset();
  m_pCopiedTag = front->tagForCopy();
  if (front->kind() == DocumentKind::Group) m_bPasteAllTagData = false;
}

bool TagClipboard::pasteTagData(TagEditor* front) const {
  if (!m_pCopiedTag || front == nullptr || front->kind() == DocumentKind::Other) return false;
  front->setTagData(*m_pCopiedTag, front->kind() == DocumentKind::SingleTrack && m_bPasteAllTagData);
  return true;
}

void TagClipboard::clearTagData(TagEditor* front) const {
  if (front != nullptr && front->kind() != DocumentKind::Other) front->clearTagData();
}

std::unique_ptr<ID3Tag> copyOfTrack(const ID3Tag& track) {
  auto copy = std::make_unique<ID3Tag>();
  copy->setPath(track.path());
  copy->isMp3File = track.isMp3File;
  copy->isAiffFile = track.isAiffFile;
  copy->isTagDataFile = track.isTagDataFile;
  copy->hasV2Tag = track.hasV2Tag;
  CopyTagData(*copy, track, true, true, true, true, true);
  return copy;
}

void pasteTagDataInto(ID3Tag& track, const ID3Tag& copy, bool all, const PreferencesController& preferences) {
  CopyTagData(track, copy, all, preferences.isCopyTitleSet(), preferences.isCopyTrackSet(),
              preferences.isCopyComposerSet(), preferences.isCopyOriginalArtistSet());
  track.v1Changed = track.isMp3File;
  track.v2Changed = true;
}

bool loadTagDataInto(ID3Tag& track, const std::string& path) {
  const TrackFile source = openTrackFile(path, kScanQuick);
  if (!source.opened()) {
    LogMessage(LogError, "Failed to load the tag data from the file '%s' (%s)", path.c_str(),
               source.cause.c_str());
    return false;
  }
  CopyTagData(track, *source.track, true, true, true, true, true);
  track.v1Changed = track.isMp3File;
  track.v2Changed = true;
  return true;
}

bool saveTagDataFile(const ID3Tag& track, const std::string& path) {
  std::unique_ptr<ID3Tag> tag = copyOfTrack(track);
  tag->isMp3File = false;
  tag->isAiffFile = false;
  tag->isTagDataFile = true;
  tag->tagData.enabled = true;
  Bytes bytes;
  if (buildV2Tag(*tag, bytes, 0, false, true) == 0) {
    LogMessage(LogError, "Failed to build the tag for the file '%s'", path.c_str());
    return false;
  }
  const std::string temporary = path + ".t0";
  FILE* out = std::fopen(temporary.c_str(), "wb");
  if (out == nullptr) {
    LogMessage(LogError, "Failed to open the file '%s' for writing (error: %s)", temporary.c_str(),
               std::strerror(errno));
    return false;
  }
  const bool written = std::fwrite(bytes.data(), 1, bytes.size(), out) == bytes.size();
  const bool closed = std::fclose(out) == 0;
  if (!written || !closed || std::rename(temporary.c_str(), path.c_str()) != 0) {
    LogMessage(LogError, "Failed to write the file '%s' (error: %s)", path.c_str(), std::strerror(errno));
    std::remove(temporary.c_str());
    return false;
  }
  return true;
}

std::string tagDataStartFolder(const PreferencesController& preferences) {
  std::string folder = preferences.getDefaultPath();
  if (folder.empty() || folder[0] != '~') return folder;
  const char* home = std::getenv("HOME");
  return (home != nullptr ? std::string(home) : std::string()) + folder.substr(1);
}

}  // namespace melos
