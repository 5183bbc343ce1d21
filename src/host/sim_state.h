// What outlives a run of the host with --state DIR: the simulated Mac's
// saved profiles and its defaults, kept in DIR/state.json.
#ifndef MOVARO_HOST_SIM_STATE_H_
#define MOVARO_HOST_SIM_STATE_H_

#include <memory>
#include <optional>
#include <string>

#include "host/json_values.h"
#include "platform/sim/simulated_mac.h"

namespace movaro::host {

Json snapshot(sim::SimulatedMac& mac);
// Whether `state` has the form that snapshot() gives: an object with a
// "profiles" list of objects, each with a "fields" object, and a "defaults"
// object.
bool isSnapshot(const Json& state);
// Adds the saved profiles and defaults of a snapshot to the Mac.
void restore(sim::SimulatedMac& mac, const Json& state);

// Writes a file so that a crash mid-write leaves either the old or the new
// contents: a temporary file beside it, flushed to disk, then renamed.
// False, with errno set, when any step fails.
bool writeAtomically(const std::string& path, const std::string& contents);

// The state folder of one host: DIR/state.json, and DIR/state.lock, which
// the host holds locked (flock) as long as it runs, so that no second host
// writes the same file.
class StateFolder {
 public:
  // Creates the folder when it is missing, takes the lock and reads
  // DIR/state.json (a missing file is a Mac with nothing saved). Null, with
  // a sentence in `error`, when the folder cannot be used, another host
  // holds it, or the file cannot be read or is not a snapshot; the file is
  // left as it is.
  static std::unique_ptr<StateFolder> open(const std::string& dir,
                                           std::string& error);
  ~StateFolder();
  StateFolder(const StateFolder&) = delete;
  StateFolder& operator=(const StateFolder&) = delete;

  // The snapshot read at open; null when there was no file.
  const Json& saved() const { return saved_; }
  // Writes `text` to state.json unless the file already holds it. A
  // sentence when the write fails; the next save tries again.
  std::optional<std::string> save(const std::string& text);

 private:
  StateFolder(std::string path, int lock)
      : path_(std::move(path)), lock_(lock) {}

  std::string path_;
  int lock_;
  std::string written_;
  Json saved_;
};

}  // namespace movaro::host

#endif  // MOVARO_HOST_SIM_STATE_H_
