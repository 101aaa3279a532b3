#include "engine/mpeg_info.h"

namespace melos {

int parseMpeg(ID3Tag&, const File&, uint64_t, int, const ProgressCallback*) noexcept { return 0; }
uint32_t mpegBitrate(unsigned, unsigned, unsigned) noexcept { return 0; }
uint32_t mpegSampleRate(unsigned, unsigned) noexcept { return 0; }
const char* channelModeName(unsigned) noexcept { return ""; }

}  // namespace melos
