// The host's sim commands, in groups by subject; docs/host-protocol.md
// lists them.
#ifndef MOVARO_HOST_SIM_COMMANDS_H_
#define MOVARO_HOST_SIM_COMMANDS_H_

#include <map>
#include <string>

#include "host/host.h"

namespace movaro::host {

// Reads a command's parameters, acts, and returns the command's answer; a
// Refusal (host/sim_params.h) turns the line into a hostError.
using SimHandler = Json (*)(Host& host, const Json& line);
using SimCommands = std::map<std::string, SimHandler>;

// Tunnel profiles, extension activation and the mesh provider.
void addTunnelCommands(SimCommands& commands);
// Wi-Fi, location, languages, launch at login, applications, notifications.
void addServiceCommands(SimCommands& commands);

// Holding completions back and releasing them; the engine's teardown and a
// new registration.
void addHoldCommands(SimCommands& commands);

// A handler that needs only the simulated Mac.
template <Json (*handler)(sim::SimulatedMac& mac, const Json& line)>
Json onMac(Host& host, const Json& line) {
  return handler(host.mac(), line);
}

}  // namespace movaro::host

#endif  // MOVARO_HOST_SIM_COMMANDS_H_
