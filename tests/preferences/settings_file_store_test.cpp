#include "preferences/settings_file_store.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QStandardPaths>
#include <filesystem>
#include <fstream>
#include <memory>

#include "engine/log.h"
#include "preferences/preferences_controller.h"
#include "tests/preferences/store_fixture.h"
#include "tests/support/log_capture.h"
#include "tests/support/temp_dir.h"

namespace melos::test {
namespace {

class StoreKindTest : public ::testing::TestWithParam<StoreKind> {
 protected:
  std::unique_ptr<PreferenceStore> makeStore() {
    if (GetParam() == StoreKind::Memory) return std::make_unique<MemoryPreferenceStore>();
    return std::make_unique<SettingsFileStore>(QString::fromStdString(dir_.file("s.json")));
  }
  TempDir dir_;
};

TEST_P(StoreKindTest, MissingKeyIsNotAStoredValue) {
  auto store = makeStore();
  EXPECT_FALSE(store->value("Show splash").has_value());
  store->setValue("Show splash", false);
  ASSERT_TRUE(store->value("Show splash").has_value());
  EXPECT_EQ(*store->value("Show splash"), QVariant(false));
  store->setValue("Default path", QString());
  ASSERT_TRUE(store->value("Default path").has_value());
  EXPECT_EQ(store->value("Default path")->toString(), QString());
  EXPECT_TRUE(store->sync());
  EXPECT_EQ(store->keys(), (QStringList{"Default path", "Show splash"}));

  store->remove("Show splash");
  EXPECT_FALSE(store->value("Show splash").has_value());
  EXPECT_TRUE(store->value("Default path").has_value());
}

TEST_P(StoreKindTest, RemovingTheEmptyKeyRemovesNothing) {
  auto store = makeStore();
  store->setValue("Copy title", true);
  store->remove("");
  EXPECT_TRUE(store->value("Copy title").has_value());
}

INSTANTIATE_TEST_SUITE_P(Stores, StoreKindTest,
                         ::testing::Values(StoreKind::Memory, StoreKind::File), storeKindName);

TEST(SettingsFileStore, SavingLeavesOnlyTheSettingsFileBehind) {
  TempDir dir;
  const QString path = QString::fromStdString(dir.file("Meloscribe.json"));
  SettingsFileStore store(path);
  for (int round = 0; round < 3; ++round) {
    store.setValue("Defaults index", round);
    ASSERT_TRUE(store.sync());
  }
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(dir.path()))
    names.push_back(entry.path().filename().string());
  EXPECT_EQ(names, std::vector<std::string>{"Meloscribe.json"});
}

TEST(SettingsFileStore, MissingFoldersAreCreatedOnSave) {
  TempDir dir;
  const QString path = QString::fromStdString(dir.file("config/Meloscribe/Meloscribe.json"));
  SettingsFileStore store(path);
  EXPECT_FALSE(store.value("Show splash").has_value());
  store.setValue("Show splash", false);
  ASSERT_TRUE(store.sync());
  EXPECT_EQ(readSettingsFile(path)["Show splash"], QVariant(false));
  EXPECT_EQ(store.path(), path);
}

TEST(SettingsFileStore, UnreadableFileGivesDefaultsAndSaysSoOnce) {
  TempDir dir;
  const std::string file = dir.file("Meloscribe.json");
  std::ofstream(file) << "{\"Show splash\": fals";
  LogCapture log;
  PreferencesController prefs(std::make_unique<SettingsFileStore>(QString::fromStdString(file)),
                              dir.path());
  EXPECT_TRUE(prefs.showSplash());
  EXPECT_TRUE(log.has(LogError, "Failed to read the preferences file '" + file + "'"))
      << log.dump();
  EXPECT_TRUE(log.has(LogError, "'" + file + "' was kept as '" + file + ".broken'")) << log.dump();

  EXPECT_TRUE(prefs.synchronize());
  EXPECT_EQ(log.count(LogError), 2u) << log.dump();
  EXPECT_EQ(SettingsFileStore::takeKeptBrokenFile().toStdString(), file + ".broken");
}

struct BrokenFileCase {
  std::vector<std::string> earlier;  // suffixes of files kept before
  std::string keptAs;
};

void PrintTo(const BrokenFileCase& c, std::ostream* out) { *out << c.keptAs; }

class UnreadableSettingsTest : public ::testing::TestWithParam<BrokenFileCase> {};

TEST_P(UnreadableSettingsTest, SurvivesTheNextWriteUnderAFreeName) {
  TempDir dir;
  const std::string file = dir.file("Meloscribe.json");
  const std::string broken = "{\"User genre list\": [\"Mine\"], \"Show splash\": fals";
  std::ofstream(file) << broken;
  for (const std::string& suffix : GetParam().earlier) std::ofstream(file + suffix) << "earlier";
  {
    SettingsFileStore store(QString::fromStdString(file));
    store.setValue("V2 album", QStringList{"New"});
    EXPECT_TRUE(store.sync());
  }
  const std::map<QString, QVariant> saved = readSettingsFile(QString::fromStdString(file));
  EXPECT_EQ(saved.size(), 1u);
  EXPECT_EQ(saved.at("V2 album").toStringList(), QStringList{"New"});
  const auto text = [](const std::string& path) {
    const std::vector<uint8_t> bytes = readFile(path);
    return std::string(bytes.begin(), bytes.end());
  };
  EXPECT_EQ(text(file + GetParam().keptAs), broken);
  for (const std::string& suffix : GetParam().earlier) EXPECT_EQ(text(file + suffix), "earlier");
  EXPECT_EQ(SettingsFileStore::takeKeptBrokenFile().toStdString(), file + GetParam().keptAs);
  EXPECT_EQ(SettingsFileStore::takeKeptBrokenFile(), QString());
}

INSTANTIATE_TEST_SUITE_P(Kept, UnreadableSettingsTest,
                         ::testing::Values(BrokenFileCase{{}, ".broken"},
                                           BrokenFileCase{{".broken", ".broken.1"}, ".broken.2"}));

TEST(SettingsFileStore, DefaultLocationIsTheXdgConfigFolder) {
  const QString path = defaultSettingsPath();
  EXPECT_TRUE(path.endsWith("/Meloscribe/Meloscribe.json")) << path.toStdString();
  EXPECT_TRUE(
      path.startsWith(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)));
  // The tests run in Qt's test mode, never on the user's own folder.
  EXPECT_TRUE(path.contains("qttest")) << path.toStdString();
}

TEST(SettingsFileStore, SharedInstanceKeepsItsPictureBesideTheSettings) {
  PreferencesController& shared = PreferencesController::sharedInstance();
  EXPECT_EQ(&shared, &PreferencesController::sharedInstance());
  const QString folder = QFileInfo(defaultSettingsPath()).absolutePath();
  EXPECT_EQ(shared.defaultPicturePath(4), folder.toStdString() + "/default0.img");
}

}  // namespace
}  // namespace melos::test
