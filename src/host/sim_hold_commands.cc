// Sim commands that hold the Mac's completions back and release them, and
// that tear the engine down and register new plugins.
#include <limits>

#include "host/sim_commands.h"
#include "host/sim_params.h"

namespace movaro::host {
namespace {

// What is held, with the ids to release, and which operations are held.
Json heldNow(sim::SimulatedMac& mac) {
  Json held = Json::array();
  for (const sim::SimHolds::Held& completion : mac.holds.held()) {
    Json entry = valueToJson(completion.details);
    entry["completion"] = completion.id;
    entry["operation"] = completion.operation;
    entry["since"] = std::chrono::duration<double>(completion.since).count();
    held.push_back(std::move(entry));
  }
  return {{"holding", mac.holds.holding()}, {"held", std::move(held)}};
}

Json hold(sim::SimulatedMac& mac, const Json& line) {
  if (const Json* names = param(line, "operations")) {
    const auto& known = sim::SimHolds::operations();
    const Refusal unknown{"\"operations\" lists operations that can be held."};
    if (!names->is_array()) {
      throw unknown;
    }
    std::set<std::string> operations;
    for (const Json& name : *names) {
      if (!name.is_string() || known.count(name.get<std::string>()) == 0) {
        throw unknown;
      }
      operations.insert(name.get<std::string>());
    }
    mac.holds.hold(std::move(operations));
  }
  return heldNow(mac);
}

Json release(sim::SimulatedMac& mac, const Json& line) {
  int64_t id =
      integerParam(line, "completion", 1, std::numeric_limits<int64_t>::max());
  if (!mac.holds.release(id, optionalString(line, "failure"))) {
    throw Refusal{"No completion is held with that id."};
  }
  // What the completion sets going is reported before the answer, as
  // "advance" reports what its timers do.
  mac.runUntilIdle();
  return heldNow(mac);
}

Json teardown(Host& host, const Json&) {
  host.teardown();
  return nullptr;
}

Json registerPlugins(Host& host, const Json&) {
  if (!host.registerPlugins()) {
    throw Refusal{"The plugins are registered; tear them down first."};
  }
  return nullptr;
}

}  // namespace

void addHoldCommands(SimCommands& commands) {
  commands.insert({
      {"hold", onMac<hold>},
      {"release", onMac<release>},
      {"teardown", teardown},
      {"register", registerPlugins},
  });
}

}  // namespace movaro::host
