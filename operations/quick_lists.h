#pragma once
// The quick lists: per field kind, the values recently saved into it, most
// recent first, kept in the preferences and shared by every editor window.
// Texts are UTF-8.

#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace melos {

class PreferencesController;

inline constexpr size_t kMaxQuickListEntries = 26;

// The list with the text in front and any equal entry (case-sensitive) gone;
// at most 25 older entries stay. An empty text leaves the list as it is.
std::vector<std::string> addQuickListEntry(const std::vector<std::string>& list, std::string_view text);

// The keys of one tag version, in the order in which a save adds to them.
std::span<const std::string_view> v1QuickListKeys();
std::span<const std::string_view> v2QuickListKeys();

// The text of the field under a quick-list key, as the editor shows it.
using QuickListFieldText = std::function<std::string(std::string_view key)>;

// One editor's view of the lists: each as read when the editor set up its
// quick lists, then as last written by it.
class QuickLists {
 public:
  explicit QuickLists(PreferencesController& preferences);

  // None when no list is stored under the key: such a field gets no button.
  const std::vector<std::string>* list(std::string_view key) const;

  // Adds the text to the key's list and stores it at once; false (and
  // nothing stored) for an empty text.
  bool updateRecentList(std::string_view key, std::string_view text);

  // After a save: each adds the fields of its tag version, in key order, when
  // that tag is enabled and "Show quick lists" is on. Returns the keys stored.
  std::vector<std::string_view> updateV1QuickList(bool v1Enabled, const QuickListFieldText& fieldText);
  std::vector<std::string_view> updateV2QuickList(bool v2Enabled, const QuickListFieldText& fieldText);

 private:
  std::vector<std::string_view> update(std::span<const std::string_view> keys, bool enabled,
                                       const QuickListFieldText& fieldText);

  PreferencesController& preferences_;
  std::map<std::string, std::vector<std::string>, std::less<>> lists_;
};

}  // namespace melos
