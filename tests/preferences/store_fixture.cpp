#include "tests/preferences/store_fixture.h"

#include <QFile>

#include "preferences/json_settings_format.h"
#include "preferences/settings_file_store.h"

namespace melos::test {

std::string storeKindName(const ::testing::TestParamInfo<StoreKind>& info) {
  return info.param == StoreKind::Memory ? "Memory" : "File";
}

void PrintTo(StoreKind kind, std::ostream* out) {
  *out << (kind == StoreKind::Memory ? "memory store" : "settings file");
}

void RecordingStore::setValue(const QString& key, const QVariant& value) {
  events.push_back("set:" + key.toStdString());
  inner_->setValue(key, value);
}

void RecordingStore::remove(const QString& key) {
  events.push_back("remove:" + key.toStdString());
  inner_->remove(key);
}

bool RecordingStore::sync() {
  events.push_back("sync");
  return inner_->sync();
}

void writeSettingsFile(const QString& path, const Seed& seed) {
  QSettings::SettingsMap map;
  for (const auto& [key, value] : seed) map.insert(key, value);
  QFile file(path);
  ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate)) << path.toStdString();
  ASSERT_TRUE(writeJsonSettings(file, map));
}

std::map<QString, QVariant> readSettingsFile(const QString& path) {
  QSettings::SettingsMap map;
  QFile file(path);
  if (file.open(QIODevice::ReadOnly)) {
    EXPECT_TRUE(readJsonSettings(file, map)) << path.toStdString();
  }
  std::map<QString, QVariant> values;
  for (auto it = map.constBegin(); it != map.constEnd(); ++it) values[it.key()] = it.value();
  return values;
}

PreferencesController& StoreTest::open(const Seed& seed) {
  std::unique_ptr<PreferenceStore> store;
  if (GetParam() == StoreKind::Memory) {
    store = std::make_unique<MemoryPreferenceStore>();
    for (const auto& [key, value] : seed) store->setValue(key, value);
  } else {
    path_ = QString::fromStdString(dir_.file("settings" + std::to_string(++opened_) + ".json"));
    if (!seed.empty()) writeSettingsFile(path_, seed);
    store = std::make_unique<SettingsFileStore>(path_);
  }
  auto recording = std::make_unique<RecordingStore>(std::move(store));
  recorder_ = recording.get();
  controller_ = std::make_unique<PreferencesController>(std::move(recording), dir_.path());
  return *controller_;
}

std::map<QString, QVariant> StoreTest::persisted() const {
  if (GetParam() == StoreKind::File) return readSettingsFile(path_);
  std::map<QString, QVariant> values;
  for (const QString& key : recorder_->keys()) values[key] = *recorder_->value(key);
  return values;
}

}  // namespace melos::test
