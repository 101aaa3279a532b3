// A second process on a settings file, driven by the process tests:
//   write PATH [KEY JSON]...   sets each key to the JSON value, then saves
//   hammer PATH PREFIX COUNT   sets PREFIX0.. one by one, saving each time
//   churn PATH SIZE            rewrites "Big" with SIZE letters forever,
//                              printing "ready" after the first save
// Exit code 0 on success, 1 when a save failed, 2 on bad arguments.

#include <QJsonArray>
#include <QJsonDocument>
#include <cstdio>
#include <string>

#include "preferences/settings_file_store.h"

int main(int argc, char** argv) {
  if (argc < 3) return 2;
  const std::string command = argv[1];
  melos::SettingsFileStore store(QString::fromUtf8(argv[2]));
  if (command == "write" && argc % 2 == 1) {
    for (int i = 3; i < argc; i += 2)
      store.setValue(argv[i], QJsonDocument::fromJson(QByteArray("[") + argv[i + 1] + "]").array()[0].toVariant());
    return store.sync() ? 0 : 1;
  }
  const int count = argc > 3 ? QString(argv[argc - 1]).toInt() : 0;
  if (command == "hammer" && argc == 5) {
    for (int i = 0; i < count; ++i) {
      store.setValue(argv[3] + QString::number(i), i);
      if (!store.sync()) return 1;
    }
    return 0;
  }
  if (command != "churn" || argc != 4) return 2;
  for (int round = 0;; ++round) {
    store.setValue("Big", QString(count, QChar('a' + round % 26)));
    if (!store.sync()) return 1;
    if (round == 0) {
      std::puts("ready");
      std::fflush(stdout);
    }
  }
}
