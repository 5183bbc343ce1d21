// The shapes of the mesh account values, checked as anchored patterns.
// A trailing line terminator is never accepted.
#ifndef MOVARO_MESH_ACCOUNT_RULES_H_
#define MOVARO_MESH_ACCOUNT_RULES_H_

#include <string_view>

namespace movaro {

// ^[a-f0-9]{64}$
bool isAccountNamespace(std::string_view text);
// ^[A-Za-z0-9][A-Za-z0-9-]{0,62}$
bool isHostname(std::string_view text);

}  // namespace movaro

#endif  // MOVARO_MESH_ACCOUNT_RULES_H_
