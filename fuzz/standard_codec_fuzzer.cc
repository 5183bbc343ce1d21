// Runs the codec's decoders on arbitrary bytes: truncated input and lying
// sizes must give no value, never a crash, and whatever decodes must encode
// back to the same value.
#include <cstddef>
#include <cstdint>

#include "bridge/standard_codec.h"
#include "fuzz_check.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using movaro::StandardMessageCodec;
  using movaro::StandardMethodCodec;
  // Round trips are compared as bytes: a NaN is never equal to itself.
  if (auto value = StandardMessageCodec::decode(data, size)) {
    movaro::Bytes again = StandardMessageCodec::encode(*value);
    auto decoded = StandardMessageCodec::decode(again);
    check(decoded && StandardMessageCodec::encode(*decoded) == again);
  }
  if (auto call = StandardMethodCodec::decodeMethodCall(data, size)) {
    movaro::Bytes again = StandardMethodCodec::encodeMethodCall(*call);
    auto decoded =
        StandardMethodCodec::decodeMethodCall(again.data(), again.size());
    check(decoded && decoded->method == call->method &&
          StandardMethodCodec::encodeMethodCall(*decoded) == again);
  }
  StandardMethodCodec::decodeEnvelope(data, size);
  return 0;
}
