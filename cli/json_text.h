#pragma once
// A small JSON value that renders the text QJsonDocument::toJson(Indented)
// gives for the same value, byte for byte, without building Qt's JSON model:
// `melos show --json` writes thousands of objects, and the model and its
// UTF-16 round trips cost more than reading the files.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <QString>

namespace melos::cli {

class JsonValue {
 public:
  JsonValue() = default;  // null
  JsonValue(bool value) : kind_(Kind::Bool), number_(value ? 1 : 0) {}  // NOLINT: implicit like QJsonValue
  JsonValue(int value) : kind_(Kind::Number), number_(value) {}         // NOLINT
  JsonValue(int64_t value) : kind_(Kind::Number), number_(value) {}     // NOLINT
  JsonValue(uint32_t value) : kind_(Kind::Number), number_(value) {}    // NOLINT
  // UTF-8 text; bytes that are no UTF-8 are shown the way Qt shows them.
  JsonValue(std::string text) : kind_(Kind::String), text_(std::move(text)) {}  // NOLINT
  JsonValue(const char* text) : JsonValue(std::string(text)) {}                  // NOLINT
  JsonValue(const QString& text);                                                // NOLINT

  static JsonValue object();
  static JsonValue array();

  // Objects keep their members sorted by key when written, as Qt does.
  JsonValue& set(std::string key, JsonValue value);
  JsonValue& append(JsonValue value);

  // The value as the only element of an indented array: the lines between
  // "[\n" and "\n]\n" of the whole document.
  std::string arrayElementText() const;

 private:
  // Raw: a string literal already written by Qt.
  enum class Kind { Null, Bool, Number, String, Raw, Array, Object };
  void write(std::string& out, int indent) const;

  Kind kind_ = Kind::Null;
  int64_t number_ = 0;
  std::string text_;
  std::vector<std::pair<std::string, JsonValue>> members_;  // arrays use the values only
};

// A JSON string literal, quotes included, as Qt writes it.
void appendJsonString(std::string& out, const std::string& utf8);

}  // namespace melos::cli
