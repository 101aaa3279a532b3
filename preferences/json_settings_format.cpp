#include "preferences/json_settings_format.h"

#include <QFileDevice>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>
#include <QJsonValue>

#include "engine/log.h"

namespace melos {

namespace {

QByteArray deviceName(const QIODevice& device) {
  if (auto* file = qobject_cast<const QFileDevice*>(&device)) return file->fileName().toUtf8();
  return QByteArrayLiteral("(settings stream)");
}

}  // namespace

QSettings::Format jsonSettingsFormat() {
  static const QSettings::Format format = QSettings::registerFormat(
      QStringLiteral("json"), readJsonSettings, writeJsonSettings, Qt::CaseSensitive);
  return format;
}

bool readJsonSettings(QIODevice& device, QSettings::SettingsMap& map) {
  QJsonParseError error{};
  const QJsonDocument document = QJsonDocument::fromJson(device.readAll(), &error);
  if (error.error != QJsonParseError::NoError) {
    LogMessage(LogError, "Failed to read the preferences file '%s' (%s at %d)",
               deviceName(device).constData(), error.errorString().toUtf8().constData(),
               error.offset);
    return false;
  }
  if (!document.isObject()) {
    LogMessage(LogError, "Failed to read the preferences file '%s' (not a JSON object)",
               deviceName(device).constData());
    return false;
  }
  const QJsonObject object = document.object();
  for (auto it = object.constBegin(); it != object.constEnd(); ++it)
    map.insert(it.key(), it.value().toVariant());
  return true;
}

bool writeJsonSettings(QIODevice& device, const QSettings::SettingsMap& map) {
  QJsonObject object;
  for (auto it = map.constBegin(); it != map.constEnd(); ++it)
    object.insert(it.key(), QJsonValue::fromVariant(it.value()));
  const QByteArray text = QJsonDocument(object).toJson(QJsonDocument::Indented);
  if (device.write(text) != text.size()) {
    LogMessage(LogError, "Failed to write the preferences file '%s' (%s)",
               deviceName(device).constData(), device.errorString().toUtf8().constData());
    return false;
  }
  return true;
}

}  // namespace melos
