#include "preferences/value_conversion.h"

#include <QLocale>
#include <algorithm>
#include <climits>
#include <cmath>

namespace melos {

std::optional<int> leadingInteger(std::string_view text) noexcept {
  size_t i = 0;
  while (i < text.size() && (text[i] == ' ' || (text[i] >= '\t' && text[i] <= '\r'))) ++i;
  bool negative = false;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
  const size_t digits = i;
  long long value = 0;
  for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i)
    value = std::min(value * 10 + (text[i] - '0'), static_cast<long long>(INT_MAX) + 1);
  if (i == digits) return std::nullopt;
  if (negative) value = -value;
  return static_cast<int>(std::clamp<long long>(value, INT_MIN, INT_MAX));
}

int intValueOfText(std::string_view text) noexcept { return leadingInteger(text).value_or(0); }

std::optional<int> intValueOf(const QVariant& value) {
  switch (value.typeId()) {
    case QMetaType::Bool:
      return value.toBool() ? 1 : 0;
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
      // Like a 32-bit integer value of a 64-bit number: the low bits.
      return static_cast<int>(value.toLongLong());
    case QMetaType::Double:
    case QMetaType::Float: {
      const double real = value.toDouble();
      if (std::isnan(real)) return 0;
      if (real >= static_cast<double>(INT_MAX)) return INT_MAX;
      if (real <= static_cast<double>(INT_MIN)) return INT_MIN;
      return static_cast<int>(real);
    }
    case QMetaType::QString:
    case QMetaType::QByteArray:
      return intValueOfText(value.toString().toUtf8().toStdString());
    default:
      return std::nullopt;
  }
}

std::optional<std::string> textOf(const QVariant& value) {
  switch (value.typeId()) {
    case QMetaType::Bool:
      return std::string(value.toBool() ? "1" : "0");
    case QMetaType::Int:
    case QMetaType::Long:
    case QMetaType::LongLong:
    case QMetaType::Short:
      return std::to_string(value.toLongLong());
    case QMetaType::UInt:
    case QMetaType::ULong:
    case QMetaType::ULongLong:
    case QMetaType::UShort:
      return std::to_string(value.toULongLong());
    case QMetaType::Double:
    case QMetaType::Float:
      return toUtf8(QString::number(value.toDouble(), 'g', QLocale::FloatingPointShortest));
    case QMetaType::QString:
    case QMetaType::QByteArray:
      return toUtf8(value.toString());
    default:
      return std::nullopt;
  }
}

bool isArray(const QVariant& value) {
  return value.typeId() == QMetaType::QVariantList || value.typeId() == QMetaType::QStringList;
}

std::string toUtf8(const QString& text) { return text.toUtf8().toStdString(); }

QString fromUtf8(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

}  // namespace melos
