// Runs the mesh provider's reply step on arbitrary bytes and checks what
// must hold for every input: no crash or sanitizer report, only the seven
// reply keys in a result, a result that the channel's codec carries, the
// same answer from a fresh decoder and from a reused one, and request
// encoding that decodes back to its command.
#include <simdjson.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "bridge/standard_codec.h"
#include "fuzz_check.h"
#include "mesh/provider_reply.h"

namespace {

using movaro::ValueMap;
using movaro::platform::ProviderReplyDecoder;

bool isReplyKey(const movaro::Value& key) {
  const std::string* text = key.getIf<std::string>();
  if (text == nullptr) {
    return false;
  }
  for (std::string_view allowed :
       {"state", "selfName", "selfAddresses", "peers", "sessionExpiresAt",
        "errorCode", "identityCleared"}) {
    if (*text == allowed) {
      return true;
    }
  }
  return false;
}

void checkReply(std::string_view input) {
  ProviderReplyDecoder reused;
  const std::optional<ValueMap> first = reused.decode(input);
  if (input.size() > movaro::platform::kReplyLimitBytes) {
    check(!first.has_value());
  }
  if (first) {
    for (const auto& [key, value] : *first) {
      check(isReplyKey(key));
    }
    check(movaro::StandardMessageCodec::decode(
              movaro::StandardMessageCodec::encode(movaro::Value(*first)))
              .has_value());
  }
  // A shorter reply through the same decoder, whose buffer still holds the
  // longer one, must decode as it does through a fresh decoder.
  const std::string_view prefix = input.substr(0, input.size() / 2);
  const std::optional<ValueMap> reusedPrefix = reused.decode(prefix);
  ProviderReplyDecoder fresh;
  check(reusedPrefix == fresh.decode(prefix));
  check(first == fresh.decode(input));
}

void checkCommand(std::string_view input) {
  if (!simdjson::validate_utf8(input.data(), input.size())) {
    return;  // Commands are valid UTF-8 by contract.
  }
  const simdjson::padded_string request(movaro::platform::encodeCommand(input));
  simdjson::dom::parser parser;
  simdjson::dom::element root;
  check(parser.parse(request).get(root) == simdjson::SUCCESS);
  simdjson::dom::object object;
  check(root.get(object) == simdjson::SUCCESS && object.size() == 1);
  std::string_view command;
  check(object["command"].get(command) == simdjson::SUCCESS);
  check(command == input);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  checkReply(input);
  if (size <= 4096) {
    checkCommand(input);
  }
  return 0;
}
