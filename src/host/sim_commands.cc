// The host's sim commands: scripting the simulated Mac and observing what
// the plugins left in it. docs/host-protocol.md lists them.
#include <cmath>
#include <map>

#include "host/host.h"

namespace movaro::host {
namespace {

// A sim command that cannot be carried out; its text becomes the hostError.
struct Refusal {
  std::string sentence;
};

double numberParam(const Json& line, const char* key) {
  if (!line.contains(key) || !line[key].is_number()) {
    throw Refusal{std::string("\"") + key + "\" must be a number."};
  }
  return line[key].get<double>();
}

std::string stringParam(const Json& line, const char* key) {
  if (!line.contains(key) || !line[key].is_string()) {
    throw Refusal{std::string("\"") + key + "\" must be a string."};
  }
  return line[key].get<std::string>();
}

std::optional<platform::Duration> optionalSeconds(const Json& line,
                                                  const char* key) {
  if (line[key].is_null()) {
    return std::nullopt;
  }
  double seconds = numberParam(line, key);
  if (!std::isfinite(seconds) || seconds < 0 || seconds > 1e9) {
    throw Refusal{std::string("\"") + key + "\" must be from 0 to 1e9."};
  }
  return platform::seconds(seconds);
}

std::string extensionSuffix(const Json& line) {
  std::string suffix = stringParam(line, "suffix");
  if (suffix != ".network-extension" && suffix != ".mesh-extension") {
    throw Refusal{
        "\"suffix\" is \".network-extension\" or \".mesh-extension\"."};
  }
  return suffix;
}

sim::ActivationOutcome activationOutcome(const std::string& name) {
  static const std::map<std::string, sim::ActivationOutcome> outcomes = {
      {"needsApproval", sim::ActivationOutcome::kNeedsApproval},
      {"completed", sim::ActivationOutcome::kCompleted},
      {"willCompleteAfterReboot",
       sim::ActivationOutcome::kWillCompleteAfterReboot},
      {"failed", sim::ActivationOutcome::kFailed},
      {"replace", sim::ActivationOutcome::kReplace},
  };
  auto it = outcomes.find(name);
  if (it == outcomes.end()) {
    throw Refusal{"Unknown activation outcome \"" + name + "\"."};
  }
  return it->second;
}

std::optional<std::string> optionalString(const Json& line, const char* key) {
  return line[key].is_null()
             ? std::nullopt
             : std::optional<std::string>(stringParam(line, key));
}

// {"domain", "code", "message", "userInfo"} as an OS error.
platform::PlatformError platformError(const Json& line) {
  platform::PlatformError error;
  error.domain = stringParam(line, "domain");
  error.code = line.contains("code")
                   ? static_cast<int64_t>(numberParam(line, "code"))
                   : 0;
  error.message = line.contains("message") ? stringParam(line, "message")
                                           : std::string("The tunnel stopped.");
  if (line.contains("userInfo") && line["userInfo"].is_object()) {
    error.userInfo = *jsonToValue(line["userInfo"]).getIf<ValueMap>();
  }
  return error;
}

platform::LoginItemStatus loginItemStatus(const std::string& name) {
  using platform::LoginItemStatus;
  static const std::map<std::string, LoginItemStatus> statuses = {
      {"notRegistered", LoginItemStatus::kNotRegistered},
      {"enabled", LoginItemStatus::kEnabled},
      {"requiresApproval", LoginItemStatus::kRequiresApproval},
      {"notFound", LoginItemStatus::kNotFound},
  };
  auto it = statuses.find(name);
  if (it == statuses.end()) {
    throw Refusal{"Unknown login item status \"" + name + "\"."};
  }
  return it->second;
}

Json profilesJson(sim::SimulatedMac& mac) {
  Json list = Json::array();
  for (const sim::SavedProfile& saved : mac.networkExtension.saved()) {
    list.push_back(
        {{"id", saved.id},
         {"status", saved.connection->status()},
         {"fields", valueToJson(sim::profileFieldsToValue(saved.fields))}});
  }
  return list;
}

// The profile a command names by "profile" (an id), else the first saved
// profile of the given provider suffix, else the first saved one.
sim::SavedProfile& profileParam(sim::SimulatedMac& mac, const Json& line) {
  sim::SavedProfile* profile = nullptr;
  if (line.contains("profile")) {
    profile = mac.networkExtension.savedProfile(
        static_cast<int64_t>(numberParam(line, "profile")));
  } else {
    std::string provider =
        mac.mainBundle.contents.identifier.value_or(
            sim::SimulatedMac::kBundleIdentifier) +
        (line.contains("suffix") ? extensionSuffix(line)
                                 : std::string(".network-extension"));
    profile = mac.networkExtension.savedProfileFor(provider);
    if (profile == nullptr && !mac.networkExtension.saved().empty() &&
        !line.contains("suffix")) {
      profile = &mac.networkExtension.saved().front();
    }
  }
  if (profile == nullptr) {
    throw Refusal{"No such saved profile."};
  }
  return *profile;
}

}  // namespace

void Host::simCommand(const Json& id,
                      const std::string& command,
                      const Json& line) {
  sim::SimulatedMac& mac = mac_;
  Json answer = nullptr;
  try {
    if (command == "advance") {
      double seconds = numberParam(line, "seconds");
      if (!std::isfinite(seconds) || seconds < 0 || seconds > 1e9) {
        throw Refusal{"\"seconds\" must be a finite number from 0 to 1e9."};
      }
      mac.advance(seconds);
      answer = {
          {"elapsed",
           std::chrono::duration<double>(mac.dispatch.elapsed()).count()}};
    } else if (command == "runUntilIdle") {
      mac.runUntilIdle();
    } else if (command == "mainBundle") {
      if (line.contains("identifier")) {
        mac.mainBundle.contents.identifier =
            line["identifier"].is_string()
                ? std::optional<std::string>(
                      line["identifier"].get<std::string>())
                : std::nullopt;
      }
      if (line.contains("path")) {
        mac.mainBundle.path = stringParam(line, "path");
      }
      if (line.contains("info") && line["info"].is_object()) {
        for (const auto& [key, value] : line["info"].items()) {
          if (value.is_null()) {
            mac.mainBundle.contents.info.erase(Value(key));
          } else {
            mac.mainBundle.contents.info[Value(key)] = jsonToValue(value);
          }
        }
      }
      answer = {{"identifier", mac.mainBundle.contents.identifier
                                   ? Json(*mac.mainBundle.contents.identifier)
                                   : Json(nullptr)},
                {"path", mac.mainBundle.path},
                {"info", valueToJson(mac.mainBundle.contents.info)}};
    } else if (command == "osVersion") {
      if (line.contains("major")) {
        mac.system.version.major = static_cast<int>(numberParam(line, "major"));
        mac.system.version.minor =
            line.contains("minor")
                ? static_cast<int>(numberParam(line, "minor"))
                : 0;
        mac.system.version.patch =
            line.contains("patch")
                ? static_cast<int>(numberParam(line, "patch"))
                : 0;
      }
      if (line.contains("string")) {
        mac.system.versionString = stringParam(line, "string");
      }
      answer = {{"major", mac.system.version.major},
                {"minor", mac.system.version.minor},
                {"patch", mac.system.version.patch},
                {"string", mac.system.versionString}};
    } else if (command == "defaults") {
      answer = valueToJson(mac.defaults.values);
    } else if (command == "setDefault") {
      if (!line.contains("value")) {
        throw Refusal{"\"value\" is missing."};
      }
      mac.defaults.values[Value(stringParam(line, "key"))] =
          jsonToValue(line["value"]);
    } else if (command == "removeDefault") {
      mac.defaults.values.erase(Value(stringParam(line, "key")));
    } else if (command == "openedUrls") {
      answer = mac.workspace.opened;
    } else if (command == "log") {
      answer = valueToJson(mac.log.toValue());
    } else if (command == "clearLog") {
      mac.log.clear();
    } else if (command == "pendingTasks") {
      answer = mac.dispatch.pendingCount();
    } else if (command == "installExtension") {
      ValueMap info;
      if (line.contains("info") && line["info"].is_object()) {
        info = *jsonToValue(line["info"]).getIf<ValueMap>();
      }
      mac.installExtension(extensionSuffix(line), info);
    } else if (command == "removeExtension") {
      std::string identifier = mac.mainBundle.contents.identifier.value_or(
                                   sim::SimulatedMac::kBundleIdentifier) +
                               extensionSuffix(line);
      mac.fileManager.virtualBundles.erase(mac.extensionPath(identifier));
    } else if (command == "profiles") {
      answer = profilesJson(mac);
    } else if (command == "addProfile") {
      Value fields =
          line.contains("fields") ? jsonToValue(line["fields"]) : Value();
      sim::SavedProfile& added = mac.networkExtension.addSavedProfile(
          sim::profileFieldsFromValue(fields));
      if (line.contains("status")) {
        added.connection->setStatus(
            static_cast<int>(numberParam(line, "status")));
      }
      answer = added.id;
    } else if (command == "setStatus") {
      sim::SavedProfile& profile = profileParam(mac, line);
      profile.connection->setStatus(
          static_cast<int>(numberParam(line, "status")));
    } else if (command == "fail") {
      std::string operation = stringParam(line, "operation");
      if (operation != "loadAll" && operation != "save" &&
          operation != "reload" && operation != "start") {
        throw Refusal{"\"operation\" is loadAll, save, reload or start."};
      }
      if (line.contains("message") && line["message"].is_null()) {
        mac.networkExtension.failures.erase(operation);
      } else {
        int times = line.contains("times")
                        ? static_cast<int>(numberParam(line, "times"))
                        : -1;
        mac.networkExtension.failures[operation] = {
            line.contains("message") ? stringParam(line, "message")
                                     : std::string("The operation failed."),
            times};
      }
    } else if (command == "tunnelBehaviour") {
      if (line.contains("connectDelay")) {
        mac.networkExtension.connectDelay =
            optionalSeconds(line, "connectDelay");
      }
      if (line.contains("stopDelay")) {
        mac.networkExtension.stopDelay = optionalSeconds(line, "stopDelay");
      }
      if (line.contains("dropAfter")) {
        mac.networkExtension.dropDelay = optionalSeconds(line, "dropAfter");
      }
      if (line.contains("dropError")) {
        mac.networkExtension.dropError =
            line["dropError"].is_object()
                ? platform::MaybeError(platformError(line["dropError"]))
                : std::nullopt;
      }
    } else if (command == "extensionRequests") {
      answer = Json::array();
      size_t index = 0;
      for (const auto& submitted : mac.systemExtensions.submitted()) {
        answer.push_back({{"index", index++},
                          {"identifier", submitted.request->identifier()}});
      }
    } else if (command == "answerExtension") {
      size_t count = mac.systemExtensions.submitted().size();
      size_t index = line.contains("index")
                         ? static_cast<size_t>(numberParam(line, "index"))
                         : count - 1;
      if (count == 0 ||
          !mac.systemExtensions.answer(
              index, activationOutcome(stringParam(line, "outcome")))) {
        throw Refusal{"No such activation request."};
      }
    } else if (command == "providerAnswer") {
      sim::ProviderAnswer providerAnswer;
      if (line.contains("reply") && !line["reply"].is_null()) {
        std::string bytes = stringParam(line, "reply");
        providerAnswer.reply = Bytes(bytes.begin(), bytes.end());
      }
      if (line.contains("delay")) {
        providerAnswer.delay =
            optionalSeconds(line, "delay").value_or(platform::Duration());
      }
      providerAnswer.silent = line.contains("silent") && line["silent"] == true;
      providerAnswer.failSend =
          line.contains("failSend") && line["failSend"] == true;
      mac.networkExtension.providerAnswers[stringParam(line, "command")] =
          providerAnswer;
    } else if (command == "lastDisconnectError") {
      sim::SavedProfile& profile = profileParam(mac, line);
      if (line.contains("domain") && line["domain"].is_null()) {
        profile.connection->lastDisconnectError.reset();
      } else {
        profile.connection->lastDisconnectError = platformError(line);
      }
    } else if (command == "wifi") {
      if (line.contains("hasInterface")) {
        mac.wifi.hasInterface = line["hasInterface"] == true;
      }
      if (line.contains("ssid")) {
        mac.wifi.ssid =
            line["ssid"].is_string()
                ? std::optional<std::string>(stringParam(line, "ssid"))
                : std::nullopt;
      }
    } else if (command == "location") {
      mac.location.status = static_cast<int>(numberParam(line, "status"));
    } else if (command == "locationDecision") {
      mac.location.decide(static_cast<int>(numberParam(line, "status")));
    } else if (command == "loginItem") {
      if (line.contains("status")) {
        mac.serviceManagement.status =
            loginItemStatus(stringParam(line, "status"));
      }
      if (line.contains("registerFailure")) {
        mac.serviceManagement.registerFailure =
            optionalString(line, "registerFailure");
      }
      if (line.contains("unregisterFailure")) {
        mac.serviceManagement.unregisterFailure =
            optionalString(line, "unregisterFailure");
      }
      if (line.contains("helperAccepts")) {
        mac.serviceManagement.helperAccepts = line["helperAccepts"] == true;
      }
      answer = {{"status", static_cast<int>(mac.serviceManagement.status)},
                {"helperEnabled", mac.serviceManagement.helperEnabled}};
    } else if (command == "applicationFolders") {
      if (line.contains("system")) {
        mac.fileManager.realFolders["/Applications"] =
            stringParam(line, "system");
      }
      if (line.contains("user")) {
        mac.fileManager.realFolders[mac.fileManager.home + "/Applications"] =
            stringParam(line, "user");
      }
    } else if (command == "notifications") {
      if (line.contains("authorization")) {
        std::string mode = stringParam(line, "authorization");
        using Authorization = sim::SimNotificationCenter::Authorization;
        if (mode == "granted") {
          mac.notifications.authorization = Authorization::kGranted;
        } else if (mode == "declined") {
          mac.notifications.authorization = Authorization::kDeclined;
        } else if (mode == "failing") {
          mac.notifications.authorization = Authorization::kFailing;
        } else {
          throw Refusal{"\"authorization\" is granted, declined or failing."};
        }
      }
      if (line.contains("failure")) {
        mac.notifications.authorizationFailure = stringParam(line, "failure");
      }
      if (line.contains("addFailures") && line["addFailures"].is_object()) {
        mac.notifications.addFailures.clear();
        for (const auto& [identifier, message] : line["addFailures"].items()) {
          if (message.is_string()) {
            mac.notifications.addFailures[identifier] =
                message.get<std::string>();
          }
        }
      }
    } else if (command == "pendingNotifications") {
      answer = Json::array();
      for (const auto& request : mac.notifications.pendingRequests()) {
        answer.push_back({{"identifier", request.identifier},
                          {"title", request.title},
                          {"body", request.body},
                          {"sound", request.defaultSound ? "default" : "none"},
                          {"interval", request.timeInterval},
                          {"repeats", request.repeats}});
      }
    } else if (command == "observers") {
      answer = mac.networkExtension.observerCount();
    } else {
      throw Refusal{"Unknown sim command \"" + command + "\"."};
    }
  } catch (const Refusal& refusal) {
    hostError(id, refusal.sentence);
    return;
  }
  output_(Json{{"id", id}, {"sim", answer}});
}

}  // namespace movaro::host
