#pragma once
#include <QString>
#include <memory>
#include <optional>
#include <vector>

#include "ports/ProcessLocks.h"
#include "storage/AudioSettingsManager.h"

namespace quillmere {

// The volume of a device, and whose recording has changed it.
struct BorrowedVolume {
  enum class Device { output, input };
  Device device = Device::output;
  QString uid;
  QString name;
  std::vector<double> channels;  // 1 is 100 %
  QString owner;                 // lock of the process that uses it; empty: nobody does any more

  // Where a recording puts the device: an output is silent, a microphone at 90 %.
  static constexpr double volumeOf(Device device) { return device == Device::output ? 0.0 : 0.9; }
  bool isAsRecordingsLeaveIt() const;
  bool isSameDevice(const BorrowedVolume& other) const { return device == other.device && uid == other.uid; }
};

// The volumes that recordings have changed and not given back yet, of all processes, one entry a device. They stand in
// the settings, so that a killed process loses none. Main thread.
class BorrowedVolumes {
 public:
  BorrowedVolumes(AudioSettingsManager& settings, ProcessLocks& locks);

  // Before a change: `current` is what the device stands at. Gives what is to be given back to it later: of a device
  // that an ended recording left changed, its volume before that. Nothing: leave the device alone, a recording of
  // another process uses it.
  std::optional<std::vector<double>> claim(BorrowedVolume current);
  // It has its volume back.
  void remove(const BorrowedVolume& volume);
  // It could not be given back yet.
  void abandon(const BorrowedVolume& volume);
  // Those that no living process uses.
  std::vector<BorrowedVolume> abandoned() const;

 private:
  std::vector<BorrowedVolume> read() const;
  void write(const std::vector<BorrowedVolume>& volumes);
  void replace(const BorrowedVolume& volume);
  bool isInUse(const BorrowedVolume& volume) const;

  AudioSettingsManager& settings_;
  ProcessLocks& locks_;
  QString owner_;  // of this process
  std::unique_ptr<ProcessLocks::Lock> lock_;
};

}  // namespace quillmere
