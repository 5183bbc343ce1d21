// The host's sim commands: the table of every command, and the commands
// for time, the application, the system, the defaults and the log.
#include "host/sim_commands.h"

#include <cmath>

#include "host/sim_params.h"

namespace movaro::host {
namespace {

// ---- Time ----

Json advance(sim::SimulatedMac& mac, const Json& line) {
  double seconds = numberParam(line, "seconds");
  if (!std::isfinite(seconds) || seconds < 0 || seconds > 1e9) {
    throw Refusal{"\"seconds\" must be a finite number from 0 to 1e9."};
  }
  mac.advance(seconds);
  return {{"elapsed",
           std::chrono::duration<double>(mac.dispatch.elapsed()).count()}};
}

Json runUntilIdle(sim::SimulatedMac& mac, const Json&) {
  mac.runUntilIdle();
  return nullptr;
}

Json pendingTasks(sim::SimulatedMac& mac, const Json&) {
  return mac.dispatch.pendingCount();
}

// ---- The application and the system ----

Json mainBundle(sim::SimulatedMac& mac, const Json& line) {
  if (const Json* identifier = param(line, "identifier")) {
    mac.mainBundle.setIdentifier(
        identifier->is_string()
            ? std::optional<std::string>(identifier->get<std::string>())
            : std::nullopt);
  }
  if (hasParam(line, "path")) {
    mac.mainBundle.path = stringParam(line, "path");
  }
  const Json* info = param(line, "info");
  if (info != nullptr && info->is_object()) {
    for (const auto& [key, value] : info->items()) {
      if (value.is_null()) {
        mac.mainBundle.contents.info.erase(Value(key));
      } else {
        mac.mainBundle.contents.info[Value(key)] = jsonToValue(value);
      }
    }
  }
  const auto& identifier = mac.mainBundle.contents.identifier;
  return {{"identifier", identifier ? Json(*identifier) : Json(nullptr)},
          {"path", mac.mainBundle.path},
          {"info", valueToJson(mac.mainBundle.contents.info)}};
}

Json osVersion(sim::SimulatedMac& mac, const Json& line) {
  auto& system = mac.system;
  if (hasParam(line, "major")) {
    auto part = [&line](const char* key) {
      return hasParam(line, key) ? intParam(line, key) : 0;
    };
    system.version = {intParam(line, "major"), part("minor"), part("patch")};
  }
  if (hasParam(line, "string")) {
    system.versionString = stringParam(line, "string");
  }
  return {{"major", system.version.major},
          {"minor", system.version.minor},
          {"patch", system.version.patch},
          {"string", system.versionString}};
}

Json installExtension(sim::SimulatedMac& mac, const Json& line) {
  ValueMap info;
  const Json* given = param(line, "info");
  if (given != nullptr && given->is_object()) {
    info = *jsonToValue(*given).getIf<ValueMap>();
  }
  mac.installExtension(extensionSuffix(line), info);
  return nullptr;
}

Json removeExtension(sim::SimulatedMac& mac, const Json& line) {
  std::string identifier = mac.mainBundle.contents.identifier.value_or(
                               sim::SimulatedMac::kBundleIdentifier) +
                           extensionSuffix(line);
  mac.fileManager.virtualBundles.erase(mac.extensionPath(identifier));
  return nullptr;
}

// ---- Defaults, the workspace and the log ----

Json defaults(sim::SimulatedMac& mac, const Json&) {
  return valueToJson(mac.defaults.values);
}

Json setDefault(sim::SimulatedMac& mac, const Json& line) {
  const Json* value = param(line, "value");
  if (value == nullptr) {
    throw Refusal{"\"value\" is missing."};
  }
  mac.defaults.values[Value(stringParam(line, "key"))] = jsonToValue(*value);
  return nullptr;
}

Json removeDefault(sim::SimulatedMac& mac, const Json& line) {
  mac.defaults.values.erase(Value(stringParam(line, "key")));
  return nullptr;
}

Json openedUrls(sim::SimulatedMac& mac, const Json&) {
  return mac.workspace.opened;
}

Json osCalls(sim::SimulatedMac& mac, const Json&) {
  return valueToJson(mac.log.toValue());
}

Json clearLog(sim::SimulatedMac& mac, const Json&) {
  mac.log.clear();
  return nullptr;
}

const SimCommands& commands() {
  static const SimCommands kCommands = [] {
    SimCommands commands = {
        {"advance", onMac<advance>},
        {"runUntilIdle", onMac<runUntilIdle>},
        {"pendingTasks", onMac<pendingTasks>},
        {"mainBundle", onMac<mainBundle>},
        {"osVersion", onMac<osVersion>},
        {"installExtension", onMac<installExtension>},
        {"removeExtension", onMac<removeExtension>},
        {"defaults", onMac<defaults>},
        {"setDefault", onMac<setDefault>},
        {"removeDefault", onMac<removeDefault>},
        {"openedUrls", onMac<openedUrls>},
        {"log", onMac<osCalls>},
        {"clearLog", onMac<clearLog>},
    };
    addTunnelCommands(commands);
    addServiceCommands(commands);
    addHoldCommands(commands);
    return commands;
  }();
  return kCommands;
}

}  // namespace

void Host::simCommand(const Json& id,
                      const std::string& command,
                      const Json& line) {
  Json answer;
  try {
    auto it = commands().find(command);
    if (it == commands().end()) {
      throw Refusal{"Unknown sim command \"" + command + "\"."};
    }
    answer = it->second(*this, line);
  } catch (const Refusal& refusal) {
    hostError(id, refusal.sentence);
    return;
  }
  output_(Json{{"id", id}, {"sim", answer}});
}

}  // namespace movaro::host
