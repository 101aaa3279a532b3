#pragma once
// The decoders of frame contents, one per content form of the frame table.

#include <optional>
#include <string_view>

#include "engine/frame_table.h"
#include "engine/id3_tag.h"

namespace melos {

// What one walk remembers between frames: where the comment and the lyrics
// came from, so that a frame without a description can take their place.
struct FrameWalkState {
  int majorVersion = 3;
  bool loadPictures = true;
  std::optional<PrivateData> describedComment;
  std::optional<PrivateData> describedLyrics;
  bool commentExact = false;
  bool lyricsExact = false;
  // Frames displaced by a better one, to be kept like any frame no decoder took.
  std::vector<PrivateData> displaced;
};

// True when a decoder took the frame (even to drop it on purpose, as with an
// unknown encoding or a refused picture); false when the frame is left to the
// keep rule. `id` is the frame's ID as read; `body` holds the content only.
bool decodeFrame(ID3Tag& track, const FrameSpec& spec, std::string_view id, ByteSpan body,
                 FrameWalkState& state);

// The text of an encoded value: 0 Latin-1, 1 and 2 UTF-16 with or without a
// mark, 3 UTF-8 (Latin-1 when every character fits, else UTF-16).
UnicodeText decodeText(uint8_t encoding, ByteSpan bytes);

// The genre name of a TCON text: "(17)", "(17)Rock" and "Rock" all read "Rock".
std::u16string genreFromText(std::u16string_view text);

}  // namespace melos
