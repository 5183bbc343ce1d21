// An error reported by the operating system, carried as a value.
#ifndef MOVARO_PLATFORM_PLATFORM_ERROR_H_
#define MOVARO_PLATFORM_PLATFORM_ERROR_H_

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "bridge/value.h"

namespace movaro::platform {

struct PlatformError {
  std::string domain;
  int64_t code = 0;
  // The error's localised description.
  std::string message;
  // The user information entries, string-keyed.
  ValueMap userInfo;
};

using MaybeError = std::optional<PlatformError>;
using ErrorCompletion = std::function<void(const MaybeError& error)>;

}  // namespace movaro::platform

#endif  // MOVARO_PLATFORM_PLATFORM_ERROR_H_
