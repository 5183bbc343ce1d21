// Sim commands for the tunnel profiles, extension activation and the mesh
// provider.
#include <limits>

#include "host/sim_commands.h"
#include "host/sim_params.h"

namespace movaro::host {
namespace {

constexpr int64_t kMaxInt64 = std::numeric_limits<int64_t>::max();

// The profile a command names by "profile" (an id), else the first saved
// profile of the given provider suffix, else the first saved one.
sim::SavedProfile& profileParam(sim::SimulatedMac& mac, const Json& line) {
  sim::SavedProfile* profile = nullptr;
  if (hasParam(line, "profile")) {
    profile = mac.networkExtension.savedProfile(
        integerParam(line, "profile", 0, kMaxInt64));
  } else {
    bool bySuffix = hasParam(line, "suffix");
    std::string provider =
        mac.mainBundle.contents.identifier.value_or(
            sim::SimulatedMac::kBundleIdentifier) +
        (bySuffix ? extensionSuffix(line) : std::string(".network-extension"));
    profile = mac.networkExtension.savedProfileFor(provider);
    if (profile == nullptr && !mac.networkExtension.saved().empty() &&
        !bySuffix) {
      profile = &mac.networkExtension.saved().front();
    }
  }
  if (profile == nullptr) {
    throw Refusal{"No such saved profile."};
  }
  return *profile;
}

// ---- Tunnel profiles ----

Json profiles(sim::SimulatedMac& mac, const Json&) {
  Json list = Json::array();
  for (const sim::SavedProfile& saved : mac.networkExtension.saved()) {
    list.push_back(
        {{"id", saved.id},
         {"status", saved.connection->status()},
         {"fields", valueToJson(sim::profileFieldsToValue(saved.fields))}});
  }
  return list;
}

Json addProfile(sim::SimulatedMac& mac, const Json& line) {
  const Json* fields = param(line, "fields");
  std::optional<int> status;
  if (hasParam(line, "status")) {
    status = intParam(line, "status");
  }
  sim::SavedProfile& added = mac.networkExtension.addSavedProfile(
      sim::profileFieldsFromValue(fields ? jsonToValue(*fields) : Value()));
  if (status) {
    added.connection->setStatus(*status);
  }
  return added.id;
}

Json setStatus(sim::SimulatedMac& mac, const Json& line) {
  int status = intParam(line, "status");
  profileParam(mac, line).connection->setStatus(status);
  return nullptr;
}

Json fail(sim::SimulatedMac& mac, const Json& line) {
  std::string operation = stringParam(line, "operation");
  if (operation != "loadAll" && operation != "save" && operation != "reload" &&
      operation != "start") {
    throw Refusal{"\"operation\" is loadAll, save, reload or start."};
  }
  const Json* message = param(line, "message");
  if (message != nullptr && message->is_null()) {
    mac.networkExtension.failures.erase(operation);
    return nullptr;
  }
  int times = hasParam(line, "times") ? intParam(line, "times") : -1;
  mac.networkExtension.failures[operation] = {
      message ? stringParam(line, "message")
              : std::string("The operation failed."),
      times};
  return nullptr;
}

Json tunnelBehaviour(sim::SimulatedMac& mac, const Json& line) {
  auto& ne = mac.networkExtension;
  if (hasParam(line, "connectDelay")) {
    ne.connectDelay = optionalSeconds(line, "connectDelay");
  }
  if (hasParam(line, "stopDelay")) {
    ne.stopDelay = optionalSeconds(line, "stopDelay");
  }
  if (hasParam(line, "dropAfter")) {
    ne.dropDelay = optionalSeconds(line, "dropAfter");
  }
  if (const Json* dropError = param(line, "dropError")) {
    ne.dropError = dropError->is_object()
                       ? platform::MaybeError(platformError(*dropError))
                       : std::nullopt;
  }
  return nullptr;
}

Json lastDisconnectError(sim::SimulatedMac& mac, const Json& line) {
  sim::SavedProfile& profile = profileParam(mac, line);
  const Json* domain = param(line, "domain");
  if (domain != nullptr && domain->is_null()) {
    profile.connection->lastDisconnectError.reset();
  } else {
    profile.connection->lastDisconnectError = platformError(line);
  }
  return nullptr;
}

Json observers(sim::SimulatedMac& mac, const Json&) {
  return mac.networkExtension.observerCount();
}

// ---- Extension activation and the mesh provider ----

Json extensionRequests(sim::SimulatedMac& mac, const Json&) {
  Json answer = Json::array();
  size_t index = 0;
  for (const auto& submitted : mac.systemExtensions.submitted()) {
    answer.push_back(
        {{"index", index++}, {"identifier", submitted.request->identifier()}});
  }
  return answer;
}

Json answerExtension(sim::SimulatedMac& mac, const Json& line) {
  static const std::map<std::string, sim::ActivationOutcome> kOutcomes = {
      {"needsApproval", sim::ActivationOutcome::kNeedsApproval},
      {"completed", sim::ActivationOutcome::kCompleted},
      {"willCompleteAfterReboot",
       sim::ActivationOutcome::kWillCompleteAfterReboot},
      {"failed", sim::ActivationOutcome::kFailed},
      {"replace", sim::ActivationOutcome::kReplace},
  };
  auto outcome = namedParam(line, "outcome", kOutcomes);
  int64_t count = static_cast<int64_t>(mac.systemExtensions.submitted().size());
  if (count == 0) {
    throw Refusal{"No such activation request."};
  }
  int64_t index = hasParam(line, "index")
                      ? integerParam(line, "index", 0, count - 1)
                      : count - 1;
  mac.systemExtensions.answer(static_cast<size_t>(index), outcome);
  return nullptr;
}

Json providerAnswer(sim::SimulatedMac& mac, const Json& line) {
  sim::ProviderAnswer answer;
  if (std::optional<std::string> reply = optionalString(line, "reply")) {
    answer.reply = Bytes(reply->begin(), reply->end());
  }
  answer.delay = optionalSeconds(line, "delay").value_or(platform::Duration());
  answer.silent = hasParam(line, "silent") && line["silent"] == true;
  answer.failSend = hasParam(line, "failSend") && line["failSend"] == true;
  mac.networkExtension.providerAnswers[stringParam(line, "command")] = answer;
  return nullptr;
}

}  // namespace

void addTunnelCommands(SimCommands& commands) {
  commands.insert({
      {"profiles", onMac<profiles>},
      {"addProfile", onMac<addProfile>},
      {"setStatus", onMac<setStatus>},
      {"fail", onMac<fail>},
      {"tunnelBehaviour", onMac<tunnelBehaviour>},
      {"lastDisconnectError", onMac<lastDisconnectError>},
      {"observers", onMac<observers>},
      {"extensionRequests", onMac<extensionRequests>},
      {"answerExtension", onMac<answerExtension>},
      {"providerAnswer", onMac<providerAnswer>},
  });
}

}  // namespace movaro::host
