#pragma once
// Runs a test against both stores: the in-memory one, and a real settings file
// in a temporary folder that the store reads from disk when it opens.

#include <gtest/gtest.h>

#include <QFile>
#include <memory>
#include <string>
#include <vector>

#include "preferences/json_settings_format.h"
#include "preferences/preferences_controller.h"
#include "preferences/settings_file_store.h"
#include "tests/support/temp_dir.h"

namespace melos::test {

using Seed = std::vector<std::pair<QString, QVariant>>;
enum class StoreKind { Memory, File };
inline std::string storeKindName(const ::testing::TestParamInfo<StoreKind>& info) {
  return info.param == StoreKind::Memory ? "Memory" : "File";
}

// Passes everything on to its store and notes each change and synchronisation
// in order ("set:KEY", "remove:KEY", "sync").
struct RecordingStore : PreferenceStore {
  explicit RecordingStore(std::unique_ptr<PreferenceStore> store) : inner(std::move(store)) {}
  std::optional<QVariant> value(const QString& key) const override { return inner->value(key); }
  QStringList keys() const override { return inner->keys(); }
  void setValue(const QString& key, const QVariant& v) override { note("set:" + key); inner->setValue(key, v); }
  void remove(const QString& key) override { note("remove:" + key); inner->remove(key); }
  bool sync() override { note("sync"); return inner->sync(); }
  void note(const QString& event) { events.push_back(event.toStdString()); }
  std::unique_ptr<PreferenceStore> inner;
  std::vector<std::string> events;
};

inline void writeSettingsFile(const QString& path, const Seed& seed) {
  QSettings::SettingsMap map;
  for (const auto& [key, value] : seed) map.insert(key, value);
  QFile file(path);
  ASSERT_TRUE(file.open(QIODevice::WriteOnly) && writeJsonSettings(file, map)) << path.toStdString();
}

inline QVariantMap readSettingsFile(const QString& path) {
  QSettings::SettingsMap map;
  QFile file(path);
  EXPECT_TRUE(!file.open(QIODevice::ReadOnly) || readJsonSettings(file, map)) << path.toStdString();
  return map;
}

class StoreTest : public ::testing::TestWithParam<StoreKind> {
 protected:
  // A fresh controller over a store holding exactly the seed; each in a new
  // settings file, so that no earlier store's view can leak into it.
  PreferencesController& open(const Seed& seed = {}) {
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
  // What a new process would find: the settings file, or the memory store's contents.
  QVariantMap persisted() const {
    if (GetParam() == StoreKind::File) return readSettingsFile(path_);
    QVariantMap values;
    for (const QString& key : recorder_->keys()) values[key] = *recorder_->value(key);
    return values;
  }

  TempDir dir_;
  RecordingStore* recorder_ = nullptr;

 private:
  int opened_ = 0;
  QString path_;
  std::unique_ptr<PreferencesController> controller_;
};

}  // namespace melos::test
