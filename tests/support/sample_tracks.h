#pragma once
// Small whole tracks for the tests that open files as the editor does.

#include <string>

#include "engine/bytes.h"

namespace melos::test {

// An MP3 with a V2.3 tag (title, artist) and a V1 tag, then a few CBR frames.
Bytes sampleMp3(const std::string& title, bool withV1 = true);
// An AIFF with a COMM chunk, a little sound and an ID3 chunk holding a title.
Bytes sampleAiff(const std::string& title);
// A tag-data file: a V2.3 tag alone, with album and composer.
Bytes sampleTagData(const std::string& album);

}  // namespace melos::test
