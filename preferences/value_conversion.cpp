#include "preferences/value_conversion.h"

#include <QLocale>
#include <climits>
#include <cmath>

namespace melos {

int intValueOfText(std::string_view text) noexcept {
  size_t i = 0;
  while (i < text.size() && (text[i] == ' ' || text[i] == '\t' || text[i] == '\n' ||
                             text[i] == '\r' || text[i] == '\f' || text[i] == '\v'))
    ++i;
  bool negative = false;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
  long long value = 0;
  for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
    value = value * 10 + (text[i] - '0');
    if (value > static_cast<long long>(INT_MAX) + 1) break;
  }
  if (negative) value = -value;
  if (value > INT_MAX) return INT_MAX;
  if (value < INT_MIN) return INT_MIN;
  return static_cast<int>(value);
}

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
