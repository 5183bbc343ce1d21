// A harness with the mesh engine installed and the mesh profile's helpers.
#ifndef MOVARO_TESTS_SUPPORT_MESH_FIXTURE_H_
#define MOVARO_TESTS_SUPPORT_MESH_FIXTURE_H_

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "support/matchers.h"
#include "support/plugin_harness.h"

namespace movaro::testing {

inline constexpr const char* kMeshProvider =
    "com.quillfen.movaro.macos.mesh-extension";
inline constexpr const char* kMeshMessage =
    "The private network operation could not be completed.";
inline const std::string kNamespace(64, 'a');

class MeshTest : public ::testing::Test, public PluginHarness {
 protected:
  MeshTest() {
    mac.installExtension(".mesh-extension",
                         dict({{"HalvornEngineAvailable", "1"}}));
  }
  static ValueMap validLogin() {
    return dict({{"accountNamespace", kNamespace},
                 {"controlUrl", "https://control.example.com:8443/mesh"},
                 {"authKey", "tskey-auth-secret"},
                 {"hostname", "work-laptop"},
                 {"sessionExpiresAt", "2031-01-01T00:00:00Z"}});
  }
  ReplyPtr login(const ValueMap& args = validLogin()) {
    return ask("login", args);
  }
  // Calls a mesh method and runs the main queue.
  ReplyPtr ask(const std::string& method, const Value& arguments = Value()) {
    ReplyPtr reply = callMesh(method, arguments);
    runUntilIdle();
    return reply;
  }
  // The status with no tunnel information, in the given state.
  static ValueMap emptyStatus(const char* state = "disconnected") {
    return dict({{"state", state},
                 {"selfName", ""},
                 {"selfAddresses", ValueList{}},
                 {"peers", ValueList{}}});
  }
  // A saved mesh profile holding an account, in the given state.
  sim::SavedProfile& addMeshProfile(int status,
                                    const std::string& ns = kNamespace) {
    sim::ProfileFields fields;
    fields.protocol =
        platform::TunnelProtocol{true, kMeshProvider, "Halvorn Private Network",
                                 false, dict({{"accountNamespace", ns}})};
    sim::SavedProfile& saved = mac.networkExtension.addSavedProfile(fields);
    saved.connection->setStatus(status);
    runUntilIdle();
    return saved;
  }
  void answer(const std::string& command,
              const std::string& json,
              double delay = 0) {
    mac.networkExtension.providerAnswers[command] =
        sim::ProviderAnswer{Bytes(json.begin(), json.end()),
                            platform::seconds(delay), false, false};
  }
  void silence(const std::string& command) {
    mac.networkExtension.providerAnswers[command] =
        sim::ProviderAnswer{std::nullopt, {}, true, false};
  }
};

inline auto IsMeshError(const char* code) {
  return IsError(code, kMeshMessage);
}

}  // namespace movaro::testing

#endif  // MOVARO_TESTS_SUPPORT_MESH_FIXTURE_H_
