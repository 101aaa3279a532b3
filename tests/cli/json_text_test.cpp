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

using Pair = std::pair<JsonValue, QJsonValue>;

Pair randomValue(std::mt19937& random, int depth) {
  const auto pick = [&random](size_t count) { return random() % count; };
  const auto number = static_cast<int64_t>(random()) - (int64_t{1} << 31);
  switch (pick(depth > 3 ? 4 : 6)) {
    case 0: return {JsonValue(), QJsonValue()};
    case 1: return {JsonValue(number % 2 == 0), QJsonValue(number % 2 == 0)};
    case 2: return {JsonValue(number), QJsonValue(static_cast<qint64>(number))};
    case 3: {
      // Plain ASCII, quotes and backslashes, controls, DEL, Latin-1 and wider
      // characters, emoji, and bytes that are no UTF-8 at all.
      static const std::vector<std::string> pieces = {
          "a", "Z", " ", "\"", "\\", "/", "\n", "\r", "\t", "\b", "\f", std::string(1, '\0'), "\x01", "\x1f",
          "\x7f", "\xC3\xA9", "\xE6\x97\xA5", "\xF0\x9F\x8E\xB5", "\xE2\x80\xA8", "\xEF\xBF\xBE", "\xEF\xB7\x90",
          "\xFF", "\xC3", "\xE6\x97", "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\x80"};
      std::string text;
      for (auto count = pick(6); count > 0; --count) text += pieces[pick(pieces.size())];
      return {JsonValue(text), QJsonValue(QString::fromStdString(text))};
    }
    default: {
      const bool isObject = pick(2) == 0;
      JsonValue ours = isObject ? JsonValue::object() : JsonValue::array();
      QJsonObject object;
      QJsonArray array;
      static const char* keys[] = {"title", "v2Version", "versions", "v1", "v2", "Zeta", "audio", "a b"};
      for (size_t i = pick(5); i > 0; --i) {
        const char* key = keys[pick(std::size(keys))];
        if (object.contains(QLatin1String(key))) continue;
        const Pair member = randomValue(random, depth + 1);
        if (isObject) object.insert(QLatin1String(key), member.second);
        else array.append(member.second);
        isObject ? ours.set(key, member.first) : ours.append(member.first);
      }
      return {ours, isObject ? QJsonValue(object) : QJsonValue(array)};
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
    const auto [ours, qt] = randomValue(random, 0);
    ASSERT_EQ(ours.arrayElementText(), qtElement(qt)) << "case " << i;
  }
  // A file name with a byte no encoding reads holds a lone surrogate.
  const QString name = QStringLiteral("a") + QChar(0xDC80) + QStringLiteral(".mp3");
  EXPECT_EQ(JsonValue(name).arrayElementText(), qtElement(QJsonValue(name)));
}

}  // namespace
}  // namespace melos::cli
