#include "operations/export_values.h"

#include <algorithm>

namespace melos {

std::string advisoryText(int32_t advisory) {
  switch (advisory) {
    case 1: return "Explicit lyrics";
    case 2: return "Clean lyrics";
    default: return {};
  }
}

std::string uniqueIdOwner(const UniqueFileID& id) {
  return id.owner.empty() ? std::string("Default") : latin1ToUtf8(id.owner);
}

std::string uniqueIdData(const UniqueFileID& id) {
  const size_t size = std::min(id.data.size(), kMaxUniqueIdBytes);
  std::string bytes(id.data.begin(), id.data.begin() + static_cast<std::ptrdiff_t>(size));
  bytes.resize(std::min(bytes.size(), bytes.find('\0')));
  // The bytes are no text of a known encoding; read as Latin-1 they stay
  // valid UTF-8 whatever they hold.
  return latin1ToUtf8(bytes);
}

std::string exportTime(const std::string& time) { return latin1ToUtf8(timeText(time)); }

}  // namespace melos
