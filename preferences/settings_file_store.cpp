#include "preferences/settings_file_store.h"

#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <utility>

#include "engine/log.h"
#include "preferences/json_settings_format.h"

namespace melos {

namespace {

// Far more than anyone keeps; bounds the search for a free name.
constexpr int kMaxKeptBrokenFiles = 1000;

std::mutex g_keptBrokenMutex;
QString g_keptBrokenFile;

// PATH.broken, else PATH.broken.1, PATH.broken.2, ...: a file kept by an
// earlier run is never replaced. The rename itself refuses an existing name,
// so two processes meeting the same broken file cannot keep over each other.
QString keepBrokenFile(const QString& path) {
  for (int n = 0; n < kMaxKeptBrokenFiles; ++n) {
    const QString name = path + QStringLiteral(".broken") + (n == 0 ? QString() : QStringLiteral(".%1").arg(n));
    if (QFile::exists(name)) continue;
    if (QFile::rename(path, name)) return name;
    if (!QFile::exists(name)) break;
  }
  return {};
}

}  // namespace

SettingsFileStore::SettingsFileStore(const QString& path)
    : settings_(std::make_unique<QSettings>(path, jsonSettingsFormat())) {
  // QSettings reads the file here, and on a format error serves no keys and
  // still writes at the next sync: only the keys set since would survive.
  // An empty file holds no JSON object either, but QSettings takes it for an
  // empty store; it is most likely a save cut short, so it is kept the same way.
  const QFileInfo file(path);
  const bool empty = file.isFile() && file.size() == 0;
  if (empty) LogMessage(LogError, "Failed to read the preferences file '%s' (empty)", path.toUtf8().constData());
  if (settings_->status() != QSettings::FormatError && !empty) return;
  const QString kept = keepBrokenFile(path);
  if (kept.isEmpty()) {
    // The rename fails where the folder cannot be written, and so does every
    // save, which writes a new file beside the old one.
    LogMessage(LogError, "Failed to keep the unreadable preferences file '%s'", path.toUtf8().constData());
    return;
  }
  LogMessage(LogError, "The unreadable preferences file '%s' was kept as '%s'", path.toUtf8().constData(),
             kept.toUtf8().constData());
  {
    std::lock_guard lock(g_keptBrokenMutex);
    g_keptBrokenFile = kept;
  }
  // The old object keeps its format error and would call every sync a failure.
  settings_ = std::make_unique<QSettings>(path, jsonSettingsFormat());
}

QString SettingsFileStore::takeKeptBrokenFile() {
  std::lock_guard lock(g_keptBrokenMutex);
  return std::exchange(g_keptBrokenFile, QString());
}

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
