#include "operations/recent_documents.h"

#include <algorithm>

#include "preferences/preferences_controller.h"

namespace melos {

std::vector<std::string> RecentDocuments::list() const {
  std::vector<std::string> paths = preferences_.getRecentList(key_).value_or(std::vector<std::string>{});
  // Another program version may have kept more, or empty entries.
  std::erase(paths, std::string());
  if (paths.size() > kMaxRecentDocuments) paths.resize(kMaxRecentDocuments);
  return paths;
}

void RecentDocuments::note(const std::string& path) {
  std::vector<std::string> paths = list();
  std::erase(paths, path);
  paths.insert(paths.begin(), path);
  if (paths.size() > kMaxRecentDocuments) paths.resize(kMaxRecentDocuments);
  preferences_.setRecentList(key_, paths);
}

void RecentDocuments::clear() { preferences_.clearRecentList(key_); }

}  // namespace melos
