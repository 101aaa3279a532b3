#pragma once

#include <string>

#include "engine/bytes.h"

namespace melos {

// The standard alphabet with "=" padding, no line breaks.
std::string base64Encode(ByteSpan data);
size_t base64Length(size_t bytes) noexcept;

}  // namespace melos
