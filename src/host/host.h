// movaro-host: both plugins registered on a simulated Mac, spoken to in
// JSON lines. Each input line is handled completely (the call, then every
// main-queue task due now) before the next one.
#ifndef MOVARO_HOST_HOST_H_
#define MOVARO_HOST_HOST_H_

#include <functional>
#include <istream>
#include <memory>
#include <string>

#include "bridge/binary_messenger.h"
#include "bridge/registrar.h"
#include "host/json_values.h"
#include "host/sim_state.h"
#include "platform/sim/simulated_mac.h"

namespace movaro::host {

class Host {
 public:
  using Output = std::function<void(const Json& line)>;

  // With a state folder, the Mac starts with the profiles and defaults
  // saved in it, and they are written back after every line that changed
  // them; a failed write is a hostError on that line.
  explicit Host(Output output, std::unique_ptr<StateFolder> state = nullptr);
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  // Handles one line of input: a method call, a listen or cancel, or a sim
  // command. A line the host cannot take is answered with a hostError.
  void handleLine(const std::string& line);
  // Reads lines until the end of the input. With a real clock, timers run
  // while the host waits for the next line.
  void run(std::istream& in, bool realClock);

  sim::SimulatedMac& mac() { return mac_; }
  LocalMessenger& messenger() { return messenger_; }

 private:
  void handleObject(const Json& id, const Json& line);
  void methodCall(const Json& id, const Json& line);
  void streamRequest(const Json& id,
                     const std::string& channel,
                     const std::string& method);
  void onEngineMessage(const std::string& channel, const Bytes& message);
  void replyLine(const Json& id, const Bytes& reply);
  void hostError(const Json& id, const std::string& sentence);

  // Sim commands (sim_commands.cc).
  void simCommand(const Json& id, const std::string& command, const Json& line);

  // Saves the state after the line with this id (null: a timer's change).
  void persist(const Json& id);

  Output output_;
  std::unique_ptr<StateFolder> state_;
  sim::SimulatedMac mac_;
  LocalMessenger messenger_;
  Registrar registrar_;
};

}  // namespace movaro::host

#endif  // MOVARO_HOST_HOST_H_
