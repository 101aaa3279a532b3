#include "preferences/settings_file_store.h"

#include <QStandardPaths>

#include "engine/log.h"
#include "preferences/json_settings_format.h"

namespace melos {

SettingsFileStore::SettingsFileStore(const QString& path)
    : settings_(std::make_unique<QSettings>(path, jsonSettingsFormat())) {}

SettingsFileStore::~SettingsFileStore() {
  std::lock_guard lock(mutex_);
  settings_->sync();
}

QString SettingsFileStore::path() const {
  std::lock_guard lock(mutex_);
  return settings_->fileName();
}

std::optional<QVariant> SettingsFileStore::value(const QString& key) const {
  std::lock_guard lock(mutex_);
  if (!settings_->contains(key)) return std::nullopt;
  return settings_->value(key);
}

void SettingsFileStore::setValue(const QString& key, const QVariant& value) {
  std::lock_guard lock(mutex_);
  settings_->setValue(key, value);
}

void SettingsFileStore::remove(const QString& key) {
  // QSettings takes the empty key as "every key".
  if (key.isEmpty()) return;
  std::lock_guard lock(mutex_);
  settings_->remove(key);
}

QStringList SettingsFileStore::keys() const {
  std::lock_guard lock(mutex_);
  return settings_->allKeys();
}

bool SettingsFileStore::sync() {
  std::lock_guard lock(mutex_);
  settings_->sync();
  const QSettings::Status status = settings_->status();
  if (status == QSettings::NoError) return true;
  // QSettings keeps the first error it met; say it once, not at every sync.
  if (status == reportedStatus_) return false;
  reportedStatus_ = status;
  LogMessage(LogError, "Failed to synchronise the preferences file '%s' (%s)",
             settings_->fileName().toUtf8().constData(),
             status == QSettings::AccessError ? "access error" : "format error");
  return false;
}

QString defaultSettingsPath() {
  return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
         QStringLiteral("/Meloscribe/Meloscribe.json");
}

}  // namespace melos
