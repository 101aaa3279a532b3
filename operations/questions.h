#pragma once
// What the update flows ask the user. A question is a title, a message and the
// names of its buttons in order (the first is the default); the answer is the
// name of the button chosen. The windows show these as alerts or sheets, the
// command line answers them from its flags, and tests script them.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace melos {

inline constexpr std::string_view kYesButton = "Yes";
inline constexpr std::string_view kNoButton = "No";
inline constexpr std::string_view kOkButton = "OK";
inline constexpr std::string_view kSaveButton = "Save";
inline constexpr std::string_view kDontSaveButton = "Don't save";
inline constexpr std::string_view kCancelButton = "Cancel";
inline constexpr std::string_view kReloadButton = "Reload";
inline constexpr std::string_view kOverwriteButton = "Overwrite";

class Questions {
 public:
  virtual ~Questions() = default;
  virtual std::string ask(const std::string& title, const std::string& message,
                          const std::vector<std::string>& buttons) = 0;
  // The same with another button than the first as the default; those who
  // answer without showing anything need not tell the two apart.
  virtual std::string askWithDefault(const std::string& title, const std::string& message,
                                     const std::vector<std::string>& buttons, size_t defaultButton) {
    (void)defaultButton;
    return ask(title, message, buttons);
  }
};

// The button a question closed without one (Escape, the window's close
// button) counts as: "Cancel" when there is one, else "No", else the last.
// Never a button that acts: closing a "No"/"Yes" alert must not say yes.
size_t wayOutButton(const std::vector<std::string>& buttons);

// "Do you want to save changes?" with "Save", "Don't save" and "Cancel", as
// every editor asks it before its edits would be lost.
enum class SaveAnswer { Save, DontSave, Cancel };
SaveAnswer askToSaveChanges(Questions& questions);

// "Yes" and "No", in that order; true for "Yes".
bool askYesNo(Questions& questions, const std::string& title, const std::string& message);
// An alert with the one button "OK".
void tell(Questions& questions, const std::string& title, const std::string& message);

}  // namespace melos
