#include "host/sim_params.h"

#include <cmath>

namespace movaro::host {

const Json* param(const Json& line, const char* key) {
  if (!line.is_object()) {
    return nullptr;
  }
  auto it = line.find(key);
  return it == line.end() ? nullptr : &*it;
}

bool hasParam(const Json& line, const char* key) {
  return param(line, key) != nullptr;
}

double numberParam(const Json& line, const char* key) {
  const Json* value = param(line, key);
  if (value == nullptr || !value->is_number()) {
    throw Refusal{std::string("\"") + key + "\" must be a number."};
  }
  return value->get<double>();
}

std::string stringParam(const Json& line, const char* key) {
  const Json* value = param(line, key);
  if (value == nullptr || !value->is_string()) {
    throw Refusal{std::string("\"") + key + "\" must be a string."};
  }
  return value->get<std::string>();
}

namespace {

// The value as a 64-bit integer, when it is a whole number within range.
std::optional<int64_t> wholeNumber(const Json& value) {
  if (value.is_number_unsigned()) {
    uint64_t whole = value.get<uint64_t>();
    if (whole > static_cast<uint64_t>(std::numeric_limits<int64_t>::max())) {
      return std::nullopt;
    }
    return static_cast<int64_t>(whole);
  }
  if (value.is_number_integer()) {
    return value.get<int64_t>();
  }
  if (!value.is_number_float()) {
    return std::nullopt;
  }
  // 2^63 is the first double beyond int64_t.
  double real = value.get<double>();
  if (std::trunc(real) != real || real < -0x1p63 || real >= 0x1p63) {
    return std::nullopt;
  }
  return static_cast<int64_t>(real);
}

}  // namespace

int64_t integerParam(const Json& line,
                     const char* key,
                     int64_t low,
                     int64_t high) {
  const Json* value = param(line, key);
  std::optional<int64_t> number = value ? wholeNumber(*value) : std::nullopt;
  if (!number || *number < low || *number > high) {
    throw Refusal{std::string("\"") + key + "\" must be a whole number from " +
                  std::to_string(low) + " to " + std::to_string(high) + "."};
  }
  return *number;
}

std::optional<platform::Duration> optionalSeconds(const Json& line,
                                                  const char* key) {
  const Json* value = param(line, key);
  if (value == nullptr || value->is_null()) {
    return std::nullopt;
  }
  double seconds = numberParam(line, key);
  if (!std::isfinite(seconds) || seconds < 0 || seconds > 1e9) {
    throw Refusal{std::string("\"") + key + "\" must be from 0 to 1e9."};
  }
  return platform::seconds(seconds);
}

std::optional<std::string> optionalString(const Json& line, const char* key) {
  const Json* value = param(line, key);
  return value == nullptr || value->is_null()
             ? std::nullopt
             : std::optional<std::string>(stringParam(line, key));
}

std::string extensionSuffix(const Json& line) {
  std::string suffix = stringParam(line, "suffix");
  if (suffix != ".network-extension" && suffix != ".mesh-extension") {
    throw Refusal{
        "\"suffix\" is \".network-extension\" or \".mesh-extension\"."};
  }
  return suffix;
}

platform::PlatformError platformError(const Json& object) {
  platform::PlatformError error;
  error.domain = stringParam(object, "domain");
  error.code =
      hasParam(object, "code")
          ? integerParam(object, "code", std::numeric_limits<int64_t>::min(),
                         std::numeric_limits<int64_t>::max())
          : 0;
  error.message = hasParam(object, "message")
                      ? stringParam(object, "message")
                      : std::string("The tunnel stopped.");
  const Json* userInfo = param(object, "userInfo");
  if (userInfo != nullptr && userInfo->is_object()) {
    error.userInfo = *jsonToValue(*userInfo).getIf<ValueMap>();
  }
  return error;
}

}  // namespace movaro::host
