#include "tests/support/ape_builder.h"

namespace melos::test {

namespace {

constexpr uint32_t kHasHeader = 1u << 31;
constexpr uint32_t kIsHeader = 1u << 29;

void appendU32LE(Bytes& out, uint32_t v) {
  for (int i = 0; i < 4; ++i) out.push_back(static_cast<uint8_t>(v >> (8 * i)));
}

Bytes headerOrFooter(const ApeTag& tag, uint32_t size, uint32_t count, bool isHeader) {
  Bytes out;
  for (char c : std::string(tag.lowerCaseId ? "apetagex" : "APETAGEX"))
    out.push_back(static_cast<uint8_t>(c));  // identifier, 8 bytes
  appendU32LE(out, tag.version);             // version, 2000 for APEv2
  appendU32LE(out, size);                    // items + footer, little-endian
  appendU32LE(out, count);                   // item count
  uint32_t flags = (tag.header ? kHasHeader : 0) | (isHeader ? kIsHeader : 0);
  appendU32LE(out, flags);                   // flags: 31 has header, 29 this is the header
  out.insert(out.end(), 8, 0);               // reserved
  return out;
}

}  // namespace

ApeItem apeText(std::string key, const std::string& value) {
  return {std::move(key), Bytes(value.begin(), value.end())};
}

Bytes apeTag(const ApeTag& tag) {
  Bytes items;
  for (const ApeItem& item : tag.items) {
    appendU32LE(items, static_cast<uint32_t>(item.value.size()));  // value size
    appendU32LE(items, item.flags);                                 // item flags
    for (char c : item.key) items.push_back(static_cast<uint8_t>(c));  // key
    items.push_back(0);                                             // its terminator
    items.insert(items.end(), item.value.begin(), item.value.end());   // value
  }
  auto size = tag.sizeOverride.value_or(static_cast<uint32_t>(items.size() + 32 /* footer */));
  auto count = static_cast<uint32_t>(tag.items.size());
  Bytes out;
  if (tag.header) out = headerOrFooter(tag, size, count, true);
  out.insert(out.end(), items.begin(), items.end());
  if (tag.footer) {
    Bytes footer = headerOrFooter(tag, size, count, false);
    out.insert(out.end(), footer.begin(), footer.end());
  }
  return out;
}

}  // namespace melos::test
