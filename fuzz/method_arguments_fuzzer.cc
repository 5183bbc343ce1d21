// Calls every method of both channels with an argument value decoded from
// arbitrary bytes, then lets every timer run: any argument is read without
// a crash, and every call is answered at most once.
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

#include "bridge/binary_messenger.h"
#include "bridge/registrar.h"
#include "fuzz_check.h"
#include "platform/sim/simulated_mac.h"
#include "support/method_names.h"
#include "tunnel/movaro_platform_plugin.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  auto arguments = movaro::StandardMessageCodec::decode(data, size);
  if (!arguments) {
    return 0;
  }
  movaro::sim::SimulatedMac mac;
  mac.installExtension(".mesh-extension",
                       movaro::dict({{"HalvornEngineAvailable", "1"}}));
  movaro::LocalMessenger messenger;
  movaro::Registrar registrar(messenger);
  movaro::MovaroPlatformPlugin::registerWith(registrar, mac.services());
  std::map<int, int> answers;
  int next = 0;
  auto call = [&](const char* channel, const char* method) {
    int id = next++;
    answers[id] = 0;
    messenger.deliver(
        channel,
        movaro::StandardMethodCodec::encodeMethodCall({method, *arguments}),
        [&answers, id](const movaro::Bytes&) { check(++answers[id] == 1); });
  };
  for (const char* method : movaro::testing::kMainMethods) {
    call(movaro::MovaroPlatformPlugin::kChannel, method);
  }
  for (const char* method : movaro::testing::kMeshMethods) {
    call("com.quillfen.halvorn/mesh", method);
  }
  mac.location.decide(movaro::platform::kLocationDenied);
  mac.advance(600);
  return 0;
}
