// What outlives a run of the host with --state DIR: the simulated Mac's
// saved profiles and its defaults, kept in DIR/state.json.
#ifndef MOVARO_HOST_SIM_STATE_H_
#define MOVARO_HOST_SIM_STATE_H_

#include <string>

#include "host/json_values.h"
#include "platform/sim/simulated_mac.h"

namespace movaro::host {

Json snapshot(sim::SimulatedMac& mac);
void restore(sim::SimulatedMac& mac, const Json& state);

// Writes a file so that a crash mid-write leaves either the old or the new
// contents: a temporary file beside it, flushed to disk, then renamed.
bool writeAtomically(const std::string& path, const std::string& contents);

}  // namespace movaro::host

#endif  // MOVARO_HOST_SIM_STATE_H_
