// A second process on a settings file, driven by the process tests:
//   write PATH [KEY TYPE VALUE]...  TYPE is bool, int, double, string, list
//                                   (items split at '|') or null; then sync
//   read PATH KEY...                prints KEY=TYPE:VALUE per key
//   hammer PATH PREFIX COUNT        sets PREFIX0.. one by one, syncing each time
//   churn PATH SIZE                 rewrites "Big" with SIZE letters forever,
//                                   printing "ready" after the first save
// Exit code 0 on success, 1 when a save failed, 2 on bad arguments.

#include <QStringList>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "preferences/settings_file_store.h"

namespace {

using melos::SettingsFileStore;

QVariant parseValue(const QString& type, const QString& text) {
  if (type == "bool") return QVariant(text == "true");
  if (type == "int") return QVariant(text.toLongLong());
  if (type == "double") return QVariant(text.toDouble());
  if (type == "string") return QVariant(text);
  if (type == "list") return QVariant(text.split('|'));
  if (type == "null") return QVariant::fromValue(nullptr);
  return {};
}

QString describe(const std::optional<QVariant>& value) {
  if (!value) return QStringLiteral("absent:");
  switch (value->typeId()) {
    case QMetaType::Bool:
      return QStringLiteral("bool:") + (value->toBool() ? "true" : "false");
    case QMetaType::Int:
    case QMetaType::LongLong:
      return QStringLiteral("int:") + QString::number(value->toLongLong());
    case QMetaType::QString:
      return QStringLiteral("string:") + value->toString();
    case QMetaType::QVariantList:
    case QMetaType::QStringList: {
      QStringList items;
      for (const QVariant& item : value->toList()) items.append(item.toString());
      return QStringLiteral("list:") + items.join('|');
    }
    default:
      return QStringLiteral("other:");
  }
}

int write(const QString& path, char** args, int count) {
  if (count % 3 != 0) return 2;
  SettingsFileStore store(path);
  for (int i = 0; i < count; i += 3)
    store.setValue(QString::fromUtf8(args[i]),
                   parseValue(QString::fromUtf8(args[i + 1]), QString::fromUtf8(args[i + 2])));
  return store.sync() ? 0 : 1;
}

int read(const QString& path, char** keys, int count) {
  SettingsFileStore store(path);
  for (int i = 0; i < count; ++i) {
    const QString key = QString::fromUtf8(keys[i]);
    std::printf("%s=%s\n", keys[i], describe(store.value(key)).toUtf8().constData());
  }
  return 0;
}

int hammer(const QString& path, const QString& prefix, int count) {
  SettingsFileStore store(path);
  for (int i = 0; i < count; ++i) {
    store.setValue(prefix + QString::number(i), QVariant(i));
    if (!store.sync()) return 1;
  }
  return 0;
}

int churn(const QString& path, int size) {
  SettingsFileStore store(path);
  for (int round = 0;; ++round) {
    store.setValue(QStringLiteral("Big"), QVariant(QString(size, QChar('a' + round % 26))));
    if (!store.sync()) return 1;
    if (round == 0) {
      std::printf("ready\n");
      std::fflush(stdout);
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) return 2;
  const std::string command = argv[1];
  const QString path = QString::fromUtf8(argv[2]);
  if (command == "write") return write(path, argv + 3, argc - 3);
  if (command == "read") return read(path, argv + 3, argc - 3);
  if (command == "hammer" && argc == 5)
    return hammer(path, QString::fromUtf8(argv[3]), std::atoi(argv[4]));
  if (command == "churn" && argc == 4) return churn(path, std::atoi(argv[3]));
  return 2;
}
