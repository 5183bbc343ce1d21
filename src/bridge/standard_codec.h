// The UI host's standard message and method codecs, byte for byte:
// little-endian, one type byte per value, sizes in 1, 3 or 5 bytes, numeric
// lists and doubles aligned to their element size from the message start.
#ifndef MOVARO_BRIDGE_STANDARD_CODEC_H_
#define MOVARO_BRIDGE_STANDARD_CODEC_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <variant>
#include <vector>

#include "bridge/method_call.h"
#include "bridge/method_result.h"
#include "bridge/value.h"

namespace movaro {

class StandardMessageCodec {
 public:
  // Lists and maps nested deeper than this (the outermost is the first
  // level) are refused by the decoder. Whatever else produces values for a
  // channel keeps to it too, so that they can travel.
  static constexpr int kMaxDepth = 256;

  static Bytes encode(const Value& value);
  // Null for truncated input, sizes that run past the end, unknown type
  // bytes, trailing bytes or nesting deeper than kMaxDepth.
  static std::optional<Value> decode(const uint8_t* data, size_t size);
  static std::optional<Value> decode(const Bytes& bytes) {
    return decode(bytes.data(), bytes.size());
  }
};

// A decoded reply envelope. An empty reply means not implemented.
struct SuccessEnvelope {
  Value value;
};
struct ErrorEnvelope {
  std::string code;
  std::optional<std::string> message;
  Value details;
};
struct NotImplementedEnvelope {};
using Envelope =
    std::variant<SuccessEnvelope, ErrorEnvelope, NotImplementedEnvelope>;

class StandardMethodCodec {
 public:
  static Bytes encodeMethodCall(const MethodCall& call);
  static std::optional<MethodCall> decodeMethodCall(const uint8_t* data,
                                                    size_t size);
  static Bytes encodeSuccessEnvelope(const Value& value);
  static Bytes encodeErrorEnvelope(const PluginError& error);
  static std::optional<Envelope> decodeEnvelope(const uint8_t* data,
                                                size_t size);
};

}  // namespace movaro

#endif  // MOVARO_BRIDGE_STANDARD_CODEC_H_
