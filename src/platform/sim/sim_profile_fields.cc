// Profile fields as values: how the log, the host and the saved state
// write a profile and read one back.
#include "bridge/arguments.h"
#include "platform/sim/sim_network_extension.h"

namespace movaro::sim {
namespace {

using platform::OnDemandRule;
using platform::TunnelProtocol;

Value protocolToValue(const TunnelProtocol& protocol) {
  if (!protocol.isTunnelProvider) {
    return dict({{"kind", "other"}});
  }
  ValueMap map = dict({{"kind", "tunnelProvider"},
                       {"includeAllNetworks", protocol.includeAllNetworks}});
  if (protocol.providerBundleIdentifier) {
    map[Value("providerBundleIdentifier")] = *protocol.providerBundleIdentifier;
  }
  if (protocol.serverAddress) {
    map[Value("serverAddress")] = *protocol.serverAddress;
  }
  if (protocol.providerConfiguration) {
    map[Value("providerConfiguration")] = *protocol.providerConfiguration;
  }
  return map;
}

TunnelProtocol protocolFromValue(const Arguments& fields) {
  TunnelProtocol protocol;
  protocol.isTunnelProvider =
      fields.string("kind").value_or("tunnelProvider") == "tunnelProvider";
  protocol.providerBundleIdentifier = fields.string("providerBundleIdentifier");
  protocol.serverAddress = fields.string("serverAddress");
  protocol.includeAllNetworks =
      fields.boolean("includeAllNetworks").value_or(false);
  if (auto config = fields.raw("providerConfiguration");
      config && isStringKeyedMap(*config)) {
    protocol.providerConfiguration = *config->getIf<ValueMap>();
  }
  return protocol;
}

Value rulesToValue(const std::vector<OnDemandRule>& rules) {
  ValueList list;
  for (const OnDemandRule& rule : rules) {
    ValueMap map =
        dict({{"action", rule.action == OnDemandRule::Action::kConnect
                             ? "connect"
                             : "disconnect"}});
    if (!rule.ssidMatch.empty()) {
      ValueList ssids(rule.ssidMatch.begin(), rule.ssidMatch.end());
      map[Value("ssidMatch")] = std::move(ssids);
    }
    list.emplace_back(std::move(map));
  }
  return list;
}

std::vector<OnDemandRule> rulesFromValue(const Value* value) {
  std::vector<OnDemandRule> rules;
  const auto* list = value ? value->getIf<ValueList>() : nullptr;
  for (const Value& element : list ? *list : ValueList()) {
    Arguments rule(element);
    OnDemandRule parsed;
    parsed.action = rule.string("action").value_or("connect") == "disconnect"
                        ? OnDemandRule::Action::kDisconnect
                        : OnDemandRule::Action::kConnect;
    if (auto ssids = rule.raw("ssidMatch")) {
      if (const auto* names = ssids->getIf<ValueList>()) {
        for (const Value& name : *names) {
          if (const auto* s = name.getIf<std::string>()) {
            parsed.ssidMatch.push_back(*s);
          }
        }
      }
    }
    rules.push_back(parsed);
  }
  return rules;
}
}  // namespace

Value profileFieldsToValue(const ProfileFields& fields) {
  ValueMap map = dict({{"localizedDescription", fields.description},
                       {"isEnabled", fields.enabled},
                       {"isOnDemandEnabled", fields.onDemandEnabled},
                       {"onDemandRules", rulesToValue(fields.rules)}});
  map[Value("protocolConfiguration")] =
      fields.protocol ? protocolToValue(*fields.protocol) : Value();
  return map;
}

ProfileFields profileFieldsFromValue(const Value& value) {
  Arguments fields(value);
  ProfileFields result;
  if (auto protocol = fields.raw("protocolConfiguration")) {
    result.protocol = protocolFromValue(Arguments(*protocol));
  }
  result.description = fields.string("localizedDescription").value_or("");
  result.enabled = fields.boolean("isEnabled").value_or(false);
  result.onDemandEnabled = fields.boolean("isOnDemandEnabled").value_or(false);
  result.rules = rulesFromValue(find(fields.map(), "onDemandRules"));
  return result;
}

}  // namespace movaro::sim
