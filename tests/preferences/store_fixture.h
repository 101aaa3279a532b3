#pragma once
// Runs a test against both stores: the in-memory one, and a real settings file
// in a temporary folder that the store reads from disk when it opens.

#include <gtest/gtest.h>

#include <QString>
#include <QVariant>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "preferences/preferences_controller.h"
#include "preferences/store.h"
#include "tests/support/temp_dir.h"

namespace melos::test {

enum class StoreKind { Memory, File };

std::string storeKindName(const ::testing::TestParamInfo<StoreKind>& info);
void PrintTo(StoreKind kind, std::ostream* out);

using Seed = std::vector<std::pair<QString, QVariant>>;

// Passes everything on to the store it owns and notes, in order, each change
// and synchronisation ("set:KEY", "remove:KEY", "sync").
class RecordingStore : public PreferenceStore {
 public:
  explicit RecordingStore(std::unique_ptr<PreferenceStore> inner) : inner_(std::move(inner)) {}

  std::optional<QVariant> value(const QString& key) const override { return inner_->value(key); }
  void setValue(const QString& key, const QVariant& value) override;
  void remove(const QString& key) override;
  QStringList keys() const override { return inner_->keys(); }
  bool sync() override;

  std::vector<std::string> events;

 private:
  std::unique_ptr<PreferenceStore> inner_;
};

void writeSettingsFile(const QString& path, const Seed& seed);
std::map<QString, QVariant> readSettingsFile(const QString& path);

class StoreTest : public ::testing::TestWithParam<StoreKind> {
 protected:
  // A fresh controller over a store holding exactly the seed. Each call uses a
  // new settings file, so no earlier store's view can leak into it.
  PreferencesController& open(const Seed& seed = {});
  RecordingStore& recorder() { return *recorder_; }
  // What the store would give a new process: the settings file on disk, or the
  // in-memory store's contents.
  std::map<QString, QVariant> persisted() const;
  const TempDir& dir() const { return dir_; }
  const QString& settingsPath() const { return path_; }

 private:
  TempDir dir_;
  int opened_ = 0;
  QString path_;
  RecordingStore* recorder_ = nullptr;
  std::unique_ptr<PreferencesController> controller_;
};

}  // namespace melos::test
