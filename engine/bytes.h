#pragma once
// Big-endian and syncsafe integers, and a bounds-checked cursor over bytes.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace melos {

using Bytes = std::vector<uint8_t>;
using ByteSpan = std::span<const uint8_t>;

inline uint16_t readU16BE(const uint8_t* p) noexcept {
  return static_cast<uint16_t>((p[0] << 8) | p[1]);
}
inline uint32_t readU32BE(const uint8_t* p) noexcept {
  return (uint32_t{p[0]} << 24) | (uint32_t{p[1]} << 16) | (uint32_t{p[2]} << 8) | p[3];
}
inline void writeU32BE(uint8_t* p, uint32_t v) noexcept {
  p[0] = static_cast<uint8_t>(v >> 24);
  p[1] = static_cast<uint8_t>(v >> 16);
  p[2] = static_cast<uint8_t>(v >> 8);
  p[3] = static_cast<uint8_t>(v);
}

// Seven bits a byte, most significant first. The top bit of each byte is not
// masked: a broken size byte yields a larger size, taken as it stands.
inline uint32_t syncsafeDecode(const uint8_t* p) noexcept {
  return (uint32_t{p[0]} << 21) + (uint32_t{p[1]} << 14) + (uint32_t{p[2]} << 7) + p[3];
}
inline void syncsafeEncode(uint8_t* p, uint32_t v) noexcept {
  p[0] = static_cast<uint8_t>((v >> 21) & 0x7F);
  p[1] = static_cast<uint8_t>((v >> 14) & 0x7F);
  p[2] = static_cast<uint8_t>((v >> 7) & 0x7F);
  p[3] = static_cast<uint8_t>(v & 0x7F);
}

// Reads forward through bytes; every read checks the bound first and a failed
// read leaves the cursor where it was.
class ByteCursor {
 public:
  explicit ByteCursor(ByteSpan bytes) noexcept : bytes_(bytes) {}

  size_t position() const noexcept { return pos_; }
  size_t remaining() const noexcept { return bytes_.size() - pos_; }
  bool atEnd() const noexcept { return pos_ >= bytes_.size(); }
  bool readByte(uint8_t& out) noexcept;
  bool readBytes(size_t n, ByteSpan& out) noexcept;
  // Bytes up to a terminator of `width` zero bytes (1 or 2, aligned to width);
  // the terminator is consumed, and a missing one takes the rest.
  ByteSpan readTerminated(size_t width) noexcept;
  ByteSpan rest() noexcept;

 private:
  ByteSpan bytes_;
  size_t pos_ = 0;
};

bool equalsNoCase(std::string_view a, std::string_view b) noexcept;
bool startsWithNoCase(std::string_view text, std::string_view prefix) noexcept;
std::string_view asText(ByteSpan bytes) noexcept;

}  // namespace melos
