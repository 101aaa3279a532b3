#include "operations/base64.h"

namespace melos {
namespace {
constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
}

size_t base64Length(size_t bytes) noexcept { return (bytes + 2) / 3 * 4; }

std::string base64Encode(ByteSpan data) {
  std::string out;
  out.reserve(base64Length(data.size()));
  size_t i = 0;
  for (; i + 3 <= data.size(); i += 3) {
    const uint32_t group = static_cast<uint32_t>(data[i] << 16 | data[i + 1] << 8 | data[i + 2]);
    for (int shift = 18; shift >= 0; shift -= 6) out += kAlphabet[group >> shift & 0x3F];
  }
  const size_t left = data.size() - i;
  if (left > 0) {
    const uint32_t group =
        static_cast<uint32_t>(data[i] << 16 | (left == 2 ? data[i + 1] << 8 : 0));
    out += kAlphabet[group >> 18 & 0x3F];
    out += kAlphabet[group >> 12 & 0x3F];
    out += left == 2 ? kAlphabet[group >> 6 & 0x3F] : '=';
    out += '=';
  }
  return out;
}

}  // namespace melos
