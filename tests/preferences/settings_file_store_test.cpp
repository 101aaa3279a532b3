#include "preferences/settings_file_store.h"

#include <sys/wait.h>
#include <unistd.h>

#include <QDir>
#include <QStandardPaths>
#include <csignal>
#include <functional>

#include "tests/preferences/store_fixture.h"
#include "tests/support/byte_text.h"

namespace melos::test {
namespace {

TEST(PreferenceStores, MissingKeyIsNotAStoredValue) {
  TempDir dir;
  const QString path = QString::fromStdString(dir.file("config/Meloscribe.json"));  // the folder is made on save
  std::unique_ptr<PreferenceStore> stores[]{std::make_unique<MemoryPreferenceStore>(),
                                            std::make_unique<SettingsFileStore>(path)};
  for (const auto& store : stores) {
    EXPECT_FALSE(store->value("Show splash").has_value());
    store->setValue("Show splash", false);
    store->setValue("Default path", QString());
    EXPECT_TRUE(store->sync());
    store->remove("Show splash");
    store->remove("");  // QSettings would take it for every key
    EXPECT_TRUE(store->sync());
    EXPECT_TRUE(store->keys() == QStringList{"Default path"} && store->value("Default path") == QString());  // empty
  }
  // No temporary or lock file is left beside the settings.
  EXPECT_EQ(QDir(QFileInfo(path).path()).entryList(QDir::Files | QDir::Hidden), QStringList{"Meloscribe.json"});
  EXPECT_EQ(readSettingsFile(path), (QVariantMap{{"Default path", ""}}));
  EXPECT_EQ(static_cast<SettingsFileStore&>(*stores[1]).path(), path);
}

// A settings file that is no JSON object gives the defaults, and is kept under
// the first free name, never replacing one kept before; the user is told once.
TEST(SettingsFileStore, UnreadableFileIsKeptAsideAndNeverLost) {
  const std::tuple<std::string, std::vector<std::string>, std::string> rows[]{
      {"{\"Genres\": [\"Mine\"], \"Splash\": fals", {}, ".broken"},
      {"[1]", {".broken", ".broken.1"}, ".broken.2"},
      {"", {}, ".broken"}};
  for (const auto& [broken, earlier, keptAs] : rows) {
    TempDir dir;
    const std::string file = dir.write("Meloscribe.json", ascii(broken));
    for (const std::string& suffix : earlier) dir.write("Meloscribe.json" + suffix, ascii("earlier"));
    LogCapture log;
    SettingsFileStore store(QString::fromStdString(file));
    EXPECT_FALSE(store.value("Show splash").has_value());
    store.setValue("Copy title", true);
    EXPECT_TRUE(store.sync());
    EXPECT_TRUE(log.has(LogError, "Failed to read the preferences file '" + file + "'")) << log.dump();
    EXPECT_TRUE(log.has(LogError, "'" + file + "' was kept as '" + file + keptAs + "'")) << log.dump();
    EXPECT_EQ(log.count(LogError), 2u) << log.dump();
    EXPECT_EQ(readSettingsFile(QString::fromStdString(file)), (QVariantMap{{"Copy title", true}}));
    EXPECT_EQ(readFile(file + keptAs), ascii(broken));
    for (const std::string& suffix : earlier) EXPECT_EQ(readFile(file + suffix), ascii("earlier"));
    EXPECT_EQ(SettingsFileStore::takeKeptBrokenFile().toStdString(), file + keptAs);
    EXPECT_EQ(SettingsFileStore::takeKeptBrokenFile(), QString());
  }
}

TEST(SettingsFileStore, SharedInstanceUsesTheXdgConfigFolder) {
  QStandardPaths::setTestModeEnabled(true);  // never the user's own folder
  const QString folder = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + "/Meloscribe";
  EXPECT_EQ(defaultSettingsPath(), folder + "/Meloscribe.json");
  EXPECT_EQ(PreferencesController::sharedInstance().defaultPicturePath(4), folder.toStdString() + "/default0.img");
  EXPECT_EQ(&PreferencesController::sharedInstance(), &PreferencesController::sharedInstance());
}

// Runs `work` in a second process on the same settings file.
pid_t spawn(const std::function<int()>& work) {
  const pid_t pid = fork();
  if (pid == 0) _exit(work());
  return pid;
}

// The exit code, or -1 when the process did not end by itself.
int waitFor(pid_t pid) {
  int status = 0;
  return waitpid(pid, &status, 0) == pid && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

struct TwoProcesses : ::testing::Test {
  TempDir dir;
  QString path = QString::fromStdString(dir.file("Meloscribe.json"));
};

// Two processes save at once while this one still has the old file in view:
// each saves only its own changes, on top of the others', and no key is lost.
TEST_F(TwoProcesses, SavingAtTheSameTimeLosesNoKey) {
  writeSettingsFile(path, {{"A", 1}, {"B", 2}});
  SettingsFileStore store(path);
  ASSERT_EQ(store.value("A"), QVariant(1LL));
  QVariantMap expected{{"B", 20}, {"D", 4}};
  std::vector<pid_t> writers;
  for (const QString prefix : {"one", "two"}) {
    for (int i = 0; i < 100; ++i) expected[prefix + QString::number(i)] = i;  // saves enough for the runs to overlap
    writers.push_back(spawn([&] {
      SettingsFileStore other(path);
      other.setValue("B", 20);
      for (int i = 0; i < 100 && other.sync(); ++i) other.setValue(prefix + QString::number(i), i);
      return other.sync() ? 0 : 1;
    }));
  }
  for (pid_t writer : writers) EXPECT_EQ(waitFor(writer), 0);
  store.remove("A");
  store.setValue("D", 4);
  ASSERT_TRUE(store.sync());
  EXPECT_EQ(readSettingsFile(path), expected);
  EXPECT_EQ(store.value("two99"), QVariant(99LL));
}

TEST_F(TwoProcesses, KilledWhileSavingLeavesAWholeFile) {
  constexpr int kSize = 4 * 1024 * 1024;  // long enough to be killed mid-save
  writeSettingsFile(path, {{"Keep", true}, {"Big", QString(kSize, QChar('z'))}});
  for (int delayMs : {0, 7, 23, 51, 97}) {
    const pid_t churn = spawn([&] {  // rewrites "Big" until killed
      SettingsFileStore store(path);
      for (int round = 0; store.sync(); ++round) store.setValue("Big", QString(kSize, QChar('a' + round % 26)));
      return 1;
    });
    while (readSettingsFile(path)["Big"].toString().startsWith('z'))  // until its first save
      ASSERT_EQ(waitpid(churn, nullptr, WNOHANG), 0);
    usleep(delayMs * 1000);
    kill(churn, SIGKILL);
    EXPECT_EQ(waitFor(churn), -1);
    const QVariantMap saved = readSettingsFile(path);  // whole, and "Big" of one save throughout
    const QString big = saved["Big"].toString();
    EXPECT_TRUE(saved["Keep"].toBool() && big.count(big.left(1)) == kSize) << "after " << delayMs << " ms";
  }
  // The killed process's lock is stale and does not hold up the next save.
  SettingsFileStore store(path);
  store.setValue("After", true);
  EXPECT_TRUE(store.sync());
}

}  // namespace
}  // namespace melos::test
