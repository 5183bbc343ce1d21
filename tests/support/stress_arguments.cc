#include <map>

#include "support/stress_scenario.h"
#include "support/tunnel_fixture.h"

namespace movaro::stress {
namespace {

// Sets the keys of `changes` in `map`, removing those whose value is null.
void overlay(ValueMap& map, const ValueMap& changes) {
  for (const auto& [key, value] : changes) {
    if (value.isNull()) {
      map.erase(key);
    } else {
      map[key] = value;
    }
  }
}

// The rules of a login met at their boundaries, then broken: the keys
// changed in the base login (null: removed).
struct LoginCase {
  bool valid;
  ValueMap changes;
};

const std::vector<LoginCase>& loginCases() {
  static const std::vector<LoginCase> kCases = {
      {true, {{"resume", true}, {"authKey", Value()}}},
      {true, {{"sessionExpiresAt", "2031-01-01T00:00:00.250Z"}}},
      {true, {{"sessionExpiresAt", "2031-01-01T02:00:00+02:00"}}},
      {true, {{"hostname", std::string(63, 'h')}}},
      {true, {{"authKey", std::string(4096, 'k')}}},
      {false, {{"accountNamespace", std::string(64, 'A')}}},
      {false, {{"accountNamespace", std::string(63, 'a')}}},
      {false, {{"controlUrl", "http://control.example.com"}}},
      {false, {{"controlUrl", "https://user:pw@control.example.com/?q=1"}}},
      {false, {{"authKey", Value()}}},
      {false, {{"hostname", "-laptop"}}},
      {false, {{"authKey", std::string(4097, 'k')}}},
      {false, {{"hostname", std::string(64, 'h')}}},
      {false, {{"sessionExpiresAt", "2029-12-31T23:59:59Z"}}},
      {false, {{"sessionExpiresAt", "2031-01-01T00:00:00"}}},
      {false, {{"sessionExpiresAt", 1924992000}}},
      {false, {{"accountNamespace", 12}}},
      {false, {}}};  // then arguments of the wrong type instead
  return kCases;
}

Value configText(Rng& rng) {
  static const std::vector<Value> kTexts = {
      testing::kValidConfig,
      std::string("  \n") + testing::kValidConfig + "\n  ",
      "[Interface]\n"
      "PrivateKey = yAnz5TF+lXXJte14tji3zlMNq+hd2rYUIgJBgB3fBmk=\n"
      "Address = 10.0.0.2/32\n",
      "[Interface]\nPrivateKey = not-a-key\n[Peer]\n"
      "Endpoint = vpn.example.com:51820\n",
      " \n\t ",
      "",
      5};
  return kTexts[size_t(rng.weighted({10, 2, 3, 2, 2, 1, 2}))];
}

Value connectArguments(Rng& rng) {
  // Each optional key: how often it is there, and its values.
  struct Key {
    const char* name;
    double chance;
    std::vector<Value> values;
  };
  static const std::vector<Key> kKeys = {
      {"verificationUrl", 0.4, {"https://check.example.com/ok", "", 7}},
      {"splitTunnelEnabled", 0.3, {true, false, "yes"}},
      {"enableOnDemand", 0.4, {true, false, 1}},
      {"sessionEndsAtEpochMilliseconds",
       0.3,
       {1.7e12, int64_t{1924992000000}, "soon"}}};
  ValueMap args;
  if (rng.chance(0.7)) {
    args[Value("config")] = configText(rng);
  }
  for (const Key& key : kKeys) {
    if (rng.chance(key.chance)) {
      args[Value(key.name)] = rng.pick(key.values);
    }
  }
  return args;
}

Value autoConnectArguments(Rng& rng) {
  static const std::vector<Value> kLists = {
      ValueList{},
      ValueList{"Home", "Office"},
      ValueList{"  Cafe  ", "Home", "Home", "", "Office", std::string(33, 'x'),
                7, "home"},
      "Home",
      ValueList{[] {
        std::string accented;  // 32 times "é", 64 bytes
        for (int i = 0; i < 32; ++i) {
          accented += "\xC3\xA9";
        }
        return accented;
      }()},
      Value()};
  ValueMap map;
  if (rng.chance(0.8)) {
    map[Value("enabled")] = rng.pick(std::vector<Value>{true, false, "true"});
  }
  if (Value list = rng.pick(kLists); !list.isNull()) {
    map[Value("trustedWifiSsids")] = list;
  }
  return map;
}

Value reminderItem(Rng& rng) {
  // The virtual wall clock starts at 2030-01-01T00:00:00Z.
  constexpr int64_t kStart = 1893456000000;
  static const std::vector<ValueMap> kChanges = {
      {{"scheduled_at_millis", kStart + 500}},
      {{"scheduled_at_millis", int64_t{1700000000000}}},
      {{"id", "3"}},
      {{"id", 9}},
      {{"id", 2.0}, {"scheduled_at_millis", 1.9e12}},
      {{"title", Value()}},
      {},
      {}};
  ValueMap item = dict({{"id", 1 + rng.below(3)},
                        {"title", "Renew"},
                        {"body", "Your plan ends soon."},
                        {"scheduled_at_millis", kStart + 86400000}});
  overlay(item, rng.pick(kChanges));
  return item;
}

Value reminderArguments(Rng& rng) {
  switch (rng.weighted({2, 1, 1, 8})) {
    case 0:
      return junkArguments(rng);
    case 1:
      return dict({{"reminders", "soon"}});
    case 2:
      return dict({{"reminders", ValueList{reminderItem(rng), "x"}}});
  }
  ValueList items;
  for (int i = rng.below(5); i > 0; --i) {
    items.push_back(reminderItem(rng));
  }
  return dict({{"reminders", items}});
}

}  // namespace

uint64_t Rng::next() {
  uint64_t z = (state_ += 0x9E3779B97F4A7C15ull);
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
  return z ^ (z >> 31);
}

bool Rng::chance(double probability) {
  return static_cast<double>(next() >> 11) * 0x1.0p-53 < probability;
}

int Rng::weighted(const std::vector<int>& weights) {
  int total = 0;
  for (int weight : weights) {
    total += weight;
  }
  int draw = below(total);
  int index = 0;
  while (draw >= weights[size_t(index)]) {
    draw -= weights[size_t(index++)];
  }
  return index;
}

Value junkArguments(Rng& rng) {
  static const std::vector<Value> kJunk = {ValueList{1, "x"},
                                           "text",
                                           42,
                                           dict({{"unexpected", true}}),
                                           ValueMap{{1, "an integer key"}},
                                           Value()};
  return rng.pick(kJunk);
}

Value mainArguments(Rng& rng, const std::string& method) {
  static const std::map<std::string, Value (*)(Rng&)> kArguments = {
      {"connect", connectArguments},
      {"configureAutoConnect", autoConnectArguments},
      {"syncSubscriptionReminders", reminderArguments},
      {"pushConfig",
       [](Rng& r) {
         return Value(dict({{"config", configText(r)}}));
       }},
      {"configureDesktopStartup", [](Rng& r) {
         return Value(dict(
             {{"enabled", r.pick(std::vector<Value>{true, false, "yes"})}}));
       }}};
  auto arguments = kArguments.find(method);
  const bool known = arguments != kArguments.end();
  return rng.chance(known ? 0.15 : 0.3) ? junkArguments(rng)
         : known                        ? arguments->second(rng)
                                        : Value();
}

LoginArguments loginArguments(Rng& rng) {
  if (rng.chance(0.45)) {
    return {baseLogin(), "{base login}  (valid)", true};
  }
  const LoginCase& login = rng.pick(loginCases());
  if (login.changes.empty()) {
    Value junk = junkArguments(rng);
    return {junk, jsonOf(junk), false};
  }
  ValueMap args = baseLogin();
  overlay(args, login.changes);
  std::string text = "{base login";
  for (const auto& [key, value] : login.changes) {
    text += ", " + jsonOf(key) + ": " +
            (value.isNull() ? "removed" : jsonOf(value));
  }
  return {args, text + (login.valid ? "}  (valid)" : "}  (invalid)"),
          login.valid};
}

}  // namespace movaro::stress
