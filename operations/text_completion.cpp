#include "operations/text_completion.h"

namespace melos {

CompletionStep completeWithList(std::u16string_view text, const std::vector<std::u16string>& list,
                                size_t previousLength, bool deleting) {
  const size_t length = text.size();
  CompletionStep step;
  step.rememberedLength = length;
  if (deleting || length == 0 || length <= previousLength) return step;
  for (const std::u16string& entry : list) {
    if (entry.size() >= length && std::u16string_view(entry).substr(0, length) == text) {
      step.completion = Completion{entry, length, entry.size()};
      break;
    }
  }
  return step;
}

}  // namespace melos
