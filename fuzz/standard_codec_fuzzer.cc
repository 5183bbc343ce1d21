// Runs the codec's decoders on arbitrary bytes: truncated input and lying
// sizes must give no value, never a crash, and whatever decodes must encode
// back to the same value.
#include <cstddef>
#include <cstdint>

#include "bridge/standard_codec.h"

namespace {

void check(bool condition) {
  if (!condition) {
    __builtin_trap();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using movaro::StandardMessageCodec;
  using movaro::StandardMethodCodec;
  if (auto value = StandardMessageCodec::decode(data, size)) {
    movaro::Bytes again = StandardMessageCodec::encode(*value);
    check(StandardMessageCodec::decode(again) == value);
  }
  if (auto call = StandardMethodCodec::decodeMethodCall(data, size)) {
    movaro::Bytes again = StandardMethodCodec::encodeMethodCall(*call);
    auto decoded =
        StandardMethodCodec::decodeMethodCall(again.data(), again.size());
    check(decoded && decoded->method == call->method &&
          decoded->arguments == call->arguments);
  }
  StandardMethodCodec::decodeEnvelope(data, size);
  return 0;
}
