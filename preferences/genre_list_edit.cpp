#include "preferences/genre_list_edit.h"

#include <algorithm>

#include "engine/text.h"

namespace melos {

namespace {

std::vector<int> validRows(std::vector<int> rows, size_t size) {
  std::erase_if(rows, [size](int row) { return row < 0 || static_cast<size_t>(row) >= size; });
  std::sort(rows.begin(), rows.end());
  rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
  return rows;
}

}  // namespace

GenreListEdit moveGenreRows(std::vector<std::string> names, std::vector<int> rows, int delta) {
  std::vector<int> valid = validRows(std::move(rows), names.size());
  GenreListEdit edit{std::move(names), std::move(valid), false};
  const int count = static_cast<int>(edit.names.size());
  if (edit.selected.empty() || (delta != -1 && delta != 1)) return edit;
  if (edit.selected.front() + delta < 0 || edit.selected.back() + delta >= count) return edit;
  if (delta < 0) {
    for (int row : edit.selected) std::swap(edit.names[row], edit.names[row - 1]);
  } else {
    for (auto it = edit.selected.rbegin(); it != edit.selected.rend(); ++it)
      std::swap(edit.names[*it], edit.names[*it + 1]);
  }
  for (int& row : edit.selected) row += delta;
  edit.changed = true;
  return edit;
}

GenreListEdit dropGenreRows(std::vector<std::string> names, std::vector<int> rows, int target) {
  const std::vector<int> valid = validRows(std::move(rows), names.size());
  GenreListEdit edit{{}, {}, false};
  if (valid.empty()) {
    edit.names = std::move(names);
    return edit;
  }
  target = std::clamp(target, 0, static_cast<int>(names.size()));
  std::vector<std::string> moved;
  std::vector<std::string> rest;
  int insertAt = target;
  for (int row = 0; row < static_cast<int>(names.size()); ++row) {
    const bool selected = std::binary_search(valid.begin(), valid.end(), row);
    (selected ? moved : rest).push_back(names[static_cast<size_t>(row)]);
    if (selected && row < target) --insertAt;
  }
  rest.insert(rest.begin() + insertAt, moved.begin(), moved.end());
  for (int i = 0; i < static_cast<int>(moved.size()); ++i) edit.selected.push_back(insertAt + i);
  edit.changed = rest != names;
  edit.names = std::move(rest);
  return edit;
}

GenreListEdit removeGenreRows(std::vector<std::string> names, std::vector<int> rows) {
  const std::vector<int> valid = validRows(std::move(rows), names.size());
  GenreListEdit edit{std::move(names), {}, !valid.empty()};
  for (auto it = valid.rbegin(); it != valid.rend(); ++it) edit.names.erase(edit.names.begin() + *it);
  if (!valid.empty() && !edit.names.empty())
    edit.selected = {std::min(valid.front(), static_cast<int>(edit.names.size()) - 1)};
  return edit;
}

GenreListEdit renameGenreRow(std::vector<std::string> names, int row, std::string_view name) {
  GenreListEdit edit{std::move(names), {}, false};
  const std::string text(trimLatin1(name));
  if (row < 0 || static_cast<size_t>(row) >= edit.names.size()) return edit;
  edit.selected = {row};
  if (text.empty() || edit.names[static_cast<size_t>(row)] == text) return edit;
  edit.names[static_cast<size_t>(row)] = text;
  edit.changed = true;
  return edit;
}

GenreListEdit addGenre(std::vector<std::string> names, std::string_view name) {
  GenreListEdit edit{std::move(names), {}, false};
  const std::string text(trimLatin1(name));
  if (text.empty()) return edit;
  edit.names.push_back(text);
  edit.selected = {static_cast<int>(edit.names.size()) - 1};
  edit.changed = true;
  return edit;
}

std::vector<GenreListRow> toggleGenreRows(std::vector<GenreListRow> rows, const std::vector<int>& selected) {
  for (int row : validRows(selected, rows.size())) {
    GenreListRow& genre = rows[static_cast<size_t>(row)];
    genre.state = genre.enabled() ? "off" : "on";
  }
  return rows;
}

}  // namespace melos
