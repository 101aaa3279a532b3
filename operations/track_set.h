#pragma once
// The tracks of a single-track editor that shows one at a time, and which one
// it shows.

#include <memory>
#include <vector>

#include "engine/id3_tag.h"

namespace melos {

class TrackSet {
 public:
  using Tracks = std::vector<std::unique_ptr<ID3Tag>>;

  explicit TrackSet(Tracks tracks);
  explicit TrackSet(std::unique_ptr<ID3Tag> track);

  size_t count() const noexcept { return tracks_.size(); }
  size_t position() const noexcept { return position_; }
  ID3Tag& current() { return *tracks_.at(position_); }
  const ID3Tag& current() const { return *tracks_.at(position_); }
  ID3Tag& at(size_t index) { return *tracks_.at(index); }

  void add(std::unique_ptr<ID3Tag> track);
  // One back, but not before the first.
  void stepBack() noexcept;
  // One on, but not past the last.
  void stepOn() noexcept;
  // Takes the current track out; the position then stays, or moves back by
  // one when it was the last. The last track is never taken out.
  bool removeCurrent();
  bool moveTo(size_t position) noexcept;

 private:
  Tracks tracks_;
  size_t position_ = 0;
};

}  // namespace melos
