#include "engine/genres.h"

#include "engine/bytes.h"

namespace melos {

const std::array<std::string_view, kGenreCount> kGenres{{
    "Blues", "Classic Rock", "Country", "Dance", "Disco", "Funk", "Grunge", "Hip-Hop", "Jazz",
    "Metal", "New Age", "Oldies", "Other", "Pop", "R&B", "Rap", "Reggae", "Rock", "Techno",
    "Industrial", "Alternative", "Ska", "Death Metal", "Pranks", "Soundtrack", "Euro-Techno",
    "Ambient", "Trip-Hop", "Vocal", "Jazz+Funk", "Fusion", "Trance", "Classical",
    "Instrumental", "Acid", "House", "Game", "Sound Clip", "Gospel", "Noise", "AlternRock",
    "Bass", "Soul", "Punk", "Space", "Meditative", "Instrumental Pop", "Instrumental Rock",
    "Ethnic", "Gothic", "Darkwave", "Techno-Industrial", "Electronic", "Pop-Folk", "Eurodance",
    "Dream", "Southern Rock", "Comedy", "Cult", "Gangsta", "Top 40", "Christian Rap",
    "Pop/Funk", "Jungle", "Native American", "Cabaret", "New Wave", "Psychadelic", "Rave",
    "Showtunes", "Trailer", "Lo-Fi", "Tribal", "Acid Punk", "Acid Jazz", "Polka", "Retro",
    "Musical", "Rock & Roll", "Hard Rock",
}};

// For lists shown to the user, ordered without regard to case.
const std::array<std::string_view, kGenreCount> kGenresSorted{{
    "Acid", "Acid Jazz", "Acid Punk", "Alternative", "AlternRock", "Ambient", "Bass", "Blues",
    "Cabaret", "Christian Rap", "Classic Rock", "Classical", "Comedy", "Country", "Cult",
    "Dance", "Darkwave", "Death Metal", "Disco", "Dream", "Electronic", "Ethnic", "Euro-Techno",
    "Eurodance", "Funk", "Fusion", "Game", "Gangsta", "Gospel", "Gothic", "Grunge", "Hard Rock",
    "Hip-Hop", "House", "Industrial", "Instrumental", "Instrumental Pop", "Instrumental Rock",
    "Jazz", "Jazz+Funk", "Jungle", "Lo-Fi", "Meditative", "Metal", "Musical", "Native American",
    "New Age", "New Wave", "Noise", "Oldies", "Other", "Polka", "Pop", "Pop-Folk", "Pop/Funk",
    "Pranks", "Psychadelic", "Punk", "R&B", "Rap", "Rave", "Reggae", "Retro", "Rock",
    "Rock & Roll", "Showtunes", "Ska", "Soul", "Sound Clip", "Soundtrack", "Southern Rock",
    "Space", "Techno", "Techno-Industrial", "Top 40", "Trailer", "Trance", "Tribal", "Trip-Hop",
    "Vocal",
}};

std::string_view genreName(unsigned number) noexcept {
  return number < kGenreCount ? kGenres[number] : kGenres[kGenreOther];
}

int genreIndex(std::string_view name, bool orOther) noexcept {
  if (!name.empty()) {
    for (int i = 0; i < kGenreCount; ++i)
      if (equalsNoCase(name, kGenres[static_cast<size_t>(i)])) return i;
  }
  return orOther ? kGenreOther : -1;
}

}  // namespace melos
