// The host's mapping between JSON and codec values.
#ifndef MOVARO_HOST_JSON_VALUES_H_
#define MOVARO_HOST_JSON_VALUES_H_

#include <nlohmann/json.hpp>

#include "bridge/value.h"

namespace movaro::host {

using Json = nlohmann::json;

// null, booleans, strings, arrays and objects map to themselves; an integer
// literal is a 32-bit integer when it fits, else 64-bit; a number with a
// fraction or an exponent (or an unsigned one beyond 64 bits) is a double.
Value jsonToValue(const Json& json);
// Typed lists become arrays; a map with non-string keys writes each key as
// its JSON text. Doubles keep a fraction or an exponent.
Json valueToJson(const Value& value);
// One line of compact JSON; invalid UTF-8 in strings is replaced.
std::string dumpLine(const Json& json);

}  // namespace movaro::host

#endif  // MOVARO_HOST_JSON_VALUES_H_
