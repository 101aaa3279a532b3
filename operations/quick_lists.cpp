#include "operations/quick_lists.h"

#include "preferences/preference_keys.h"
#include "preferences/preferences_controller.h"

namespace melos {
namespace {

constexpr size_t kV1KeyCount = 4;

}  // namespace

std::vector<std::string> addQuickListEntry(const std::vector<std::string>& list, std::string_view text) {
  if (text.empty()) return list;
  std::vector<std::string> updated{std::string(text)};
  for (size_t i = 0; i < list.size() && i < kMaxQuickListEntries - 1; ++i)
    if (list[i] != text) updated.push_back(list[i]);
  return updated;
}

std::span<const std::string_view> v1QuickListKeys() {
  return std::span(prefs::kQuickListKeys).first(kV1KeyCount);
}

std::span<const std::string_view> v2QuickListKeys() {
  return std::span(prefs::kQuickListKeys).subspan(kV1KeyCount);
}

QuickLists::QuickLists(PreferencesController& preferences) : preferences_(preferences) {
  for (std::string_view key : prefs::kQuickListKeys)
    if (std::optional<std::vector<std::string>> stored = preferences_.getRecentList(key))
      lists_.emplace(std::string(key), std::move(*stored));
}

const std::vector<std::string>* QuickLists::list(std::string_view key) const {
  const auto found = lists_.find(key);
  return found == lists_.end() ? nullptr : &found->second;
}

bool QuickLists::updateRecentList(std::string_view key, std::string_view text) {
  if (text.empty()) return false;
  const std::vector<std::string>* current = list(key);
  std::vector<std::string> updated = addQuickListEntry(current ? *current : std::vector<std::string>{}, text);
  preferences_.setRecentList(key, updated);
  lists_.insert_or_assign(std::string(key), std::move(updated));
  return true;
}

std::vector<std::string_view> QuickLists::updateV1QuickList(bool v1Enabled,
                                                            const QuickListFieldText& fieldText) {
  return update(v1QuickListKeys(), v1Enabled, fieldText);
}

std::vector<std::string_view> QuickLists::updateV2QuickList(bool v2Enabled,
                                                            const QuickListFieldText& fieldText) {
  return update(v2QuickListKeys(), v2Enabled, fieldText);
}

std::vector<std::string_view> QuickLists::update(std::span<const std::string_view> keys, bool enabled,
                                                 const QuickListFieldText& fieldText) {
  std::vector<std::string_view> stored;
  if (!enabled || !preferences_.showQuickLists()) return stored;
  for (std::string_view key : keys)
    if (updateRecentList(key, fieldText(key))) stored.push_back(key);
  return stored;
}

}  // namespace melos
