// Two processes on one settings file: what one saves, the other reads with the
// same values and types; saving at the same time loses no key; and a process
// killed while saving leaves a whole file behind.

#include <gtest/gtest.h>

#include <QFile>
#include <QProcess>
#include <QJsonDocument>
#include <QJsonObject>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "preferences/preferences_controller.h"
#include "preferences/settings_file_store.h"
#include "tests/preferences/store_fixture.h"
#include "tests/support/temp_dir.h"

namespace melos::test {
namespace {

// The settings helper as a child process, its standard output read line by line.
class Helper {
 public:
  explicit Helper(const std::vector<std::string>& args) {
    QStringList arguments;
    for (const std::string& arg : args) arguments << QString::fromStdString(arg);
    process_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process_.start(QStringLiteral(MELOS_SETTINGS_HELPER), arguments);
    if (!process_.waitForStarted()) throw std::runtime_error("cannot start the settings helper");
  }
  ~Helper() {
    process_.kill();
    process_.waitForFinished();
  }

  std::string readLine() {
    while (!process_.canReadLine() && process_.waitForReadyRead(60000)) {
    }
    return process_.readLine().trimmed().toStdString();
  }

  // The exit code, or -1 when the helper did not end by itself.
  int wait() {
    process_.waitForFinished(-1);
    return process_.exitStatus() == QProcess::NormalExit ? process_.exitCode() : -1;
  }

  void kill() { process_.kill(); }

 private:
  QProcess process_;
};

std::vector<std::string> readLines(Helper& helper, size_t count) {
  std::vector<std::string> lines;
  for (size_t i = 0; i < count; ++i) lines.push_back(helper.readLine());
  return lines;
}

TEST(TwoProcesses, ValuesWrittenByOneReadInTheOtherWithTheirTypes) {
  TempDir dir;
  const std::string path = dir.file("Meloscribe.json");
  Helper writer({"write", path,
                 "Copy title", "bool", "true",
                 "Show splash", "bool", "false",
                 "Tag 2 version", "int", "4",
                 "Default path", "string", "/srv/Musik/Björk",
                 "User genre list", "list", "Gqom|Blues/R&B",
                 "Ratio", "double", "2.5",
                 "Nothing", "null", ""});
  ASSERT_EQ(writer.wait(), 0);

  SettingsFileStore store(QString::fromStdString(path));
  const std::pair<const char*, QMetaType::Type> types[]{
      {"Copy title", QMetaType::Bool},          {"Show splash", QMetaType::Bool},
      {"Tag 2 version", QMetaType::LongLong},   {"Default path", QMetaType::QString},
      {"User genre list", QMetaType::QVariantList}, {"Ratio", QMetaType::Double},
      {"Nothing", QMetaType::Nullptr}};
  for (const auto& [key, type] : types) EXPECT_EQ(store.value(key)->typeId(), type) << key;

  PreferencesController prefs(std::make_unique<SettingsFileStore>(QString::fromStdString(path)),
                              dir.path());
  EXPECT_TRUE(prefs.isCopyTitleSet());
  EXPECT_FALSE(prefs.showSplash());
  EXPECT_EQ(prefs.getTag2SaveVersion(), 4);
  EXPECT_EQ(prefs.getDefaultPath(), "/srv/Musik/Björk");
  EXPECT_EQ(prefs.getUserGenreList(), (std::vector<std::string>{"Gqom", "Blues/R&B"}));

  // And back the other way.
  prefs.setBoolPreferenceNamed("Copy track", true);
  prefs.setIntPreferenceNamed("Editor style", 2);
  prefs.setStringPreferenceNamed("Window settings", "{{1, 2}, {3, 4}}");
  prefs.setUserGenreList({"Zouk", "Kizomba"});
  prefs.removePreferenceNamed("Show splash");
  ASSERT_TRUE(prefs.synchronize());

  Helper reader({"read", path, "Copy track", "Editor style", "Window settings", "User genre list",
                 "Show splash", "Copy title"});
  EXPECT_EQ(
      readLines(reader, 6),
      (std::vector<std::string>{
          "Copy track=bool:true", "Editor style=int:2", "Window settings=string:{{1, 2}, {3, 4}}",
          "User genre list=list:Zouk|Kizomba", "Show splash=absent:", "Copy title=bool:true"}));
  EXPECT_EQ(reader.wait(), 0);
}

TEST(TwoProcesses, SaveKeepsWhatTheOtherSavedMeanwhile) {
  TempDir dir;
  const std::string path = dir.file("Meloscribe.json");
  writeSettingsFile(QString::fromStdString(path), {{"A", 1}, {"B", 2}});
  SettingsFileStore store(QString::fromStdString(path));
  ASSERT_EQ(store.value("A"), QVariant(1LL));

  Helper other({"write", path, "C", "int", "3", "B", "int", "20"});
  ASSERT_EQ(other.wait(), 0);

  // This process still has the old file in view; it saves only its own changes.
  store.remove("A");
  store.setValue("D", 4);
  ASSERT_TRUE(store.sync());

  const auto saved = readSettingsFile(QString::fromStdString(path));
  EXPECT_EQ(saved.count("A"), 0u);
  EXPECT_EQ(saved.at("B").toInt(), 20);
  EXPECT_EQ(saved.at("C").toInt(), 3);
  EXPECT_EQ(saved.at("D").toInt(), 4);
  EXPECT_EQ(saved.size(), 3u);
  EXPECT_EQ(store.value("C")->toInt(), 3);
}

TEST(TwoProcesses, SavingAtTheSameTimeLosesNoKey) {
  constexpr int kKeysEach = 100;  // long enough for the two runs to overlap
  TempDir dir;
  const std::string path = dir.file("Meloscribe.json");
  writeSettingsFile(QString::fromStdString(path), {{"Seed", true}});
  Helper one({"hammer", path, "one", std::to_string(kKeysEach)});
  Helper two({"hammer", path, "two", std::to_string(kKeysEach)});
  EXPECT_EQ(one.wait(), 0);
  EXPECT_EQ(two.wait(), 0);

  const auto saved = readSettingsFile(QString::fromStdString(path));
  EXPECT_EQ(saved.size(), 1u + 2u * kKeysEach);
  EXPECT_EQ(saved.count("Seed"), 1u);
  for (int i = 0; i < kKeysEach; ++i) {
    for (const char* prefix : {"one", "two"}) {
      const QString key = prefix + QString::number(i);
      ASSERT_EQ(saved.count(key), 1u) << key.toStdString();
      EXPECT_EQ(saved.at(key).toInt(), i) << key.toStdString();
    }
  }
}

TEST(TwoProcesses, KilledWhileSavingLeavesAWholeFile) {
  constexpr int kSize = 4 * 1024 * 1024;  // long enough to be killed mid-save
  TempDir dir;
  const std::string path = dir.file("Meloscribe.json");
  const QString qpath = QString::fromStdString(path);
  writeSettingsFile(qpath, {{"Keep", true}, {"Big", QString(kSize, QChar('z'))}});

  for (int delayMs : {0, 7, 23, 51, 97}) {
    Helper churn({"churn", path, std::to_string(kSize)});
    ASSERT_EQ(churn.readLine(), "ready");
    std::this_thread::sleep_for(std::chrono::milliseconds(delayMs));
    churn.kill();
    EXPECT_EQ(churn.wait(), -1);

    QFile file(qpath);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll());
    ASSERT_TRUE(document.isObject()) << "a partial file after " << delayMs << " ms";
    EXPECT_EQ(document.object()["Keep"].toBool(), true);
    const QString big = document.object()["Big"].toString();
    ASSERT_EQ(big.size(), kSize);
    EXPECT_EQ(big.count(big.front()), kSize) << "a mixed value after " << delayMs << " ms";
  }

  // The killed process's lock is stale and does not hold up the next save.
  SettingsFileStore store(qpath);
  store.setValue("After", true);
  EXPECT_TRUE(store.sync());
  EXPECT_EQ(readSettingsFile(qpath)["After"], QVariant(true));
}

}  // namespace
}  // namespace melos::test
