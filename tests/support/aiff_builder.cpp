#include "tests/support/aiff_builder.h"

#include "tests/support/byte_text.h"

#include <cmath>

namespace melos::test {

namespace {

void appendU16BE(Bytes& out, uint16_t v) {
  out.push_back(static_cast<uint8_t>(v >> 8));
  out.push_back(static_cast<uint8_t>(v));
}


Bytes aiffChunkBytes(const AiffChunk& chunk) {
  Bytes out;
  appendText(out, chunk.id, 4);                                                 // chunk ID
  appendU32BE(out, chunk.sizeOverride.value_or(static_cast<uint32_t>(chunk.body.size())));  // size
  append(out, chunk.body);                                                      // body
  if (chunk.padOdd && chunk.body.size() % 2 != 0) out.push_back(0);             // pad byte
  return out;
}

}  // namespace

std::array<uint8_t, 10> extended80(double value) {
  std::array<uint8_t, 10> out{};
  if (value <= 0.0) return out;  // sample rates are positive; 0 is all zero bytes
  int e = 0;
  double fraction = std::frexp(value, &e);  // value = fraction * 2^e, fraction in [0.5, 1)
  // The extended format keeps the integer bit explicit: value = 1.f * 2^(e - 1).
  auto exponent = static_cast<uint16_t>(16383 + e - 1);
  auto mantissa = static_cast<uint64_t>(std::ldexp(fraction, 64));
  out[0] = static_cast<uint8_t>(exponent >> 8);
  out[1] = static_cast<uint8_t>(exponent);
  for (int i = 0; i < 8; ++i) out[2 + i] = static_cast<uint8_t>(mantissa >> (56 - 8 * i));
  return out;
}

AiffChunk commChunk(uint16_t channels, uint32_t sampleFrames, uint16_t sampleSize, double rate) {
  Bytes body;
  appendU16BE(body, channels);      // number of channels
  appendU32BE(body, sampleFrames);  // number of sample frames
  appendU16BE(body, sampleSize);    // bits per sample
  auto ext = extended80(rate);
  body.insert(body.end(), ext.begin(), ext.end());  // sample rate, 80-bit extended
  return {"COMM", body};
}

AiffChunk commChunkAifc(uint16_t channels, uint32_t sampleFrames, uint16_t sampleSize,
                        double rate, const std::string& compression, const std::string& name) {
  AiffChunk chunk = commChunk(channels, sampleFrames, sampleSize, rate);
  appendText(chunk.body, compression, 4);                            // compression type
  chunk.body.push_back(static_cast<uint8_t>(name.size() & 0xFF));   // name length
  appendText(chunk.body, name, name.size() & 0xFF);                 // name
  if (chunk.body.size() % 2 != 0) chunk.body.push_back(0);          // Pascal string pad
  return chunk;
}

AiffChunk ssndChunk(const Bytes& sound) {
  Bytes body;
  appendU32BE(body, 0);  // offset
  appendU32BE(body, 0);  // block size
  append(body, sound);   // sound data
  return {"SSND", body};
}

AiffChunk id3Chunk(const Bytes& tag) { return {"ID3 ", tag}; }

AiffBuilder::AiffBuilder(std::string formType) : formType_(std::move(formType)) {}

AiffBuilder& AiffBuilder::chunk(AiffChunk chunk) {
  chunks_.push_back(std::move(chunk));
  return *this;
}

AiffBuilder& AiffBuilder::chunk(std::string id, Bytes body) {
  return chunk(AiffChunk{std::move(id), std::move(body)});
}

AiffBuilder& AiffBuilder::formSize(uint32_t size) {
  formSize_ = size;
  return *this;
}

Bytes AiffBuilder::build() const {
  Bytes content;
  appendText(content, formType_, 4);  // form type
  for (const AiffChunk& c : chunks_) append(content, aiffChunkBytes(c));
  Bytes out;
  appendText(out, "FORM", 4);                                                       // "FORM"
  appendU32BE(out, formSize_.value_or(static_cast<uint32_t>(content.size())));      // length less 8
  append(out, content);
  return out;
}

}  // namespace melos::test
