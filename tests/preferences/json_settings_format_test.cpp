#include "preferences/json_settings_format.h"

#include <gtest/gtest.h>

#include <QBuffer>

#include "engine/log.h"
#include "tests/support/log_capture.h"

namespace melos {
namespace {

bool readText(const QByteArray& text, QSettings::SettingsMap& map) {
  QBuffer buffer;
  buffer.setData(text);
  buffer.open(QIODevice::ReadOnly);
  return readJsonSettings(buffer, map);
}

QByteArray writeMap(const QSettings::SettingsMap& map) {
  QBuffer buffer;
  buffer.open(QIODevice::WriteOnly);
  EXPECT_TRUE(writeJsonSettings(buffer, map));
  return buffer.data();
}

TEST(JsonSettingsFormat, WrittenValuesReadBackWithTheirTypes) {
  QSettings::SettingsMap written{
      {"Copy title", true},
      {"Show splash", false},
      {"Tag 2 version", 4},
      {"Default path", QString::fromUtf8("/Musik/Björk")},
      {"User genre list", QStringList{"Rock", "Blues/R&B"}},
      {"Genre list", QVariantList{QStringList{"off", "Blues"}}},
      {"Key with spaces and a dot.", 2.5},
      {"Big", 12345678901LL},
  };
  QSettings::SettingsMap read;
  ASSERT_TRUE(readText(writeMap(written), read));
  ASSERT_EQ(read.size(), written.size());
  EXPECT_EQ(read["Copy title"], QVariant(true));
  EXPECT_EQ(read["Show splash"], QVariant(false));
  EXPECT_EQ(read["Tag 2 version"].typeId(), QMetaType::LongLong);
  EXPECT_EQ(read["Tag 2 version"].toInt(), 4);
  EXPECT_EQ(read["Default path"], QVariant(QString::fromUtf8("/Musik/Björk")));
  EXPECT_EQ(read["User genre list"].toStringList(), (QStringList{"Rock", "Blues/R&B"}));
  EXPECT_EQ(read["Genre list"].toList()[0].toStringList(), (QStringList{"off", "Blues"}));
  EXPECT_EQ(read["Key with spaces and a dot."].toDouble(), 2.5);
  EXPECT_EQ(read["Big"].toLongLong(), 12345678901LL);
}

TEST(JsonSettingsFormat, BrokenOrNonObjectFilesAreRefusedWithACause) {
  const char* texts[]{"{\"Show splash\": tru", "[true, 1]", "\"text\"", "{\"a\": 1} trailing"};
  for (const char* text : texts) {
    test::LogCapture log;
    QSettings::SettingsMap map;
    EXPECT_FALSE(readText(text, map)) << text;
    EXPECT_TRUE(map.isEmpty()) << text;
    EXPECT_TRUE(log.has(LogError, "Failed to read the preferences file")) << text << log.dump();
  }
}

TEST(JsonSettingsFormat, IsRegisteredOnce) {
  EXPECT_EQ(jsonSettingsFormat(), jsonSettingsFormat());
  EXPECT_NE(jsonSettingsFormat(), QSettings::InvalidFormat);
}

}  // namespace
}  // namespace melos
