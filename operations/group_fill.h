#pragma once
// What the group window shows when it opens: a value that every track shares
// is shown, a value that differs from track to track is left empty (the
// window says so in the field's placeholder). And the window's edits as
// states that an undo command can put back whole.

#include <bitset>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "operations/group_model.h"

namespace melos {

// One control of the window's values: a text, an on/off value or the picture.
// The set and the count of sets are two texts under one change box.
struct GroupSlot {
  enum class Kind : uint8_t { Text, Flag, Picture };
  GroupField field;
  Kind kind;
  std::u16string GroupValues::*text = nullptr;
  bool GroupValues::*flag = nullptr;
};

// Every value of the window, in the order of the window.
const std::vector<GroupSlot>& groupSlots();
inline constexpr size_t kGroupSlotCount = 38;
// The slot that holds this text member; kGroupSlotCount when none.
size_t slotOfText(std::u16string GroupValues::*text);

using SlotSet = std::bitset<kGroupSlotCount>;

// A track's values as the window would show them for it alone.
GroupValues valuesOfTrack(const ID3Tag& track);

// The pictures a track had when it was read; the group keeps only these
// figures, not the pictures.
struct PictureSummary {
  uint32_t count = 0;
  uint64_t bytes = 0;
  uint64_t firstHash = 0;  // of the first picture's type, kind and bytes; 0 when none
};
PictureSummary summarisePictures(const PicDataArray& pictures);

// The values shared by the tracks seen so far, fed one track at a time as
// tracks are read. The picture is kept only for the first track that has one.
class CommonValues {
 public:
  // `values` as valuesOfTrack gives them; `picture` the track's own summary;
  // whether the track has each tag.
  void add(GroupValues values, const PictureSummary& picture, bool hasV1, bool hasV2);
  const GroupValues& values() const noexcept { return values_; }
  // The slots whose values are not the same in every track.
  const SlotSet& differing() const noexcept { return differing_; }
  bool anyV1() const noexcept { return anyV1_; }
  bool anyV2() const noexcept { return anyV2_; }

 private:
  GroupValues values_;
  SlotSet differing_;
  size_t count_ = 0;
  uint64_t pictureHash_ = 0;
  bool anyV1_ = false;
  bool anyV2_ = false;
};

// Shows the shared values in the window's values, except in the fields the
// user has already changed (their box is on): tracks read while the user
// types never overwrite what was typed. An enable box is on when a track has
// that tag, until the user changes that version.
void showCommonValues(GroupModel& model, SlotSet& differing, const CommonValues& common);

// A track read for the group joins it with the group's change flags, so that
// an edit made while it was being read applies to it too.
void joinGroup(GroupModel& model, std::unique_ptr<ID3Tag> track, const PictureSummary& pictures);

// Everything an edit of the window changes: what undo puts back.
struct GroupEditState {
  GroupValues values;
  std::array<bool, kGroupFieldCount> boxes{};
  bool enableV1 = false, enableV2 = false, copyV2Details = false, fileName = false, isrcIncrement = false,
       replacePictures = false;
  bool v1Changed = false, v2Changed = false;
  SlotSet differing;
};

GroupEditState captureEdit(const GroupModel& model, const SlotSet& differing);
// Puts the state back, the tracks' change flags included.
void restoreEdit(GroupModel& model, const GroupEditState& state);

// The user typed into or picked a value of `slot`: its change box goes on and
// its version is marked changed (switching that version's enable box on), and
// the value no longer differs across the tracks.
void slotEdited(GroupModel& model, SlotSet& differing, size_t slot);
// A change box turned on or off by hand. On, it marks its version changed
// (and that version's enable box on): without it, a box ticked to write an
// empty value over every track would find no track to write.
void changeBoxToggled(GroupModel& model, GroupField field, bool on);

// The boxes beside the fields that act on every track.
enum class GroupOption : uint8_t { CopyV2Details, FileName, IsrcIncrement, ReplacePictures };
// Turned on, the V2-for-V1 box marks V1 changed and the file-name box both
// versions, so that the run writes the tracks they change; the ISRC-increment
// and replace-pictures boxes only qualify the ISRC and picture boxes.
void optionToggled(GroupModel& model, GroupOption option, bool on);
bool optionValue(const GroupModel& model, GroupOption option);

// The V1 or V2 enable box turned on or off: that tag is rewritten or removed.
void enableBoxToggled(GroupModel& model, bool v1, bool on);

// New values for the window from a paste, a clear or a default set: every slot
// whose value changes is edited as above; with `takeDiffering`, so is every
// slot whose value differs across the tracks, so that the tracks end up with
// the one value. Returns the slots edited.
SlotSet applyValues(GroupModel& model, SlotSet& differing, const GroupValues& values, bool takeDiffering);

}  // namespace melos
