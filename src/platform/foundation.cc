#include "platform/foundation.h"

namespace movaro::platform {

bool atLeast(const OsVersion& version, int major, int minor) {
  return version.major != major ? version.major > major
                                : version.minor >= minor;
}

}  // namespace movaro::platform
