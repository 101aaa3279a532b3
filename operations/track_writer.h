#pragma once
// The file operations of the update flows: the engine's savers and removers,
// the renaming, and the unlocking of a read-only file. The flows call them
// through this class so that a test can stand in for one of them (a save that
// does not verify, a rename that fails) and still let the others write.

#include <string>

#include "engine/id3_tag.h"
#include "operations/save_settings.h"

namespace melos {

class TrackWriter {
 public:
  virtual ~TrackWriter() = default;

  // The engine's result codes (0 success, 7 not verified, ...).
  virtual int saveV1(ID3Tag& track, bool removeApe, bool keepDates, bool trim);
  virtual int removeV1(ID3Tag& track, bool removeApe, bool keepDates);
  virtual int saveV2(ID3Tag& track, bool moveToTrash, int version, bool keepDates, bool trim);
  virtual int removeV2(ID3Tag& track, bool moveToTrash, bool keepDates);
  // Renames (and files) the track as the settings say; the track takes the new path.
  virtual bool rename(ID3Tag& track, const SaveSettings& settings);
  // Gives the owner the right to write the file; false with the cause in the log.
  virtual bool makeWritable(const std::string& path);
  // Reads the track afresh from its path; non-zero on success.
  virtual unsigned reopen(ID3Tag& track, int scanMode);
  // Reads the tags afresh just before they are written, keeping the audio
  // facts and the changed flags; false, with the cause in the log, when the
  // file could not be read whole.
  virtual bool readForUpdate(ID3Tag& track);
};

// The writer over the engine, shared by every flow.
TrackWriter& engineTrackWriter();

}  // namespace melos
