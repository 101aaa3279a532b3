#include "preferences/settings_file_store.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QDir>
#include <QStandardPaths>
#include <fstream>

#include "engine/log.h"
#include "tests/preferences/store_fixture.h"
#include "tests/support/log_capture.h"

namespace melos::test {
namespace {

using StoreKindTest = StoreTest;

TEST_P(StoreKindTest, MissingKeyIsNotAStoredValue) {
  open();
  PreferenceStore& store = *recorder_->inner;
  EXPECT_FALSE(store.value("Show splash").has_value());
  store.setValue("Show splash", false);
  store.setValue("Default path", QString());
  EXPECT_EQ(store.value("Show splash"), QVariant(false));
  EXPECT_EQ(store.value("Default path"), QVariant(QString()));
  EXPECT_TRUE(store.sync());
  EXPECT_EQ(store.keys(), (QStringList{"Default path", "Show splash"}));
  store.remove("Show splash");
  store.remove("");  // QSettings would take it for every key
  EXPECT_EQ(store.keys(), QStringList{"Default path"});
}

INSTANTIATE_TEST_SUITE_P(Stores, StoreKindTest, ::testing::Values(StoreKind::Memory, StoreKind::File), storeKindName);

TEST(SettingsFileStore, SavingMakesTheFoldersAndLeavesOnlyTheSettingsFile) {
  TempDir dir;
  const QString path = QString::fromStdString(dir.file("config/Meloscribe.json"));
  SettingsFileStore store(path);
  for (int round = 0; round < 3; ++round) {
    store.setValue("Defaults index", round);
    ASSERT_TRUE(store.sync());
  }
  EXPECT_EQ(QDir(QString::fromStdString(dir.file("config"))).entryList(QDir::Files | QDir::Hidden),
            QStringList{"Meloscribe.json"});
  EXPECT_EQ(readSettingsFile(path)["Defaults index"], QVariant(2LL));
  EXPECT_EQ(store.path(), path);
}

// A settings file that is no JSON object gives the defaults, and is kept under
// the first free name, never replacing one kept before; the user is told once.
TEST(SettingsFileStore, UnreadableFileIsKeptAsideAndNeverLost) {
  const std::string broken = "{\"User genre list\": [\"Mine\"], \"Show splash\": fals";
  const std::pair<std::vector<std::string>, std::string> rows[]{{{}, ".broken"},
                                                                {{".broken", ".broken.1"}, ".broken.2"}};
  for (const auto& [earlier, keptAs] : rows) {
    TempDir dir;
    const std::string file = dir.file("Meloscribe.json");
    std::ofstream(file) << broken;
    for (const std::string& suffix : earlier) std::ofstream(file + suffix) << "earlier";
    LogCapture log;
    {
      PreferencesController prefs(std::make_unique<SettingsFileStore>(QString::fromStdString(file)), dir.path());
      EXPECT_TRUE(prefs.showSplash());
      prefs.setBoolPreferenceNamed("Copy title", true);
      EXPECT_TRUE(prefs.synchronize());
    }
    EXPECT_TRUE(log.has(LogError, "Failed to read the preferences file '" + file + "'")) << log.dump();
    EXPECT_TRUE(log.has(LogError, "'" + file + "' was kept as '" + file + keptAs + "'")) << log.dump();
    EXPECT_EQ(log.count(LogError), 2u) << log.dump();
    EXPECT_EQ(readSettingsFile(QString::fromStdString(file)), (QVariantMap{{"Copy title", true}}));
    const auto text = [](const std::string& path) {
      const std::vector<uint8_t> bytes = readFile(path);
      return std::string(bytes.begin(), bytes.end());
    };
    EXPECT_EQ(text(file + keptAs), broken);
    for (const std::string& suffix : earlier) EXPECT_EQ(text(file + suffix), "earlier");
    EXPECT_EQ(SettingsFileStore::takeKeptBrokenFile().toStdString(), file + keptAs);
    EXPECT_EQ(SettingsFileStore::takeKeptBrokenFile(), QString());
  }
}

TEST(JsonSettingsFormat, BrokenOrNonObjectTextIsRefusedWithACause) {
  for (const char* text : {"{\"Show splash\": tru", "[true, 1]", "\"text\"", "{\"a\": 1} trailing"}) {
    LogCapture log;
    QBuffer buffer;
    buffer.setData(text);
    buffer.open(QIODevice::ReadOnly);
    QSettings::SettingsMap map;
    EXPECT_FALSE(readJsonSettings(buffer, map)) << text;
    EXPECT_TRUE(map.isEmpty()) << text;
    EXPECT_TRUE(log.has(LogError, "Failed to read the preferences file '(settings stream)'")) << log.dump();
  }
}

TEST(SettingsFileStore, SharedInstanceUsesTheXdgConfigFolder) {
  const QString path = defaultSettingsPath();
  // The tests run in Qt's test mode, never on the user's own folder.
  EXPECT_EQ(path, QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                      "/Meloscribe/Meloscribe.json");
  EXPECT_TRUE(path.contains("qttest")) << path.toStdString();
  PreferencesController& shared = PreferencesController::sharedInstance();
  EXPECT_EQ(&shared, &PreferencesController::sharedInstance());
  EXPECT_EQ(shared.defaultPicturePath(4), QFileInfo(path).absolutePath().toStdString() + "/default0.img");
}

}  // namespace
}  // namespace melos::test
