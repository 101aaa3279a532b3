#include "operations/group_tracks.h"

#include <algorithm>
#include <cctype>
#include <exception>

#include "engine/open_track.h"
#include "engine/text.h"
#include "operations/threads.h"
#include "operations/track_file.h"

namespace melos {
namespace {

std::string numberText(uint16_t number) { return number == kUnsetNumber ? std::string() : std::to_string(number); }

std::string trackText(const ID3Tag& track) {
  const TagData& d = track.tagData;
  if (d.track == kUnsetNumber && d.tracks == kUnsetNumber) {
    return track.v1.enabled && track.v1.track != kUnsetV1 && track.v1.track != 0 ? std::to_string(track.v1.track)
                                                                                    : std::string();
  }
  if (d.tracks == kUnsetNumber) return numberText(d.track);
  return numberText(d.track) + "/" + numberText(d.tracks);
}

std::string shown(const UnicodeText& v2, const std::string& v1) {
  return v2.data.empty() ? latin1ToUtf8(v1) : v2.toUtf8();
}

int compareNoCase(const std::string& a, const std::string& b) {
  const size_t n = std::min(a.size(), b.size());
  for (size_t i = 0; i < n; ++i) {
    const int x = std::tolower(static_cast<unsigned char>(a[i]));
    const int y = std::tolower(static_cast<unsigned char>(b[i]));
    if (x != y) return x < y ? -1 : 1;
  }
  return a.size() < b.size() ? -1 : (a.size() > b.size() ? 1 : 0);
}

}  // namespace

std::pair<long, long> trackSortKey(const std::string& text) {
  constexpr long kNone = 1L << 30;
  const size_t slash = text.find('/');
  const std::string number = text.substr(0, slash);
  const std::string total = slash == std::string::npos ? std::string() : text.substr(slash + 1);
  return {number.empty() ? kNone : std::atol(number.c_str()), total.empty() ? kNone : std::atol(total.c_str())};
}

TrackRow trackRow(const ID3Tag& track) {
  TrackRow row;
  const std::string& path = track.path();
  const size_t slash = path.rfind('/');
  row.fileName = slash == std::string::npos ? path : path.substr(slash + 1);
  row.folder = slash == std::string::npos ? std::string() : path.substr(0, slash == 0 ? 1 : slash);
  row.title = shown(track.tagData.title, track.v1.title);
  row.artist = shown(track.tagData.artist, track.v1.artist);
  row.album = shown(track.tagData.album, track.v1.album);
  row.track = trackText(track);
  row.trackOrder = trackSortKey(row.track);
  row.tagVersions = track.versionText;
  row.size = track.fileSize;
  row.length = track.duration;
  row.pictures = summarisePictures(track.tagData.picdata);
  return row;
}

const char* trackColumnTitle(TrackColumn column) {
  switch (column) {
    case TrackColumn::FileName: return "File name";
    case TrackColumn::Folder: return "Folder";
    case TrackColumn::Title: return "Title";
    case TrackColumn::Artist: return "Artist";
    case TrackColumn::Album: return "Album";
    case TrackColumn::Track: return "Track";
    case TrackColumn::Tags: return "Tags";
    case TrackColumn::Size: return "Size";
    case TrackColumn::Length: return "Length";
    case TrackColumn::Status: return "Status";
  }
  return "";
}

std::string trackStatusText(TrackStatus status) {
  switch (status) {
    case TrackStatus::NotReached: return {};
    case TrackStatus::Saved: return "Written";
    case TrackStatus::ReadOnly:
    case TrackStatus::Unchanged:
    case TrackStatus::CheckDeclined:
    case TrackStatus::LossDeclined: return "Passed over";
    case TrackStatus::Failed:
    case TrackStatus::Error: return "Failed";
  }
  return {};
}

bool rowLess(const TrackRow& a, const TrackRow& b, TrackColumn column) {
  switch (column) {
    case TrackColumn::FileName: return compareNoCase(a.fileName, b.fileName) < 0;
    case TrackColumn::Folder: return compareNoCase(a.folder, b.folder) < 0;
    case TrackColumn::Title: return compareNoCase(a.title, b.title) < 0;
    case TrackColumn::Artist: return compareNoCase(a.artist, b.artist) < 0;
    case TrackColumn::Album: return compareNoCase(a.album, b.album) < 0;
    case TrackColumn::Track: return a.trackOrder < b.trackOrder;
    case TrackColumn::Tags: return a.tagVersions < b.tagVersions;
    case TrackColumn::Size: return a.size < b.size;
    case TrackColumn::Length: return a.length < b.length;
    case TrackColumn::Status: return false;
  }
  return false;
}

LoadedTrack loadGroupTrack(const std::string& path, std::string& cause, bool keepPicture) {
  LoadedTrack loaded;
  TrackFile file = openTrackFile(path, kScanQuick);
  if (!file.opened()) {
    cause = file.cause;
    return loaded;
  }
  loaded.track = std::move(file.track);
  ID3Tag& track = *loaded.track;
  loaded.row = trackRow(track);
  // The run reads every track again before it writes it: the pictures are
  // not needed until then, and a library's covers would not fit in memory.
  PicDataArray pictures;
  pictures.swap(track.tagData.picdata);
  loaded.values = valuesOfTrack(track);
  if (keepPicture && !pictures.empty()) loaded.values.picture = std::move(pictures.front());
  loaded.hasV1 = track.v1Loaded && track.v1.enabled;
  loaded.hasV2 = track.v2Read || track.hasV2Tag;
  return loaded;
}

Alert groupLoadFailuresAlert(const std::vector<OpenFailure>& failures) {
  if (failures.size() == 1)
    return {std::string(kOpenFailedTitle),
            "Could not read the tag information from the file '" + failures.front().path + "'.",
            {std::string(kOkButton)}};
  Alert alert = openFailuresAlert(failures, true);
  alert.title = std::string(kOpenFailedTitle);
  return alert;
}

GroupLoader::GroupLoader(std::vector<std::string> paths, int jobs, Deliver deliver, Finished finished,
                         size_t batchSize)
    : paths_(std::move(paths)),
      jobs_(std::max(1, jobs)),
      deliver_(std::move(deliver)),
      finished_(std::move(finished)),
      batchSize_(std::max<size_t>(1, batchSize)) {}

GroupLoader::~GroupLoader() {
  stop_ = true;
  for (std::thread& worker : workers_)
    if (worker.joinable()) worker.join();
}

void GroupLoader::start(int count) {
  std::lock_guard lock(mutex_);
  spawn(count > 0 ? std::min(count, jobs_) : jobs_);
}

void GroupLoader::startRest() {
  std::lock_guard lock(mutex_);
  // Once the last worker has ended, the end has been told: no more.
  if (active_ > 0) spawn(jobs_ - static_cast<int>(workers_.size()));
}

void GroupLoader::spawn(int count) {
  size_t chunks = 0;
  while (batchStart(chunks) < paths_.size()) ++chunks;
  const int useful = static_cast<int>(std::max<size_t>(chunks, 1)) - static_cast<int>(workers_.size());
  for (int i = 0; i < std::min(count, useful); ++i) {
    ++active_;
    workers_.emplace_back([this] { work(); });
  }
}

size_t GroupLoader::batchStart(size_t index) const {
  const size_t first = std::min(batchSize_, kFirstBatch);
  const size_t start = index == 0 ? 0 : first + (index - 1) * batchSize_;
  return std::min(start, paths_.size());
}

void GroupLoader::work() {
  lowerCurrentThreadPriority();
  for (;;) {
    const size_t index = nextChunk_++;
    const size_t first = batchStart(index);
    if (stop_ || first >= paths_.size()) break;
    Chunk chunk;
    const size_t end = batchStart(index + 1);
    for (size_t i = first; i < end && !stop_; ++i) {
      std::string cause;
      try {
        // One cover per batch travels, that of its first track read: the
        // window shows the group's first track's cover and compares the
        // others by their summaries, and a batch may hold the first track
        // read when every track before it is broken.
        LoadedTrack loaded = loadGroupTrack(paths_[i], cause, chunk.tracks.empty());
        if (loaded.track) chunk.tracks.push_back(std::move(loaded));
        else chunk.failures.push_back({paths_[i], cause});
      } catch (const std::exception& exception) {
        chunk.failures.push_back({paths_[i], exception.what()});
      }
    }
    handOver(index, std::move(chunk));
  }
  std::lock_guard lock(mutex_);
  if (--active_ > 0) return;
  // The last one out: chunks still waiting behind one that was never read
  // (a stop) go out in their order.
  for (auto& [index, chunk] : waiting_) {
    if (!chunk.tracks.empty()) deliver_(std::move(chunk.tracks));
    failures_.insert(failures_.end(), chunk.failures.begin(), chunk.failures.end());
  }
  waiting_.clear();
  if (finished_) finished_(std::move(failures_));
}

void GroupLoader::handOver(size_t index, Chunk chunk) {
  std::lock_guard lock(mutex_);
  waiting_.emplace(index, std::move(chunk));
  for (auto next = waiting_.find(nextToDeliver_); next != waiting_.end(); next = waiting_.find(nextToDeliver_)) {
    if (!next->second.tracks.empty()) deliver_(std::move(next->second.tracks));
    failures_.insert(failures_.end(), next->second.failures.begin(), next->second.failures.end());
    waiting_.erase(next);
    ++nextToDeliver_;
  }
}

}  // namespace melos
