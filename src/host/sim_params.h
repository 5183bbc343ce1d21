// Reading the parameters of a sim command. Every read checks the type and
// the range, and refuses the line with a sentence for the hostError
// otherwise; no number is converted outside its type's range.
#ifndef MOVARO_HOST_SIM_PARAMS_H_
#define MOVARO_HOST_SIM_PARAMS_H_

#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <string>

#include "host/json_values.h"
#include "platform/dispatch.h"
#include "platform/platform_error.h"

namespace movaro::host {

// A sim command that cannot be carried out; its text becomes the hostError.
struct Refusal {
  std::string sentence;
};

// The parameter, or null when the line has none.
const Json* param(const Json& line, const char* key);
bool hasParam(const Json& line, const char* key);

double numberParam(const Json& line, const char* key);
std::string stringParam(const Json& line, const char* key);
// A whole number from `low` to `high`; a double counts when it is one.
int64_t integerParam(const Json& line,
                     const char* key,
                     int64_t low,
                     int64_t high);
inline int intParam(const Json& line, const char* key) {
  return static_cast<int>(integerParam(line, key,
                                       std::numeric_limits<int>::min(),
                                       std::numeric_limits<int>::max()));
}
// Seconds from 0 to 1e9; null gives none.
std::optional<platform::Duration> optionalSeconds(const Json& line,
                                                  const char* key);
// A string; null gives none.
std::optional<std::string> optionalString(const Json& line, const char* key);
// ".network-extension" or ".mesh-extension".
std::string extensionSuffix(const Json& line);
// {"domain", "code", "message", "userInfo"} as an OS error.
platform::PlatformError platformError(const Json& object);

// One of the names of `table`, as its value.
template <typename T>
T namedParam(const Json& line,
             const char* key,
             const std::map<std::string, T>& table) {
  std::string name = stringParam(line, key);
  auto it = table.find(name);
  if (it == table.end()) {
    std::string names;
    for (const auto& entry : table) {
      names += (names.empty() ? "" : ", ") + entry.first;
    }
    throw Refusal{std::string("\"") + key + "\" is one of " + names + "."};
  }
  return it->second;
}

}  // namespace movaro::host

#endif  // MOVARO_HOST_SIM_PARAMS_H_
