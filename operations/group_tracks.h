#pragma once
// The tracks of a group as its window lists them, and their reading on worker
// threads: rows are handed over in batches, in the order of the paths, as
// they are read, so that a folder of thousands of tracks fills in while the
// window stays responsive. Failures are gathered and told once, at the end.

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "operations/group_fill.h"
#include "operations/group_update.h"
#include "operations/open_documents.h"

namespace melos {

// One row of the track list. Texts are UTF-8.
struct TrackRow {
  std::string fileName, folder;
  std::string title, artist, album;  // V2, else V1
  std::string track;                 // "3/12", "3", "/12" or empty
  std::pair<long, long> trackOrder;  // trackSortKey(track), worked out once for sorting
  std::string tagVersions;           // "V1 and V2.3", ...
  uint64_t size = 0;                 // bytes
  uint64_t length = 0;               // seconds
  PictureSummary pictures;
};

TrackRow trackRow(const ID3Tag& track);

// "3/12" sorts as 3, then 12; an empty number after every other.
std::pair<long, long> trackSortKey(const std::string& track);

// The list's columns, in order.
enum class TrackColumn : int { FileName, Folder, Title, Artist, Album, Track, Tags, Size, Length, Status };
inline constexpr int kTrackColumnCount = static_cast<int>(TrackColumn::Status) + 1;
const char* trackColumnTitle(TrackColumn column);

// What the status column says of a track's outcome in the last run: written,
// failed or passed over; empty before the run reaches it.
std::string trackStatusText(TrackStatus status);
inline constexpr std::string_view kWritingStatus = "Writing…";

// Orders two rows by a column, for sorting the list: numbers as numbers,
// texts without regard to case.
bool rowLess(const TrackRow& a, const TrackRow& b, TrackColumn column);

// One track read for the group: the track without its pictures (their
// figures are in the row), its row, and its values for the window.
struct LoadedTrack {
  std::unique_ptr<ID3Tag> track;
  TrackRow row;
  GroupValues values;
  bool hasV1 = false;
  bool hasV2 = false;
};

// Reads one path for the group; the cause is filled when it could not be read.
// The values keep the track's first picture only when asked.
LoadedTrack loadGroupTrack(const std::string& path, std::string& cause, bool keepPicture = true);

// The one alert that tells the tracks a group could not read: "Open failed"
// with the file for one, else the names as open failures are listed (all
// below 6, else 3 and "(And others)").
Alert groupLoadFailuresAlert(const std::vector<OpenFailure>& failures);
inline constexpr std::string_view kOpenFailedTitle = "Open failed";

class GroupLoader {
 public:
  // Called from a worker thread, one batch at a time, in the order of the paths.
  using Deliver = std::function<void(std::vector<LoadedTrack>)>;
  // Called once from the last worker to end, with the failures in path order.
  using Finished = std::function<void(std::vector<OpenFailure>)>;

  GroupLoader(std::vector<std::string> paths, int jobs, Deliver deliver, Finished finished,
              size_t batchSize = kDefaultBatch);
  // Stops and waits for the workers; neither callback is called after it.
  ~GroupLoader();
  GroupLoader(const GroupLoader&) = delete;
  GroupLoader& operator=(const GroupLoader&) = delete;

  // Starts `count` of the workers (all when 0); startRest() the others. A
  // window that is about to draw itself for the first time starts one, so
  // that the workers leave it a core until it is on the screen.
  void start(int count = 0);
  void startRest();
  // No further track is begun; the tracks read so far are still delivered.
  void stop() noexcept { stop_ = true; }

  // Every hand-over costs the window's thread about the same whatever its
  // size, so batches are large; the first is small, so that rows show at once.
  static constexpr size_t kDefaultBatch = 256;
  static constexpr size_t kFirstBatch = 32;

 private:
  struct Chunk {
    std::vector<LoadedTrack> tracks;
    std::vector<OpenFailure> failures;
  };
  void work();
  void spawn(int count);  // with the lock held
  // The first path of batch `index`; the paths' count past the last one.
  size_t batchStart(size_t index) const;
  void handOver(size_t index, Chunk chunk);

  std::vector<std::string> paths_;
  int jobs_;
  Deliver deliver_;
  Finished finished_;
  size_t batchSize_;
  std::vector<std::thread> workers_;
  std::atomic<size_t> nextChunk_{0};
  std::atomic<bool> stop_{false};
  std::mutex mutex_;  // guards what follows
  std::map<size_t, Chunk> waiting_;
  size_t nextToDeliver_ = 0;
  int active_ = 0;
  std::vector<OpenFailure> failures_;
};

}  // namespace melos
