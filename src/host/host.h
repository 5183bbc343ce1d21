// movaro-host: both plugins registered on a simulated Mac, spoken to in
// JSON lines. Each input line is handled completely (the call, then every
// main-queue task due now) before the next one.
#ifndef MOVARO_HOST_HOST_H_
#define MOVARO_HOST_HOST_H_

#include <functional>
#include <istream>
#include <memory>
#include <string>
#include <vector>

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

  // The engine going away: both plugins are dropped, and nothing more is
  // written for them: no reply to a call they had taken, no event.
  void teardown();
  // New plugins on the same Mac, as a new engine registers them; false
  // while plugins are registered.
  bool registerPlugins();

  sim::SimulatedMac& mac() { return mac_; }
  LocalMessenger& messenger() { return engines_.back()->messenger; }

 private:
  void handleObject(const Json& id, const Json& line);
  void methodCall(const Json& id, const Json& line);
  void streamRequest(const Json& id,
                     const std::string& channel,
                     const std::string& method);
  // Writes the reply, unless its engine has gone.
  BinaryReply replyTo(const Json& id);
  void onEngineMessage(const std::string& channel, const Bytes& message);
  void replyLine(const Json& id, const Bytes& reply);
  void hostError(const Json& id, const std::string& sentence);

  // Sim commands (sim_commands.cc).
  void simCommand(const Json& id, const std::string& command, const Json& line);

  // Saves the state after the line with this id (null: a timer's change).
  void persist(const Json& id);

  // One engine's messenger and registrar, numbered in order.
  struct Engine {
    explicit Engine(LocalMessenger::EngineReceiver receiver)
        : messenger(std::move(receiver)), registrar(messenger) {}
    LocalMessenger messenger;
    Registrar registrar;
  };
  // Whether what engine `number` is sent still reaches the output.
  bool live(size_t number) const {
    return registered_ && number + 1 == engines_.size();
  }

  Output output_;
  std::unique_ptr<StateFolder> state_;
  sim::SimulatedMac mac_;
  // The last one is the current engine. Engines torn down are kept, as
  // what their plugins still hold refers to them.
  std::vector<std::unique_ptr<Engine>> engines_;
  bool registered_ = false;
};

}  // namespace movaro::host

#endif  // MOVARO_HOST_HOST_H_
