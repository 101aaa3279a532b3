#pragma once
// The key/value store under the preferences: property-list-like values
// (booleans, integers, reals, strings, arrays, dictionaries) by key, where a
// missing key is not the same as any stored value.

#include <QString>
#include <QStringList>
#include <QVariant>
#include <map>
#include <mutex>
#include <optional>

namespace melos {

class PreferenceStore {
 public:
  virtual ~PreferenceStore() = default;

  // Empty when the key is absent.
  virtual std::optional<QVariant> value(const QString& key) const = 0;
  virtual void setValue(const QString& key, const QVariant& value) = 0;
  virtual void remove(const QString& key) = 0;
  virtual QStringList keys() const = 0;
  // Makes this process's changes durable and takes in those of others.
  virtual bool sync() = 0;
};

// A store that lives and dies with the process; for tests and for running
// without a settings file.
class MemoryPreferenceStore : public PreferenceStore {
 public:
  std::optional<QVariant> value(const QString& key) const override;
  void setValue(const QString& key, const QVariant& value) override;
  void remove(const QString& key) override;
  QStringList keys() const override;
  bool sync() override { return true; }

 private:
  mutable std::mutex mutex_;
  std::map<QString, QVariant> values_;
};

}  // namespace melos
