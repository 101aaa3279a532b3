#include "engine/bytes.h"

namespace melos {

bool ByteCursor::readByte(uint8_t& out) noexcept {
  if (atEnd()) return false;
  out = bytes_[pos_++];
  return true;
}

bool ByteCursor::readBytes(size_t n, ByteSpan& out) noexcept {
  if (n > remaining()) return false;
  out = bytes_.subspan(pos_, n);
  pos_ += n;
  return true;
}

ByteSpan ByteCursor::readTerminated(size_t width) noexcept {
  const size_t start = pos_;
  for (size_t i = start; i + width <= bytes_.size(); i += width) {
    bool zero = bytes_[i] == 0 && (width == 1 || bytes_[i + 1] == 0);
    if (zero) {
      pos_ = i + width;
      return bytes_.subspan(start, i - start);
    }
  }
  pos_ = bytes_.size();
  return bytes_.subspan(start);
}

ByteSpan ByteCursor::rest() noexcept {
  ByteSpan out = bytes_.subspan(pos_);
  pos_ = bytes_.size();
  return out;
}

static char lower(char c) noexcept { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c; }

bool equalsNoCase(std::string_view a, std::string_view b) noexcept {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i)
    if (lower(a[i]) != lower(b[i])) return false;
  return true;
}

bool startsWithNoCase(std::string_view text, std::string_view prefix) noexcept {
  return text.size() >= prefix.size() && equalsNoCase(text.substr(0, prefix.size()), prefix);
}

std::string_view asText(ByteSpan bytes) noexcept {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace melos
