// Sim commands for Wi-Fi, location, languages, launch at login, the
// application folders and notifications.
#include <algorithm>

#include "host/sim_commands.h"
#include "host/sim_params.h"

namespace movaro::host {
namespace {

const std::map<std::string, platform::LoginItemStatus>& loginItemStatuses() {
  static const std::map<std::string, platform::LoginItemStatus> kStatuses = {
      {"notRegistered", platform::LoginItemStatus::kNotRegistered},
      {"enabled", platform::LoginItemStatus::kEnabled},
      {"requiresApproval", platform::LoginItemStatus::kRequiresApproval},
      {"notFound", platform::LoginItemStatus::kNotFound},
  };
  return kStatuses;
}

// ---- Wi-Fi, location, launch at login, applications, notifications ----

Json wifi(sim::SimulatedMac& mac, const Json& line) {
  if (hasParam(line, "hasInterface")) {
    mac.wifi.hasInterface = line["hasInterface"] == true;
  }
  if (hasParam(line, "ssid")) {
    const Json& ssid = line["ssid"];
    mac.wifi.ssid = ssid.is_string()
                        ? std::optional<std::string>(ssid.get<std::string>())
                        : std::nullopt;
  }
  return nullptr;
}

Json location(sim::SimulatedMac& mac, const Json& line) {
  mac.location.status = intParam(line, "status");
  return nullptr;
}

Json locationDecision(sim::SimulatedMac& mac, const Json& line) {
  mac.location.decide(intParam(line, "status"));
  return nullptr;
}

Json preferredLanguages(sim::SimulatedMac& mac, const Json& line) {
  auto& languages = mac.fileManager.preferredLanguages;
  if (const Json* given = param(line, "languages")) {
    if (!given->is_array() ||
        !std::all_of(given->begin(), given->end(),
                     [](const Json& tag) { return tag.is_string(); })) {
      throw Refusal{"\"languages\" must be a list of language tags."};
    }
    languages = given->get<std::vector<std::string>>();
  }
  return languages;
}

Json loginItem(sim::SimulatedMac& mac, const Json& line) {
  auto& management = mac.serviceManagement;
  if (hasParam(line, "status")) {
    management.status = namedParam(line, "status", loginItemStatuses());
  }
  if (hasParam(line, "registerFailure")) {
    management.registerFailure = optionalString(line, "registerFailure");
  }
  if (hasParam(line, "unregisterFailure")) {
    management.unregisterFailure = optionalString(line, "unregisterFailure");
  }
  if (hasParam(line, "afterRegister")) {
    management.statusAfterRegister =
        namedParam(line, "afterRegister", loginItemStatuses());
  }
  if (hasParam(line, "helperAccepts")) {
    management.helperAccepts = line["helperAccepts"] == true;
  }
  return {{"status", static_cast<int>(management.status)},
          {"helperEnabled", management.helperEnabled}};
}

Json applicationFolders(sim::SimulatedMac& mac, const Json& line) {
  auto& folders = mac.fileManager.realFolders;
  if (hasParam(line, "system")) {
    folders["/Applications"] = stringParam(line, "system");
  }
  if (hasParam(line, "user")) {
    folders[mac.fileManager.home + "/Applications"] = stringParam(line, "user");
  }
  return nullptr;
}

Json notifications(sim::SimulatedMac& mac, const Json& line) {
  using Authorization = sim::SimNotificationCenter::Authorization;
  static const std::map<std::string, Authorization> kModes = {
      {"granted", Authorization::kGranted},
      {"declined", Authorization::kDeclined},
      {"failing", Authorization::kFailing},
  };
  auto& center = mac.notifications;
  if (hasParam(line, "authorization")) {
    center.authorization = namedParam(line, "authorization", kModes);
  }
  if (hasParam(line, "failure")) {
    center.authorizationFailure = stringParam(line, "failure");
  }
  const Json* failures = param(line, "addFailures");
  if (failures != nullptr && failures->is_object()) {
    center.addFailures.clear();
    for (const auto& [identifier, message] : failures->items()) {
      if (message.is_string()) {
        center.addFailures[identifier] = message.get<std::string>();
      }
    }
  }
  return nullptr;
}

Json pendingNotifications(sim::SimulatedMac& mac, const Json&) {
  Json answer = Json::array();
  for (const auto& request : mac.notifications.pendingRequests()) {
    answer.push_back({{"identifier", request.identifier},
                      {"title", request.title},
                      {"body", request.body},
                      {"sound", request.defaultSound ? "default" : "none"},
                      {"interval", request.timeInterval},
                      {"repeats", request.repeats}});
  }
  return answer;
}

}  // namespace

void addServiceCommands(SimCommands& commands) {
  commands.insert({
      {"wifi", onMac<wifi>},
      {"location", onMac<location>},
      {"locationDecision", onMac<locationDecision>},
      {"preferredLanguages", onMac<preferredLanguages>},
      {"loginItem", onMac<loginItem>},
      {"applicationFolders", onMac<applicationFolders>},
      {"notifications", onMac<notifications>},
      {"pendingNotifications", onMac<pendingNotifications>},
  });
}

}  // namespace movaro::host
