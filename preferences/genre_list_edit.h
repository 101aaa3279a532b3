#pragma once
// The edits of the genre lists in the preferences window, as plain list
// operations: the window applies the result and stores it at once.

#include <string>
#include <string_view>
#include <vector>

#include "preferences/preferences_controller.h"

namespace melos {

struct GenreListEdit {
  std::vector<std::string> names;
  std::vector<int> selected;  // the rows to select afterwards, ascending
  bool changed = false;
};

// Moves the selected rows together one place (delta -1 up, +1 down); nothing
// moves when one of them is already at that end.
GenreListEdit moveGenreRows(std::vector<std::string> names, std::vector<int> rows, int delta);
// Moves the selected rows, in their order, to stand before row `target` of
// the list as it was (the list's size puts them at the end): a drop.
GenreListEdit dropGenreRows(std::vector<std::string> names, std::vector<int> rows, int target);
// Rows out of range are ignored; the row after the last removed one is selected.
GenreListEdit removeGenreRows(std::vector<std::string> names, std::vector<int> rows);
// A blank name is refused; surrounding blanks are cut.
GenreListEdit renameGenreRow(std::vector<std::string> names, int row, std::string_view name);
GenreListEdit addGenre(std::vector<std::string> names, std::string_view name);

// Each selected standard genre switches between "on" and "off".
std::vector<GenreListRow> toggleGenreRows(std::vector<GenreListRow> rows, const std::vector<int>& selected);

}  // namespace melos
