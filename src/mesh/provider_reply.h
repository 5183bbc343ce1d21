// The JSON messages exchanged with the mesh provider: the request bytes for
// a command, and the reply step that turns the provider's answer into the
// filtered dictionary that the mesh plugin works with.
//
// Decoding follows the platform's JSON parser with no reading options where
// it matters to the plugin, with these choices:
//
// - The text is UTF-8 (one leading byte-order mark is skipped); invalid
//   UTF-8, lone surrogate escapes and UTF-16 or UTF-32 text are refused.
// - RFC 8259 strictly: no trailing commas, comments, NaN or fragments.
// - At most StandardMessageCodec::kMaxDepth nested arrays and objects
//   (counting the top-level object), so that every reply decoded can be
//   passed on through a channel; deeper text is refused. The parser counts
//   the values inside the deepest level as a level of their own, so only
//   empty arrays and objects reach the last level.
// - A key that occurs twice in one object keeps its first value, as the
//   platform's parser on macOS has been seen to do; later occurrences are
//   ignored.
// - Keys are compared after their escapes are decoded ("st\u0061te" is
//   "state").
// - Numbers: integers that fit in 32 bits become int32_t, other integers
//   within 64 signed bits become int64_t, larger integers (from 2^63 on,
//   or below -2^63) become the nearest double, as the platform's parser
//   reads them; numbers with a fraction or exponent become double. Numbers
//   beyond double's range make the whole reply undecodable (null).
// - Strings become std::string (UTF-8), arrays ValueList, objects ValueMap
//   with string keys, true/false bool, and null a null Value.
#ifndef MOVARO_MESH_PROVIDER_REPLY_H_
#define MOVARO_MESH_PROVIDER_REPLY_H_

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "bridge/value.h"

namespace movaro::platform {

// Replies longer than this count as no reply; exactly this many bytes are
// still decoded.
inline constexpr size_t kReplyLimitBytes = 256 * 1024;

// The request bytes for a command: the compact JSON object whose one member
// "command" holds the command, written as the platform's JSON serialiser
// writes it with no options (quotation mark, reverse solidus, solidus and
// control characters escaped; other characters as UTF-8). The command is
// expected to be valid UTF-8; its bytes are not re-checked.
std::string encodeCommand(std::string_view command);

// The reply step. Keeps its parser and buffers between replies, so that
// repeated replies allocate nothing but the decoded values. Not thread-safe:
// one decoder per thread (the mesh plugin decodes on the main queue only).
// Conversion recurses once per nesting level, at most
// StandardMessageCodec::kMaxDepth levels of small frames.
class ProviderReplyDecoder {
 public:
  ProviderReplyDecoder();
  ~ProviderReplyDecoder();
  ProviderReplyDecoder(ProviderReplyDecoder&&) noexcept;
  ProviderReplyDecoder& operator=(ProviderReplyDecoder&&) noexcept;
  ProviderReplyDecoder(const ProviderReplyDecoder&) = delete;
  ProviderReplyDecoder& operator=(const ProviderReplyDecoder&) = delete;

  // The members of the reply's top-level object whose keys are among the
  // seven that the plugin reads ("state", "selfName", "selfAddresses",
  // "peers", "sessionExpiresAt", "errorCode", "identityCleared"), with their
  // values converted whole. Null when there are no bytes, more than
  // kReplyLimitBytes, text that does not decode, or a top level that is not
  // an object. An object with none of those keys gives an empty map.
  std::optional<ValueMap> decode(std::optional<std::string_view> reply);

 private:
  struct State;
  // Created by the first decode: the parser's buffers are large.
  std::unique_ptr<State> state_;
};

}  // namespace movaro::platform

#endif  // MOVARO_MESH_PROVIDER_REPLY_H_
