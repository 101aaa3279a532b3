// The JSON text of `show` must be what QJsonDocument writes for the same
// values: random values are written both ways and compared byte for byte.

#include "cli/json_text.h"

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <random>

namespace melos::cli {
namespace {

struct Pair {
  JsonValue ours;
  QJsonValue qt;
};

std::string randomText(std::mt19937& random) {
  // Plain ASCII, quotes and backslashes, controls, DEL, Latin-1 and wider
  // characters, emoji, and bytes that are no UTF-8 at all.
  static const std::vector<std::string> pieces = {
      "a", "Z", " ", "\"", "\\", "/", "\n", "\r", "\t", "\b", "\f", std::string(1, '\0'), "\x01", "\x1f",
      "\x7f", "\xC3\xA9", "\xE6\x97\xA5", "\xF0\x9F\x8E\xB5", "\xE2\x80\xA8", "\xEF\xBF\xBE", "\xEF\xB7\x90",
      "\xFF", "\xC3", "\xE6\x97", "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\x80"};
  std::string text;
  const int count = static_cast<int>(random() % 6);
  for (int i = 0; i < count; ++i) text += pieces[random() % pieces.size()];
  return text;
}

Pair randomValue(std::mt19937& random, int depth) {
  switch (random() % (depth > 3 ? 4 : 6)) {
    case 0: return {JsonValue(), QJsonValue()};
    case 1: {
      const bool value = random() % 2 == 0;
      return {JsonValue(value), QJsonValue(value)};
    }
    case 2: {
      const auto value = static_cast<int64_t>(random()) - (int64_t{1} << 31);
      return {JsonValue(value), QJsonValue(static_cast<qint64>(value))};
    }
    case 3: {
      const std::string text = randomText(random);
      return {JsonValue(text), QJsonValue(QString::fromStdString(text))};
    }
    case 4: {
      JsonValue ours = JsonValue::array();
      QJsonArray qt;
      for (int i = static_cast<int>(random() % 4); i > 0; --i) {
        Pair element = randomValue(random, depth + 1);
        ours.append(element.ours);
        qt.append(element.qt);
      }
      return {ours, qt};
    }
    default: {
      JsonValue ours = JsonValue::object();
      QJsonObject qt;
      static const char* keys[] = {"title", "v2Version", "versions", "v1", "v2", "Zeta", "audio", "a b"};
      for (int i = static_cast<int>(random() % 5); i > 0; --i) {
        const char* key = keys[random() % std::size(keys)];
        if (qt.contains(QLatin1String(key))) continue;
        Pair member = randomValue(random, depth + 1);
        ours.set(key, member.ours);
        qt.insert(QLatin1String(key), member.qt);
      }
      return {ours, qt};
    }
  }
}

std::string qtElement(const QJsonValue& value) {
  const QByteArray text = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Indented);
  return text.mid(2, text.size() - 5).toStdString();  // between "[\n" and "\n]\n"
}

TEST(JsonTextTest, WritesWhatQtWrites) {
  std::mt19937 random(20261121);
  for (int i = 0; i < 3000; ++i) {
    Pair value = randomValue(random, 0);
    ASSERT_EQ(value.ours.arrayElementText(), qtElement(value.qt)) << "case " << i;
  }
}

TEST(JsonTextTest, StringsAndNamesQtWouldWriteDifferently) {
  for (const std::string& text : {std::string("plain"), std::string("tab\there"), std::string("\x7f"),
                                  std::string("bad \xFF byte"), std::string("\xE2\x80\xA8")}) {
    std::string ours;
    appendJsonString(ours, text);
    const QByteArray qt = QJsonDocument(QJsonArray{QString::fromStdString(text)}).toJson(QJsonDocument::Compact);
    EXPECT_EQ(ours, qt.mid(1, qt.size() - 2).toStdString()) << text;
  }
  // A file name with a byte no encoding reads holds a lone surrogate.
  const QString name = QStringLiteral("a") + QChar(0xDC80) + QStringLiteral(".mp3");
  EXPECT_EQ(JsonValue(name).arrayElementText(), qtElement(QJsonValue(name)));
}

}  // namespace
}  // namespace melos::cli
