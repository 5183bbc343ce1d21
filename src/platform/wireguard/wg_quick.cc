// The line pass of the wg-quick reader. Lines are the non-empty pieces
// between newline characters; each loses its comment (from the first '#')
// and its surrounding white space, then is either a section header or a
// "key = value" attribute. A section's values are checked when it closes:
// at the next header, or at the last line when that line is not a header
// (so a header on the very last line opens a section that is never read).
#include "platform/wireguard/wg_quick.h"

#include <map>
#include <set>
#include <utility>

#include "platform/text/unicode_text.h"
#include "platform/wireguard/wg_quick_error.h"

namespace movaro::platform {
namespace {

using Failure = WgQuickFailure;
using Section = WgQuickSection;

// A header, once lowercased and composed, is at most this long.
constexpr size_t kMaxHeaderBytes = 64;

struct Attribute {
  std::string keyWithCase;
  std::string value;
};

// The current section's attributes by key: lowercased and composed, as the
// library's dictionary compares keys.
using Attributes = std::map<std::string, Attribute, std::less<>>;

struct ParseState {
  Section section = Section::kNone;
  Attributes attributes;
  std::optional<WgQuickInterface> interfaceSection;
  std::vector<WgQuickPeer> peers;
  std::vector<std::string> peerKeyTexts;
};

bool isListKey(std::string_view key) {
  return key == "address" || key == "allowedips" || key == "dns";
}

bool isInterfaceKey(std::string_view key) {
  return key == "privatekey" || key == "listenport" || key == "address" ||
         key == "dns" || key == "mtu";
}

bool isPeerKey(std::string_view key) {
  return key == "publickey" || key == "presharedkey" || key == "allowedips" ||
         key == "endpoint" || key == "persistentkeepalive";
}

const std::string* find(const Attributes& attributes, std::string_view key) {
  const auto it = attributes.find(key);
  return it == attributes.end() ? nullptr : &it->second.value;
}

std::optional<Section> sectionHeader(std::string_view line) {
  if (line.size() > kMaxHeaderBytes) {
    return std::nullopt;
  }
  const std::string header = toNfc(lowercased(line));
  if (header == "[interface]") {
    return Section::kInterface;
  }
  if (header == "[peer]") {
    return Section::kPeer;
  }
  return std::nullopt;
}

// A comma list: zero-length pieces dropped, the others trimmed (and so
// possibly empty).
std::vector<std::string> listElements(std::string_view value) {
  std::vector<std::string> elements;
  size_t start = 0;
  while (start <= value.size()) {
    size_t comma = findCharacter(value, ',', start);
    if (comma == std::string_view::npos) {
      comma = value.size();
    }
    if (comma > start) {
      elements.push_back(
          trimWhitespaceAndNewlines(value.substr(start, comma - start)));
    }
    start = comma + 1;
  }
  return elements;
}

std::optional<WgQuickError> readRanges(const std::string* value,
                                       Failure failure,
                                       std::vector<IpAddressRange>& ranges) {
  if (value == nullptr) {
    return std::nullopt;
  }
  for (const std::string& element : listElements(*value)) {
    const auto range = parseIpAddressRange(element);
    if (!range) {
      return makeWgQuickError(failure, element);
    }
    ranges.push_back(*range);
  }
  return std::nullopt;
}

std::optional<WgQuickError> readNumber(const std::string* value,
                                       Failure failure,
                                       std::optional<uint16_t>& number) {
  if (value == nullptr) {
    return std::nullopt;
  }
  number = parseUInt16(*value);
  if (!number) {
    return makeWgQuickError(failure, *value);
  }
  return std::nullopt;
}

std::optional<WgQuickError> collateInterface(const Attributes& attributes,
                                             WgQuickInterface& out) {
  const std::string* privateKey = find(attributes, "privatekey");
  if (privateKey == nullptr) {
    return makeWgQuickError(Failure::kInterfaceHasNoPrivateKey);
  }
  const auto key = keyFromBase64(*privateKey);
  if (!key) {
    return makeWgQuickError(Failure::kInterfaceHasInvalidPrivateKey,
                            *privateKey);
  }
  out.privateKey = *key;
  if (auto error =
          readNumber(find(attributes, "listenport"),
                     Failure::kInterfaceHasInvalidListenPort, out.listenPort)) {
    return error;
  }
  if (auto error =
          readRanges(find(attributes, "address"),
                     Failure::kInterfaceHasInvalidAddress, out.addresses)) {
    return error;
  }
  // Every DNS entry is valid: an IP address is a server, anything else a
  // search domain.
  if (const std::string* dns = find(attributes, "dns")) {
    for (std::string& element : listElements(*dns)) {
      if (const auto server = parseIpAddress(element)) {
        out.dnsServers.push_back(*server);
      } else {
        out.dnsSearchDomains.push_back(std::move(element));
      }
    }
  }
  return readNumber(find(attributes, "mtu"), Failure::kInterfaceHasInvalidMtu,
                    out.mtu);
}

std::optional<WgQuickError> collatePeer(const Attributes& attributes,
                                        WgQuickPeer& out) {
  const std::string* publicKey = find(attributes, "publickey");
  if (publicKey == nullptr) {
    return makeWgQuickError(Failure::kPeerHasNoPublicKey);
  }
  const auto key = keyFromBase64(*publicKey);
  if (!key) {
    return makeWgQuickError(Failure::kPeerHasInvalidPublicKey, *publicKey);
  }
  out.publicKey = *key;
  if (const std::string* presharedKey = find(attributes, "presharedkey")) {
    out.presharedKey = keyFromBase64(*presharedKey);
    if (!out.presharedKey) {
      return makeWgQuickError(Failure::kPeerHasInvalidPreSharedKey,
                              *presharedKey);
    }
  }
  if (auto error =
          readRanges(find(attributes, "allowedips"),
                     Failure::kPeerHasInvalidAllowedIp, out.allowedIps)) {
    return error;
  }
  if (const std::string* endpoint = find(attributes, "endpoint")) {
    out.endpoint = parseEndpoint(*endpoint);
    if (!out.endpoint) {
      return makeWgQuickError(Failure::kPeerHasInvalidEndpoint, *endpoint);
    }
  }
  return readNumber(find(attributes, "persistentkeepalive"),
                    Failure::kPeerHasInvalidPersistentKeepAlive,
                    out.persistentKeepalive);
}

std::optional<WgQuickError> closeSection(ParseState& state) {
  if (state.section == Section::kInterface) {
    WgQuickInterface interfaceSection;
    if (auto error = collateInterface(state.attributes, interfaceSection)) {
      return error;
    }
    if (state.interfaceSection) {
      return makeWgQuickError(Failure::kMultipleInterfaces);
    }
    state.interfaceSection = std::move(interfaceSection);
  } else if (state.section == Section::kPeer) {
    WgQuickPeer peer;
    if (auto error = collatePeer(state.attributes, peer)) {
      return error;
    }
    state.peers.push_back(std::move(peer));
    // The text the C decoder read: the first 44 characters.
    state.peerKeyTexts.push_back(
        find(state.attributes, "publickey")->substr(0, 44));
  }
  return std::nullopt;
}

std::optional<WgQuickError> recordAttribute(ParseState& state,
                                            std::string_view line,
                                            size_t equals) {
  std::string keyWithCase = trimWhitespaceAndNewlines(line.substr(0, equals));
  std::string value = trimWhitespaceAndNewlines(line.substr(equals + 1));
  std::string key = toNfc(lowercased(keyWithCase));
  // The repeat check comes first and applies before any section too.
  if (const auto it = state.attributes.find(key);
      it != state.attributes.end()) {
    if (!isListKey(key)) {
      return makeWgQuickError(Failure::kMultipleEntriesForKey, keyWithCase,
                              state.section);
    }
    it->second.value += ',';
    it->second.value += value;
  } else {
    state.attributes.emplace(key, Attribute{keyWithCase, std::move(value)});
  }
  if (state.section == Section::kInterface && !isInterfaceKey(key)) {
    return makeWgQuickError(Failure::kInterfaceHasUnrecognizedKey, keyWithCase);
  }
  if (state.section == Section::kPeer && !isPeerKey(key)) {
    return makeWgQuickError(Failure::kPeerHasUnrecognizedKey, keyWithCase);
  }
  return std::nullopt;
}

std::optional<WgQuickError> readLine(ParseState& state,
                                     std::string_view rawLine,
                                     bool isLastLine) {
  std::string_view uncommented = rawLine;
  if (const size_t hash = findCharacter(rawLine, '#');
      hash != std::string_view::npos) {
    uncommented = rawLine.substr(0, hash);
  }
  const std::string line = trimWhitespaceAndNewlines(uncommented);
  std::optional<Section> header;
  if (!line.empty()) {
    if (const size_t equals = findCharacter(line, '=');
        equals != std::string_view::npos) {
      if (auto error = recordAttribute(state, line, equals)) {
        return error;
      }
    } else {
      header = sectionHeader(line);
      if (!header) {
        return makeWgQuickError(Failure::kInvalidLine, rawLine);
      }
    }
  }
  if (header || isLastLine) {
    if (auto error = closeSection(state)) {
      return error;
    }
  }
  if (header) {
    state.section = *header;
    state.attributes.clear();
  }
  return std::nullopt;
}

}  // namespace

std::variant<WgQuickConfig, WgQuickError> parseWgQuickConfig(
    std::string_view text,
    std::string_view name) {
  const std::vector<std::string> lines = splitLines(toValidUtf8(text));
  ParseState state;
  for (size_t i = 0; i < lines.size(); ++i) {
    if (auto error = readLine(state, lines[i], i + 1 == lines.size())) {
      return *std::move(error);
    }
  }
  std::set<Key> publicKeys;
  for (size_t i = 0; i < state.peers.size(); ++i) {
    if (!publicKeys.insert(state.peers[i].publicKey).second) {
      return makeWgQuickError(Failure::kMultiplePeersWithSamePublicKey,
                              state.peerKeyTexts[i]);
    }
  }
  if (!state.interfaceSection) {
    return makeWgQuickError(Failure::kNoInterface);
  }
  return WgQuickConfig{std::string(name), *std::move(state.interfaceSection),
                       std::move(state.peers)};
}

std::optional<WgQuickError> validateWgQuickConfig(std::string_view text,
                                                  std::string_view name) {
  auto result = parseWgQuickConfig(text, name);
  if (auto* error = std::get_if<WgQuickError>(&result)) {
    return std::move(*error);
  }
  return std::nullopt;
}

}  // namespace movaro::platform
