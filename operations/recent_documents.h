#pragma once
// The last documents opened, most recent first, kept in the preferences store
// so that Open Recent and the start panel outlive the program.

#include <string>
#include <string_view>
#include <vector>

namespace melos {

class PreferencesController;

inline constexpr size_t kMaxRecentDocuments = 10;
inline constexpr std::string_view kRecentTracksKey = "Recent documents";
inline constexpr std::string_view kRecentGroupsKey = "Recent groups";

class RecentDocuments {
 public:
  RecentDocuments(PreferencesController& preferences, std::string_view key)
      : preferences_(preferences), key_(key) {}

  std::vector<std::string> list() const;
  // Moves the path to the front, once, and keeps the newest ten.
  void note(const std::string& path);
  void clear();

 private:
  PreferencesController& preferences_;
  std::string_view key_;
};

}  // namespace melos
