#pragma once
// The settings file format: one JSON object of key to value. JSON keeps
// booleans, numbers, strings and arrays apart, so a value reads back with the
// type it was written with (a boolean never comes back as the number 1).

#include <QIODevice>
#include <QSettings>

namespace melos {

// Registered with QSettings on first use; the same format for every caller.
QSettings::Format jsonSettingsFormat();

// False, with the cause in the log, when the bytes are not a JSON object.
// Integers read as qint64, other numbers as double, null as std::nullptr_t.
bool readJsonSettings(QIODevice& device, QSettings::SettingsMap& map);
bool writeJsonSettings(QIODevice& device, const QSettings::SettingsMap& map);

}  // namespace melos
