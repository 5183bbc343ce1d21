// Building the errors of the wg-quick parser, with their sentences.
#ifndef MOVARO_PLATFORM_WIREGUARD_WG_QUICK_ERROR_H_
#define MOVARO_PLATFORM_WIREGUARD_WG_QUICK_ERROR_H_

#include <string>
#include <string_view>

#include "platform/wireguard/wg_quick.h"

namespace movaro::platform {

enum class WgQuickSection { kNone, kInterface, kPeer };

// `section` is where the failure was found; only the wording of
// kMultipleEntriesForKey depends on it.
WgQuickError makeWgQuickError(WgQuickFailure failure,
                              std::string_view subject = {},
                              WgQuickSection section = WgQuickSection::kNone);

// The text as it is quoted in a message: at most 80 characters, invisible
// and control characters (other than tab) written as \u{XXXX}.
std::string quotedForMessage(std::string_view text);

}  // namespace movaro::platform

#endif  // MOVARO_PLATFORM_WIREGUARD_WG_QUICK_ERROR_H_
