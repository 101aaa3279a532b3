// Two processes on one settings file: what one saves, the other reads with the
// same values and types; saving at the same time loses no key; and a process
// killed while saving leaves a whole file behind.

#include <gtest/gtest.h>

#include <QProcess>
#include <chrono>
#include <thread>

#include "tests/preferences/store_fixture.h"

namespace melos::test {
namespace {

// The settings helper as a second process; destroying it kills it.
struct Helper : QProcess {
  explicit Helper(const QStringList& args) {
    setProcessChannelMode(QProcess::ForwardedErrorChannel);
    start(MELOS_SETTINGS_HELPER, args);
    EXPECT_TRUE(waitForStarted());
  }
  ~Helper() override {
    kill();
    waitForFinished();
  }
  // The exit code, or -1 when the helper did not end by itself.
  int wait() {
    waitForFinished(-1);
    return exitStatus() == NormalExit ? exitCode() : -1;
  }
};

struct TwoProcesses : ::testing::Test {
  TempDir dir;
  QString path = QString::fromStdString(dir.file("Meloscribe.json"));
};

TEST_F(TwoProcesses, ValuesWrittenByOneReadInTheOtherWithTheirTypes) {
  ASSERT_EQ(Helper({"write", path, "Copy title", "true", "Show splash", "false", "Tag 2 version", "4", "Default path",
                    "\"/srv/Musik/Björk\"", "User genre list", "[\"Gqom\", \"Blues/R&B\"]", "Ratio", "2.5",
                    "Nothing", "null"}).wait(), 0);
  SettingsFileStore store(path);
  const std::pair<const char*, QMetaType::Type> types[]{
      {"Copy title", QMetaType::Bool},    {"Tag 2 version", QMetaType::LongLong},       {"Ratio", QMetaType::Double},
      {"Nothing", QMetaType::Nullptr},    {"User genre list", QMetaType::QVariantList}, {"Default path", QMetaType::QString}};
  for (const auto& [key, type] : types) EXPECT_EQ(store.value(key)->typeId(), type) << key;

  PreferencesController prefs(std::make_unique<SettingsFileStore>(path), dir.path());
  EXPECT_TRUE(prefs.isCopyTitleSet());
  EXPECT_FALSE(prefs.showSplash());
  EXPECT_EQ(prefs.getTag2SaveVersion(), 4);
  EXPECT_EQ(prefs.getDefaultPath(), "/srv/Musik/Björk");
  EXPECT_EQ(prefs.getUserGenreList(), (std::vector<std::string>{"Gqom", "Blues/R&B"}));
}

TEST_F(TwoProcesses, SaveKeepsWhatTheOtherSavedMeanwhile) {
  writeSettingsFile(path, {{"A", 1}, {"B", 2}});
  SettingsFileStore store(path);
  ASSERT_EQ(store.value("A"), QVariant(1LL));
  ASSERT_EQ(Helper({"write", path, "C", "3", "B", "20"}).wait(), 0);
  // This process still has the old file in view; it saves only its own changes.
  store.remove("A");
  store.setValue("D", 4);
  ASSERT_TRUE(store.sync());
  EXPECT_EQ(readSettingsFile(path), (QVariantMap{{"B", 20LL}, {"C", 3LL}, {"D", 4LL}}));
  EXPECT_EQ(store.value("C"), QVariant(3LL));
}

TEST_F(TwoProcesses, SavingAtTheSameTimeLosesNoKey) {
  constexpr int kKeysEach = 100;  // long enough for the two runs to overlap
  writeSettingsFile(path, {{"Seed", true}});
  Helper one({"hammer", path, "one", QString::number(kKeysEach)});
  Helper two({"hammer", path, "two", QString::number(kKeysEach)});
  EXPECT_EQ(one.wait(), 0);
  EXPECT_EQ(two.wait(), 0);
  QVariantMap expected{{"Seed", true}};
  for (int i = 0; i < kKeysEach; ++i) expected["one" + QString::number(i)] = expected["two" + QString::number(i)] = i;
  EXPECT_EQ(readSettingsFile(path), expected);
}

TEST_F(TwoProcesses, KilledWhileSavingLeavesAWholeFile) {
  constexpr int kSize = 4 * 1024 * 1024;  // long enough to be killed mid-save
  writeSettingsFile(path, {{"Keep", true}, {"Big", QString(kSize, QChar('z'))}});
  for (int delayMs : {0, 7, 23, 51, 97}) {
    Helper churn({"churn", path, QString::number(kSize)});
    ASSERT_TRUE(churn.waitForReadyRead(60000) && churn.readLine() == "ready\n");
    std::this_thread::sleep_for(std::chrono::milliseconds(delayMs));
    churn.kill();
    EXPECT_EQ(churn.wait(), -1);
    const QVariantMap saved = readSettingsFile(path);
    EXPECT_EQ(saved["Keep"], QVariant(true)) << "a partial file after " << delayMs << " ms";
    const QString big = saved["Big"].toString();
    ASSERT_EQ(big.size(), kSize);
    EXPECT_EQ(big.count(big.front()), kSize) << "a mixed value after " << delayMs << " ms";
  }
  // The killed process's lock is stale and does not hold up the next save.
  SettingsFileStore store(path);
  store.setValue("After", true);
  EXPECT_TRUE(store.sync());
  EXPECT_EQ(readSettingsFile(path)["After"], QVariant(true));
}

}  // namespace
}  // namespace melos::test
