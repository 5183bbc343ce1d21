// The endpoint line of a WireGuard configuration text.
#ifndef MOVARO_TUNNEL_ENDPOINT_H_
#define MOVARO_TUNNEL_ENDPOINT_H_

#include <optional>
#include <string>
#include <string_view>

namespace movaro {

// The value of the first line, in any section, whose trimmed text begins
// with "endpoint" in any letter case and holds an equals sign: everything
// after that sign, trimmed (possibly empty). Absent when no line does.
std::optional<std::string> extractEndpoint(std::string_view configText);

}  // namespace movaro

#endif  // MOVARO_TUNNEL_ENDPOINT_H_
