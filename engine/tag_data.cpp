#include "engine/tag_data.h"

namespace melos {

std::string timeText(std::string_view time) {
  std::string out(time.substr(0, std::min(time.size(), kMaxTimeText)));
  size_t t = out.find('T');
  if (t != std::string::npos) out[t] = ' ';
  return out;
}

}  // namespace melos
