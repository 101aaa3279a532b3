#pragma once
// The editor's one copied tag: Copy tag data and Copy all tag data take it
// from the front editor, Paste gives it to the front editor, and a tag-data
// file (".tdf") can be loaded into or saved from a single-track editor.

#include <memory>
#include <string>

#include "engine/id3_tag.h"
#include "operations/open_documents.h"

namespace melos {

class PreferencesController;

// An editor as the clipboard and the menus see it. The real single-track and
// group editors implement it; their windows only forward to these calls.
class TagEditor {
 public:
  virtual ~TagEditor() = default;
  virtual DocumentKind kind() const = 0;
  // Single-track: a copy of the track with the window's unsaved V1 and V2
  // values applied. Group: the tag the group builds from its window.
  virtual std::unique_ptr<ID3Tag> tagForCopy() const = 0;
  // Single-track: setTagData:setting: with `all`. Group: setTagData:, which
  // has no `all`.
  virtual void setTagData(const ID3Tag& tag, bool all) = 0;
  virtual void clearTagData() = 0;
  // Single-track only; false with the cause in the log.
  virtual bool loadTagDataFromFile(const std::string& /*path*/) { return false; }
  virtual bool saveTagDataToFile(const std::string& /*path*/) { return false; }
};

class TagClipboard {
 public:
  // Copy tag data (all = false) and Copy all tag data (all = true). A group's
  // copy is never pasted whole. Nothing happens for other documents.
  void copyTagData(const TagEditor* front, bool all);
  // False when nothing was copied or no editor is in front.
  bool pasteTagData(TagEditor* front) const;
  void clearTagData(TagEditor* front) const;

  bool hasCopy() const { return m_pCopiedTag != nullptr; }
  bool pasteAll() const { return m_bPasteAllTagData; }
  const ID3Tag* copiedTag() const { return m_pCopiedTag.get(); }

 private:
  std::unique_ptr<ID3Tag> m_pCopiedTag;
  bool m_bPasteAllTagData = false;
};

// A new track holding everything of `track` that a copy keeps: the kind, the
// path, both tags.
std::unique_ptr<ID3Tag> copyOfTrack(const ID3Tag& track);

// The single-track editor's receiving end: `all` copies every field, else
// title, track, composer and original artist only as the preferences say.
void pasteTagDataInto(ID3Tag& track, const ID3Tag& copy, bool all, const PreferencesController& preferences);
// Every field of a tag-data file's or an MP3's tag into the track; false when
// the file could not be read.
bool loadTagDataInto(ID3Tag& track, const std::string& path);
// The track's V2 tag alone into a tag-data file, written beside it first and
// then renamed into place; false with the cause in the log.
bool saveTagDataFile(const ID3Tag& track, const std::string& path);

// What the Load and Save tag data questions start in: the "Default path"
// preference with "~" expanded, or empty when it is not set.
std::string tagDataStartFolder(const PreferencesController& preferences);

inline constexpr std::string_view kLoadTagDataTitle = "Choose a tag source file";
inline constexpr std::string_view kSaveTagDataTitle = "Choose a destination tag file";

}  // namespace melos
