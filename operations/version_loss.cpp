#include "operations/version_loss.h"

#include "engine/tag_writer.h"

namespace melos {

int resolvedSaveVersion(const ID3Tag& track, int version) noexcept {
  if (version <= 2) return chooseSaveVersion(track);
  return version > 4 ? 4 : version;
}

std::vector<std::string> fieldsLostAtVersion(const ID3Tag& track, int version) {
  std::vector<std::string> lost;
  if (resolvedSaveVersion(track, version) >= 4) return lost;
  const TagData& d = track.tagData;
  if (!d.releasetime.empty()) lost.emplace_back("Release time");
  if (!d.recordtime.empty()) lost.emplace_back("Record time");
  if (!d.producednotice.empty()) lost.emplace_back("Produced notice");
  if (!d.mood.empty()) lost.emplace_back("Mood");
  return lost;
}

void dropVersion24Fields(TagData& data) noexcept {
  data.releasetime.clear();
  data.recordtime.clear();
  data.producednotice.clear();
  data.mood.clear();
}

}  // namespace melos
