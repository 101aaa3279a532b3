#include "operations/file_name_fields.h"

#include <charconv>
#include <vector>

#include "engine/bytes.h"
#include "engine/text.h"

namespace melos {
namespace {

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f'; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }
char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

size_t findNoCase(std::string_view text, std::string_view needle) {
  if (needle.size() > text.size()) return std::string_view::npos;
  for (size_t i = 0; i + needle.size() <= text.size(); ++i)
    if (equalsNoCase(text.substr(i, needle.size()), needle)) return i;
  return std::string_view::npos;
}

// The leading decimal number, or -1 when there is none (or it does not fit).
int leadingNumber(std::string_view text) {
  int value = -1;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc{} || end == text.data()) return -1;
  return value;
}

bool isDecimal(std::string_view text) {
  if (text.empty()) return false;
  for (char c : text)
    if (!isDigit(c)) return false;
  return true;
}

std::string cleanPart(std::string_view part) {
  while (!part.empty() && isSpace(part.front())) part.remove_prefix(1);
  while (!part.empty() && isSpace(part.back())) part.remove_suffix(1);
  std::string out(part);
  for (char& c : out)
    if (c == '_') c = ' ';
  return out;
}

FileNameFields standardSplit(std::string_view name) {
  FileNameFields fields;
  size_t at = 0;
  if (!name.empty() && isDigit(name.front())) {
    fields.track = leadingNumber(name);
    // Only digits and blanks: a "-" right after the number opens the split.
    while (at < name.size() && (isDigit(name[at]) || isSpace(name[at]))) ++at;
  }
  const std::string_view rest = name.substr(at);
  const size_t first = rest.find('-');
  if (first == std::string_view::npos) {
    fields.title = cleanPart(rest);
    return fields;
  }
  fields.artist = cleanPart(rest.substr(0, first));
  const size_t second = rest.find('-', first + 1);
  if (second == std::string_view::npos) {
    fields.title = cleanPart(rest.substr(first + 1));
    return fields;
  }
  fields.album = cleanPart(rest.substr(first + 1, second - first - 1));
  fields.title = cleanPart(rest.substr(second + 1));
  return fields;
}

struct Placeholder {
  char letter;
  std::string_view separator;  // the literal text up to the next "%"
};

void assign(FileNameFields& fields, char letter, std::string_view text) {
  switch (lower(letter)) {
    case 'a': fields.artist = std::string(text); break;
    case 'l': fields.album = std::string(text); break;
    case 't': fields.title = std::string(text); break;
    case 'y': fields.year = std::string(text); break;
    case 'n': fields.track = leadingNumber(text); break;
    default: break;  // an unknown letter still takes its part of the name
  }
}

FileNameFields customSplit(std::string_view name, std::string_view format) {
  const size_t firstMark = format.find('%');
  if (firstMark == std::string_view::npos) return {};
  const std::string_view prefix = format.substr(0, firstMark);
  if (!startsWithNoCase(name, prefix)) return {};

  std::vector<Placeholder> placeholders;
  for (size_t mark = firstMark; mark != std::string_view::npos && mark + 1 < format.size() &&
                                placeholders.size() < kMaxFileNamePlaceholders;) {
    const size_t next = format.find('%', mark + 2);
    const size_t end = next == std::string_view::npos ? format.size() : next;
    placeholders.push_back({format[mark + 1], format.substr(mark + 2, end - mark - 2)});
    mark = next;
  }

  FileNameFields fields;
  size_t at = prefix.size();
  for (const Placeholder& placeholder : placeholders) {
    const std::string_view rest = name.substr(at);
    const size_t found = placeholder.separator.empty() ? std::string_view::npos
                                                       : findNoCase(rest, placeholder.separator);
    if (found == std::string_view::npos) {
      // The field takes the rest of the name; nothing is left for later ones.
      assign(fields, placeholder.letter, rest);
      break;
    }
    const std::string_view text = rest.substr(0, found);
    if (lower(placeholder.letter) == 'n' && !isDecimal(text)) continue;
    assign(fields, placeholder.letter, text);
    at += found + placeholder.separator.size();
  }
  return fields;
}

std::u16string decodeText(std::string_view bytes, bool utf8) {
  return utf8 ? utf8ToU16(bytes) : latin1ToU16(bytes);
}

std::optional<std::u16string> decode(const std::optional<std::string>& bytes, bool utf8) {
  if (!bytes) return std::nullopt;
  return decodeText(*bytes, utf8);
}

}  // namespace

int FileNameFields::count() const noexcept {
  return (title ? 1 : 0) + (artist ? 1 : 0) + (album ? 1 : 0) + (year ? 1 : 0) + (track != -1 ? 1 : 0);
}

FileNameFields parseFileName(std::string_view path, std::string_view format) noexcept {
  try {
    std::string_view base = path.substr(path.rfind('/') + 1);
    base = base.substr(0, kMaxFileNameBytes);
    const size_t dot = base.rfind('.');
    if (dot == std::string_view::npos) return {};
    const size_t extension = base.size() - dot;
    if (extension != 4 && extension != 5) return {};
    const std::string_view name = base.substr(0, dot);
    format = format.substr(0, kMaxFileNameBytes);
    return format.empty() ? standardSplit(name) : customSplit(name, format);
  } catch (...) {
    return {};
  }
}

FileNameUpdate fileNameUpdate(const FileNameFields& fields, const FileNameUse& use, bool utf8) {
  FileNameUpdate update;
  update.title = decode(fields.title, utf8);
  if ((use.shift || use.customFormat) && fields.track != -1)
    update.track = decodeText(std::to_string(fields.track), false);
  if (use.control || use.customFormat) {
    update.artist = decode(fields.artist, utf8);
    update.album = decode(fields.album, utf8);
  }
  if (use.customFormat) update.year = decode(fields.year, utf8);
  return update;
}

}  // namespace melos
