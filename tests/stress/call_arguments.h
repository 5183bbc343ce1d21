// Random arguments for every method: valid values, values on either side
// of each rule's boundary, and values of the wrong type.
#ifndef MOVARO_TESTS_STRESS_CALL_ARGUMENTS_H_
#define MOVARO_TESTS_STRESS_CALL_ARGUMENTS_H_

#include <string>
#include <vector>

#include "stress/random_steps.h"

namespace movaro::stress {

inline Value junkArguments(Rng& rng) {
  switch (rng.below(6)) {
    case 0:
      return Value(ValueList{Value(1), Value("x")});
    case 1:
      return Value("text");
    case 2:
      return Value(42);
    case 3:
      return Value(dict({{"unexpected", true}}));
    case 4:
      return Value(ValueMap{{Value(1), Value("an integer key")}});
    default:
      return Value();
  }
}

inline Value configText(Rng& rng) {
  switch (rng.weighted({10, 2, 3, 2, 2, 1, 2})) {
    case 0:
      return testing::kValidConfig;
    case 1:
      return std::string("  \n") + testing::kValidConfig + "\n  ";
    case 2:
      return "[Interface]\n"
             "PrivateKey = yAnz5TF+lXXJte14tji3zlMNq+hd2rYUIgJBgB3fBmk=\n"
             "Address = 10.0.0.2/32\n";
    case 3:
      return "[Interface]\nPrivateKey = not-a-key\n[Peer]\n"
             "Endpoint = vpn.example.com:51820\n";
    case 4:
      return " \n\t ";
    case 5:
      return "";
    default:
      return 5;
  }
}

inline Value connectArguments(Rng& rng) {
  if (rng.chance(0.15)) {
    return junkArguments(rng);
  }
  ValueMap args;
  if (rng.chance(0.7)) {
    args[Value("config")] = configText(rng);
  }
  if (rng.chance(0.4)) {
    static const std::vector<Value> kUrls = {
        Value("https://check.example.com/ok"), Value(""), Value(7)};
    args[Value("verificationUrl")] = rng.pick(kUrls);
  }
  if (rng.chance(0.3)) {
    static const std::vector<Value> kFlags = {Value(true), Value(false),
                                              Value("yes")};
    args[Value("splitTunnelEnabled")] = rng.pick(kFlags);
  }
  if (rng.chance(0.4)) {
    static const std::vector<Value> kFlags = {Value(true), Value(false),
                                              Value(1)};
    args[Value("enableOnDemand")] = rng.pick(kFlags);
  }
  if (rng.chance(0.3)) {
    static const std::vector<Value> kEnds = {
        Value(1.7e12), Value(int64_t{1924992000000}), Value("soon")};
    args[Value("sessionEndsAtEpochMilliseconds")] = rng.pick(kEnds);
  }
  return args;
}

inline Value trustedList(Rng& rng) {
  switch (rng.below(6)) {
    case 0:
      return ValueList{};
    case 1:
      return ValueList{Value("Home"), Value("Office")};
    case 2:
      return ValueList{Value("  Cafe  "), Value("Home"),
                       Value("Home"),     Value(""),
                       Value("Office"),   Value(std::string(33, 'x')),
                       Value(7),          Value("home")};
    case 3:
      return Value("Home");
    case 4: {
      std::string accented;
      for (int i = 0; i < 32; ++i) {
        accented += "\xC3\xA9";  // é
      }
      return ValueList{Value(accented)};
    }
    default:
      return Value();
  }
}

inline Value reminderItem(Rng& rng) {
  // The virtual wall clock starts at 2030-01-01T00:00:00Z.
  constexpr int64_t kStart = 1893456000000;
  ValueMap item = dict({{"id", rng.between(1, 3)},
                        {"title", "Renew"},
                        {"body", "Your plan ends soon."},
                        {"scheduled_at_millis", kStart + 86400000}});
  switch (rng.below(8)) {
    case 0:
      item[Value("scheduled_at_millis")] = kStart + 500;
      break;
    case 1:
      item[Value("scheduled_at_millis")] = int64_t{1700000000000};
      break;
    case 2:
      item[Value("id")] = "3";
      break;
    case 3:
      item[Value("id")] = 9;
      break;
    case 4:
      item[Value("id")] = 2.0;
      item[Value("scheduled_at_millis")] = 1.9e12;
      break;
    case 5:
      item.erase(Value("title"));
      break;
    default:
      break;
  }
  return item;
}

inline Value reminderArguments(Rng& rng) {
  switch (rng.weighted({2, 1, 1, 8})) {
    case 0:
      return junkArguments(rng);
    case 1:
      return dict({{"reminders", "soon"}});
    case 2:
      return dict({{"reminders", ValueList{reminderItem(rng), Value("x")}}});
    default: {
      ValueList items;
      int count = rng.between(0, 4);
      for (int i = 0; i < count; ++i) {
        items.push_back(reminderItem(rng));
      }
      return dict({{"reminders", items}});
    }
  }
}

// Arguments for a method of the main channel: valid, boundary or of the
// wrong type.
inline Value mainArguments(Rng& rng, const std::string& method) {
  Value args;
  if (method == "pushConfig") {
    args = rng.chance(0.85) ? Value(dict({{"config", configText(rng)}}))
                            : junkArguments(rng);
  } else if (method == "connect") {
    args = connectArguments(rng);
  } else if (method == "configureDesktopStartup") {
    static const std::vector<Value> kFlags = {Value(true), Value(false),
                                              Value("yes")};
    args = rng.chance(0.85) ? Value(dict({{"enabled", rng.pick(kFlags)}}))
                            : junkArguments(rng);
  } else if (method == "configureAutoConnect") {
    ValueMap map;
    if (rng.chance(0.8)) {
      static const std::vector<Value> kFlags = {Value(true), Value(false),
                                                Value("true")};
      map[Value("enabled")] = rng.pick(kFlags);
    }
    Value list = trustedList(rng);
    if (!list.isNull()) {
      map[Value("trustedWifiSsids")] = list;
    }
    args = rng.chance(0.9) ? Value(map) : junkArguments(rng);
  } else if (method == "syncSubscriptionReminders") {
    args = reminderArguments(rng);
  } else if (rng.chance(0.3)) {
    args = junkArguments(rng);
  }
  return args;
}

// A login's arguments and whether they pass every rule.
struct LoginArguments {
  Value arguments;
  bool valid = false;
};

inline LoginArguments loginArguments(Rng& rng) {
  ValueMap args = baseLogin();
  bool valid = true;
  auto set = [&args](const char* key, Value value) {
    args[Value(key)] = std::move(value);
  };
  switch (rng.weighted(
      {30, 4, 3, 2, 2, 1, 2, 2, 2, 2, 2, 2, 1, 2, 2, 2, 2, 2, 2})) {
    case 0:
      break;
    case 1:
      set("resume", true);
      args.erase(Value("authKey"));
      break;
    case 2:
      set("sessionExpiresAt", "2031-01-01T00:00:00.250Z");
      break;
    case 3:
      set("sessionExpiresAt", "2031-01-01T02:00:00+02:00");
      break;
    case 4:
      set("hostname", std::string(63, 'h'));
      break;
    case 5:
      set("authKey", std::string(4096, 'k'));
      break;
    case 6:
      set("accountNamespace", std::string(64, 'A'));
      valid = false;
      break;
    case 7:
      set("accountNamespace", std::string(63, 'a'));
      valid = false;
      break;
    case 8:
      set("controlUrl", "http://control.example.com");
      valid = false;
      break;
    case 9:
      set("controlUrl", "https://user:pw@control.example.com/?q=1");
      valid = false;
      break;
    case 10:
      args.erase(Value("authKey"));
      valid = false;
      break;
    case 11:
      set("hostname", "-laptop");
      valid = false;
      break;
    case 12:
      set("authKey", std::string(4097, 'k'));
      valid = false;
      break;
    case 13:
      set("hostname", std::string(64, 'h'));
      valid = false;
      break;
    case 14:
      set("sessionExpiresAt", "2029-12-31T23:59:59Z");
      valid = false;
      break;
    case 15:
      set("sessionExpiresAt", "2031-01-01T00:00:00");
      valid = false;
      break;
    case 16:
      set("sessionExpiresAt", 1924992000);
      valid = false;
      break;
    case 17:
      set("accountNamespace", 12);
      valid = false;
      break;
    default:
      return {junkArguments(rng), false};
  }
  return {Value(args), valid};
}

}  // namespace movaro::stress

#endif  // MOVARO_TESTS_STRESS_CALL_ARGUMENTS_H_
