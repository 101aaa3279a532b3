#pragma once
// APEv2 tags made in memory for tests.

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "engine/bytes.h"

namespace melos::test {

struct ApeItem {
  ApeItem() = default;
  ApeItem(std::string itemKey, Bytes itemValue, uint32_t itemFlags = 0)
      : key(std::move(itemKey)), value(std::move(itemValue)), flags(itemFlags) {}

  std::string key;
  Bytes value;
  uint32_t flags = 0;  // 0: UTF-8 text, read-write
};

struct ApeTag {
  std::vector<ApeItem> items;
  bool header = true;               // a header in front of the items
  bool footer = true;
  bool lowerCaseId = false;         // "apetagex" instead of "APETAGEX"
  uint32_t version = 2000;
  std::optional<uint32_t> sizeOverride;  // the size field of header and footer
};

ApeItem apeText(std::string key, const std::string& value);

// Header (when asked), items, footer. The size field counts the items and the
// footer, not the header.
Bytes apeTag(const ApeTag& tag);

}  // namespace melos::test
