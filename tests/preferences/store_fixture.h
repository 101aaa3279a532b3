#pragma once
// Preferences over a real settings file in a temporary folder, read from disk
// when the store opens, as a new process would find it.

#include <gtest/gtest.h>

#include <QFile>

#include "engine/log.h"
#include "preferences/json_settings_format.h"
#include "preferences/preferences_controller.h"
#include "preferences/settings_file_store.h"
#include "tests/support/log_capture.h"
#include "tests/support/temp_dir.h"

namespace melos::test {

using Seed = QVariantMap;

inline void writeSettingsFile(const QString& path, const Seed& seed) {
  QFile file(path);
  ASSERT_TRUE(file.open(QIODevice::WriteOnly) && writeJsonSettings(file, seed)) << path.toStdString();
}

inline QVariantMap readSettingsFile(const QString& path) {
  QSettings::SettingsMap map;
  QFile file(path);
  EXPECT_TRUE(!file.open(QIODevice::ReadOnly) || readJsonSettings(file, map)) << path.toStdString();
  return map;
}

struct StoreTest : ::testing::Test {
  // A fresh controller over a file holding exactly the seed; a new file each
  // time, so that no earlier store's view can leak into it.
  PreferencesController& open(const Seed& seed = {}) {
    path_ = QString::fromStdString(dir_.file("settings" + std::to_string(++opened_) + ".json"));
    if (!seed.isEmpty()) writeSettingsFile(path_, seed);
    current_ = std::make_unique<PreferencesController>(std::make_unique<SettingsFileStore>(path_), dir_.path());
    return *current_;
  }
  QVariantMap persisted() const { return readSettingsFile(path_); }

  TempDir dir_;
  int opened_ = 0;
  QString path_;
  std::unique_ptr<PreferencesController> current_;
};

}  // namespace melos::test
