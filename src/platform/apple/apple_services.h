// Every platform service backed by the macOS frameworks, owned in one place
// and handed to the plugins as one Services aggregate. Plain C++.
#ifndef MOVARO_PLATFORM_APPLE_APPLE_SERVICES_H_
#define MOVARO_PLATFORM_APPLE_APPLE_SERVICES_H_

#include <memory>

#include "platform/services.h"

namespace movaro::platform::apple {

class AppleServices {
 public:
  AppleServices();
  AppleServices(const AppleServices&) = delete;
  AppleServices& operator=(const AppleServices&) = delete;
  ~AppleServices();

  // Valid for as long as this object lives.
  const Services& services() const { return services_; }

 private:
  struct Adapters;

  // Declared before services_, which refers into it.
  std::unique_ptr<Adapters> adapters_;
  Services services_;
};

}  // namespace movaro::platform::apple

#endif  // MOVARO_PLATFORM_APPLE_APPLE_SERVICES_H_
