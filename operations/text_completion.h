#pragma once
// Completing a typed text from a list of earlier entries, as the editors'
// text fields do while the user types forward.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace melos {

struct Completion {
  std::u16string text;          // the whole entry the field now shows
  size_t selectionStart = 0;    // the typed length: typing goes on over the rest
  size_t selectionLength = 0;   // the entry's whole length, kept as the field has it
  bool operator==(const Completion&) const = default;
};

struct CompletionStep {
  std::optional<Completion> completion;
  size_t rememberedLength = 0;  // the length to pass as previousLength next time
};

// Nothing is completed while the user deletes, on an empty text, or when the
// text did not grow since the previous change. The first entry, in list order,
// that starts with the text (case-sensitive) wins.
CompletionStep completeWithList(std::u16string_view text, const std::vector<std::u16string>& list,
                                size_t previousLength, bool deleting);

}  // namespace melos
