#include "operations/track_set.h"

namespace melos {

TrackSet::TrackSet(Tracks tracks) : tracks_(std::move(tracks)) {}

TrackSet::TrackSet(std::unique_ptr<ID3Tag> track) { tracks_.push_back(std::move(track)); }

void TrackSet::add(std::unique_ptr<ID3Tag> track) { tracks_.push_back(std::move(track)); }

void TrackSet::stepBack() noexcept {
  if (position_ > 0) --position_;
}

void TrackSet::stepOn() noexcept {
  if (position_ + 1 < tracks_.size()) ++position_;
}

bool TrackSet::removeCurrent() {
  if (tracks_.size() < 2) return false;
  tracks_.erase(tracks_.begin() + static_cast<std::ptrdiff_t>(position_));
  if (position_ == tracks_.size()) --position_;
  return true;
}

bool TrackSet::moveTo(size_t position) noexcept {
  if (position >= tracks_.size()) return false;
  position_ = position;
  return true;
}

}  // namespace melos
