// A method call as it arrives on a method channel.
#ifndef MOVARO_BRIDGE_METHOD_CALL_H_
#define MOVARO_BRIDGE_METHOD_CALL_H_

#include <string>

#include "bridge/value.h"

namespace movaro {

struct MethodCall {
  std::string method;
  Value arguments;
};

}  // namespace movaro

#endif  // MOVARO_BRIDGE_METHOD_CALL_H_
