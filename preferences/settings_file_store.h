#pragma once
// The per-user store on disk: QSettings over the JSON settings format.
//
// QSettings gives the safety the store needs: sync() takes a lock file beside
// the settings file, re-reads the file when another process has changed it,
// applies only this process's added and removed keys on top, and replaces the
// file through QSaveFile, so a crash while saving leaves the old file or the
// new one and two processes saving at once keep each other's keys.

#include <QSettings>
#include <memory>
#include <mutex>

#include "preferences/store.h"

namespace melos {

class SettingsFileStore : public PreferenceStore {
 public:
  explicit SettingsFileStore(const QString& path);
  ~SettingsFileStore() override;
  SettingsFileStore(const SettingsFileStore&) = delete;
  SettingsFileStore& operator=(const SettingsFileStore&) = delete;

  QString path() const;

  std::optional<QVariant> value(const QString& key) const override;
  void setValue(const QString& key, const QVariant& value) override;
  void remove(const QString& key) override;
  QStringList keys() const override;
  // False, with the cause in the log, when the file could not be read or written.
  bool sync() override;

  // Where a settings file that was not valid JSON was kept, once: the first
  // window tells the user that the preferences were reset, later ones do not.
  // Empty when no such file was met in this process, or after the first call.
  static QString takeKeptBrokenFile();

 private:
  // One QSettings object is not safe to share between threads; the group
  // update reads preferences from its worker thread.
  mutable std::mutex mutex_;
  std::unique_ptr<QSettings> settings_;
  QSettings::Status reportedStatus_ = QSettings::NoError;
};

// "Meloscribe/Meloscribe.json" in the user's XDG config folder.
QString defaultSettingsPath();

}  // namespace melos
