#include "cli/json_text.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonValue>
#include <algorithm>

namespace melos::cli {
namespace {

// Text Qt writes unchanged but for '"' and '\': printable ASCII and whole
// UTF-8 sequences. Anything else (control characters, DEL, broken
// sequences) goes through Qt itself, which has its own ways with them.
bool isPlain(const std::string& text) {
  const auto* p = reinterpret_cast<const unsigned char*>(text.data());
  const auto* end = p + text.size();
  while (p < end) {
    const unsigned char c = *p;
    if (c < 0x80) {
      if (c < 0x20 || c == 0x7F) return false;
      ++p;
      continue;
    }
    size_t length;
    uint32_t code;
    if ((c & 0xE0) == 0xC0) {
      length = 2;
      code = c & 0x1F;
    } else if ((c & 0xF0) == 0xE0) {
      length = 3;
      code = c & 0x0F;
    } else if ((c & 0xF8) == 0xF0) {
      length = 4;
      code = c & 0x07;
    } else {
      return false;
    }
    if (static_cast<size_t>(end - p) < length) return false;
    for (size_t i = 1; i < length; ++i) {
      if ((p[i] & 0xC0) != 0x80) return false;
      code = (code << 6) | (p[i] & 0x3F);
    }
    const uint32_t minimum = length == 2 ? 0x80 : length == 3 ? 0x800 : 0x10000;
    if (code < minimum || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return false;
    // Non-characters and the line separators are left to Qt as well.
    if (code >= 0xFDD0 && code <= 0xFDEF) return false;
    if ((code & 0xFFFE) == 0xFFFE || code == 0x2028 || code == 0x2029) return false;
    p += length;
  }
  return true;
}

}  // namespace

void appendJsonString(std::string& out, const std::string& utf8) {
  if (!isPlain(utf8)) {
    const QByteArray text =
        QJsonDocument(QJsonArray{QJsonValue(QString::fromStdString(utf8))}).toJson(QJsonDocument::Compact);
    out.append(text.constData() + 1, static_cast<size_t>(text.size() - 2));  // without "[" and "]"
    return;
  }
  out += '"';
  for (char c : utf8) {
    if (c == '"' || c == '\\') out += '\\';
    out += c;
  }
  out += '"';
}

JsonValue::JsonValue(const QString& text) : kind_(Kind::String), text_(text.toStdString()) {
  // A name made of bytes that no encoding could read holds lone surrogates;
  // Qt's writer decides what they become.
  const bool plain = std::none_of(text.begin(), text.end(), [](QChar c) { return c.isSurrogate(); });
  if (plain) return;
  const QByteArray json = QJsonDocument(QJsonArray{QJsonValue(text)}).toJson(QJsonDocument::Compact);
  kind_ = Kind::Raw;
  text_ = std::string(json.constData() + 1, static_cast<size_t>(json.size() - 2));
}

JsonValue JsonValue::object() {
  JsonValue value;
  value.kind_ = Kind::Object;
  return value;
}

JsonValue JsonValue::array() {
  JsonValue value;
  value.kind_ = Kind::Array;
  return value;
}

JsonValue& JsonValue::set(std::string key, JsonValue value) {
  members_.emplace_back(std::move(key), std::move(value));
  return *this;
}

JsonValue& JsonValue::append(JsonValue value) {
  members_.emplace_back(std::string(), std::move(value));
  return *this;
}

std::string JsonValue::arrayElementText() const {
  std::string out = "    ";
  write(out, 1);
  return out;
}

void JsonValue::write(std::string& out, int indent) const {
  switch (kind_) {
    case Kind::Null: out += "null"; return;
    case Kind::Bool: out += number_ != 0 ? "true" : "false"; return;
    case Kind::Number: out += std::to_string(number_); return;
    case Kind::String: appendJsonString(out, text_); return;
    case Kind::Raw: out += text_; return;
    case Kind::Array:
    case Kind::Object: break;
  }
  const bool isObject = kind_ == Kind::Object;
  out += isObject ? "{\n" : "[\n";
  std::vector<const std::pair<std::string, JsonValue>*> order;
  order.reserve(members_.size());
  for (const auto& member : members_) order.push_back(&member);
  if (isObject) std::stable_sort(order.begin(), order.end(), [](auto* a, auto* b) { return a->first < b->first; });
  const std::string inner(static_cast<size_t>(4 * (indent + 1)), ' ');
  for (size_t i = 0; i < order.size(); ++i) {
    out += inner;
    if (isObject) {
      appendJsonString(out, order[i]->first);
      out += ": ";
    }
    order[i]->second.write(out, indent + 1);
    out += i + 1 < order.size() ? ",\n" : "\n";
  }
  out.append(static_cast<size_t>(4 * indent), ' ');
  out += isObject ? '}' : ']';
}

}  // namespace melos::cli
