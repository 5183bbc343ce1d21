// The informational and settings-pane methods, answered at once.
#include "platform/text/unicode_text.h"
#include "platform/wireguard/x25519_keys.h"
#include "tunnel/movaro_platform_plugin.h"

namespace movaro {
namespace {

constexpr const char* kVpnSettingsUrl =
    "x-apple.systempreferences:com.apple.Network-Settings.extension?VPN";

std::string infoString(const platform::MainBundle& bundle,
                       const std::string& key) {
  std::optional<Value> value = bundle.objectForInfoDictionaryKey(key);
  const auto* text = value ? value->getIf<std::string>() : nullptr;
  return text ? *text : std::string();
}

}  // namespace

void MovaroPlatformPlugin::getPlatformVersion(const Reply& result) {
  result->success("macOS " + services_.system.operatingSystemVersionString());
}

void MovaroPlatformPlugin::getAppInfo(const Reply& result) {
  const platform::MainBundle& bundle = services_.mainBundle;
  result->success(
      dict({{"platform", "macos"},
            {"version", infoString(bundle, "CFBundleShortVersionString")},
            {"buildNumber", infoString(bundle, "CFBundleVersion")},
            {"packageName", bundle.bundleIdentifier().value_or("")}}));
}

void MovaroPlatformPlugin::generateKeyPair(const Reply& result) {
  std::optional<platform::Key> privateKey = services_.keys.generatePrivateKey();
  std::optional<platform::Key> publicKey =
      privateKey ? services_.keys.publicKey(*privateKey) : std::nullopt;
  if (!publicKey) {
    result->error("KEY_GENERATION_FAILED",
                  "A WireGuard key pair could not be generated.");
    return;
  }
  result->success(dict({{"privateKey", platform::base64Encode(*privateKey)},
                        {"publicKey", platform::base64Encode(*publicKey)}}));
}

void MovaroPlatformPlugin::openVpnSettings(const Reply& result) {
  services_.workspace.openUrl(kVpnSettingsUrl);
  result->success(true);
}

}  // namespace movaro
