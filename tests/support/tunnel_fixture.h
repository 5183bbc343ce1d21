// A harness with the VPN profile's helpers.
#ifndef MOVARO_TESTS_SUPPORT_TUNNEL_FIXTURE_H_
#define MOVARO_TESTS_SUPPORT_TUNNEL_FIXTURE_H_

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/matchers.h"
#include "support/plugin_harness.h"

namespace movaro::testing {

inline constexpr const char* kVpnProvider =
    "com.quillfen.movaro.macos.network-extension";
inline constexpr const char* kValidConfig =
    "[Interface]\n"
    "PrivateKey = yAnz5TF+lXXJte14tji3zlMNq+hd2rYUIgJBgB3fBmk=\n"
    "Address = 10.0.0.2/32\n"
    "\n"
    "[Peer]\n"
    "PublicKey = xTIBA5rboUvnH4htodjb6e697QjLERt1NAB4mZqp8Dg=\n"
    "AllowedIPs = 0.0.0.0/0\n"
    "Endpoint = vpn.example.com:51820\n";

class TunnelTest : public ::testing::Test, public PluginHarness {
 protected:
  sim::SavedProfile* savedVpn() {
    return mac.networkExtension.savedProfileFor(kVpnProvider);
  }
  const ValueMap& providerConfiguration() {
    return *savedVpn()->fields.protocol->providerConfiguration;
  }
  // A call on the main channel, then the main queue run until idle.
  ReplyPtr callIdle(const std::string& method, const Value& args = Value()) {
    ReplyPtr reply = callMain(method, args);
    runUntilIdle();
    return reply;
  }
  // A connect with the valid configuration unless the arguments name one.
  ReplyPtr connectWith(ValueMap args) {
    args.emplace(Value("config"), Value(kValidConfig));
    return callIdle("connect", args);
  }
  int status() { return savedVpn()->connection->status(); }
  // The observer reads the status when its notification is delivered, so
  // each change is delivered before the next.
  void setStatus(int status) {
    savedVpn()->connection->setStatus(status);
    runUntilIdle();
  }
};

}  // namespace movaro::testing

#endif  // MOVARO_TESTS_SUPPORT_TUNNEL_FIXTURE_H_
