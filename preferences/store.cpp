#include "preferences/store.h"

namespace melos {

std::optional<QVariant> MemoryPreferenceStore::value(const QString& key) const {
  std::lock_guard lock(mutex_);
  auto found = values_.find(key);
  if (found == values_.end()) return std::nullopt;
  return found->second;
}

void MemoryPreferenceStore::setValue(const QString& key, const QVariant& value) {
  std::lock_guard lock(mutex_);
  values_[key] = value;
}

void MemoryPreferenceStore::remove(const QString& key) {
  std::lock_guard lock(mutex_);
  values_.erase(key);
}

QStringList MemoryPreferenceStore::keys() const {
  std::lock_guard lock(mutex_);
  QStringList result;
  for (const auto& entry : values_) result.append(entry.first);
  return result;
}

}  // namespace melos
