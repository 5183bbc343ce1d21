#include "platform/wireguard/wg_quick_error.h"

#include <unicode/uchar.h>

#include <cstdio>

#include "platform/text/unicode_text.h"

namespace movaro::platform {
namespace {

constexpr size_t kMaxQuotedScalars = 80;

bool isShownEscaped(char32_t scalar) {
  if (scalar == '\t' || scalar == ' ') {
    return false;
  }
  switch (u_charType(static_cast<UChar32>(scalar))) {
    case U_CONTROL_CHAR:
    case U_FORMAT_CHAR:
    case U_SPACE_SEPARATOR:
    case U_LINE_SEPARATOR:
    case U_PARAGRAPH_SEPARATOR:
    case U_PRIVATE_USE_CHAR:
    case U_SURROGATE:
    case U_UNASSIGNED:
      return true;
    default:
      return false;
  }
}

std::string quote(std::string_view text) {
  return "'" + quotedForMessage(text) + "'";
}

std::string duplicateKeySentence(std::string_view key, WgQuickSection section) {
  switch (section) {
    case WgQuickSection::kInterface:
      return "The [Interface] section has more than one " + quote(key) +
             " entry.";
    case WgQuickSection::kPeer:
      return "The [Peer] section has more than one " + quote(key) + " entry.";
    case WgQuickSection::kNone:
      break;
  }
  return "The key " + quote(key) +
         " appears more than once before the first section.";
}

std::string sentence(WgQuickFailure failure,
                     std::string_view subject,
                     WgQuickSection section) {
  switch (failure) {
    case WgQuickFailure::kInvalidLine:
      return "Invalid line: " + quote(subject) + ".";
    case WgQuickFailure::kNoInterface:
      return "The configuration has no [Interface] section.";
    case WgQuickFailure::kMultipleInterfaces:
      return "The configuration has more than one [Interface] section.";
    case WgQuickFailure::kInterfaceHasNoPrivateKey:
      return "The [Interface] section has no PrivateKey.";
    case WgQuickFailure::kInterfaceHasInvalidPrivateKey:
      return "The [Interface] section has an invalid PrivateKey (expected 44 "
             "characters of base64).";
    case WgQuickFailure::kInterfaceHasInvalidListenPort:
      return "The [Interface] section has an invalid ListenPort: " +
             quote(subject) + ".";
    case WgQuickFailure::kInterfaceHasInvalidAddress:
      return "The [Interface] section has an invalid Address: " +
             quote(subject) + ".";
    case WgQuickFailure::kInterfaceHasInvalidDns:
      return "The [Interface] section has an invalid DNS entry: " +
             quote(subject) + ".";
    case WgQuickFailure::kInterfaceHasInvalidMtu:
      return "The [Interface] section has an invalid MTU: " + quote(subject) +
             ".";
    case WgQuickFailure::kInterfaceHasUnrecognizedKey:
      return "The [Interface] section has an unrecognized key: " +
             quote(subject) + ".";
    case WgQuickFailure::kPeerHasNoPublicKey:
      return "A [Peer] section has no PublicKey.";
    case WgQuickFailure::kPeerHasInvalidPublicKey:
      return "The [Peer] section has an invalid PublicKey: " + quote(subject) +
             ".";
    case WgQuickFailure::kPeerHasInvalidPreSharedKey:
      return "The [Peer] section has an invalid PresharedKey (expected 44 "
             "characters of base64).";
    case WgQuickFailure::kPeerHasInvalidAllowedIp:
      return "The [Peer] section has an invalid AllowedIPs entry: " +
             quote(subject) + ".";
    case WgQuickFailure::kPeerHasInvalidEndpoint:
      return "The [Peer] section has an invalid Endpoint: " + quote(subject) +
             ".";
    case WgQuickFailure::kPeerHasInvalidPersistentKeepAlive:
      return "The [Peer] section has an invalid PersistentKeepalive: " +
             quote(subject) + ".";
    case WgQuickFailure::kPeerHasUnrecognizedKey:
      return "The [Peer] section has an unrecognized key: " + quote(subject) +
             ".";
    case WgQuickFailure::kPeerHasInvalidTransferBytes:
      return "The [Peer] section has an invalid transfer byte count: " +
             quote(subject) + ".";
    case WgQuickFailure::kPeerHasInvalidLastHandshakeTime:
      return "The [Peer] section has an invalid last handshake time: " +
             quote(subject) + ".";
    case WgQuickFailure::kMultiplePeersWithSamePublicKey:
      return "Two [Peer] sections have the same PublicKey: " + quote(subject) +
             ".";
    case WgQuickFailure::kMultipleEntriesForKey:
      return duplicateKeySentence(subject, section);
  }
  return "The configuration is invalid.";
}

}  // namespace

std::string quotedForMessage(std::string_view text) {
  std::string out;
  size_t count = 0;
  for (size_t i = 0; i < text.size(); ++count) {
    if (count == kMaxQuotedScalars) {
      out += "\u2026";
      break;
    }
    const DecodedScalar decoded = decodeUtf8(text, i);
    i += decoded.length;
    if (!isShownEscaped(decoded.scalar)) {
      appendUtf8(out, decoded.scalar);
      continue;
    }
    char escaped[16];
    std::snprintf(escaped, sizeof escaped, "\\u{%X}",
                  static_cast<unsigned>(decoded.scalar));
    out += escaped;
  }
  return out;
}

WgQuickError makeWgQuickError(WgQuickFailure failure,
                              std::string_view subject,
                              WgQuickSection section) {
  return WgQuickError{failure, sentence(failure, subject, section),
                      std::string(subject)};
}

}  // namespace movaro::platform
