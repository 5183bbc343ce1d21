#include "mesh/desktop_mesh_plugin.h"

#include "bridge/method_channel.h"

namespace movaro {

void DesktopMeshPlugin::registerWith(Registrar& registrar,
                                     const platform::Services& services) {
  MethodChannel channel(registrar.messenger(), kChannel);
  registrar.addMethodCallDelegate(create(services), channel);
}

std::shared_ptr<DesktopMeshPlugin> DesktopMeshPlugin::create(
    const platform::Services& services) {
  return std::make_shared<DesktopMeshPlugin>(Passkey(), services);
}

DesktopMeshPlugin::DesktopMeshPlugin(Passkey,
                                     const platform::Services& services)
    : services_(services) {}

PluginError DesktopMeshPlugin::internalError() const {
  return error("MESH_INTERNAL_FAILURE");
}

void DesktopMeshPlugin::handle(const MethodCall& call, const Reply& result) {
  const std::string& method = call.method;
  if (method == "capabilities") {
    capabilities(result);
  } else if (method == "prepareVpn") {
    prepareVpn(result);
  } else if (method == "login") {
    login(Arguments(call.arguments), result);
  } else if (method == "down") {
    down(result);
  } else if (method == "logout") {
    logout(result);
  } else if (method == "status") {
    status(result);
  } else {
    result->notImplemented();
  }
}

void DesktopMeshPlugin::schedule(platform::Duration delay, Task task) {
  uint64_t key = nextTimer_++;
  timers_[key] = services_.dispatch.postAfter(
      delay,
      platform::onMain(platform::kDeliveredOnMain, weak_from_this(),
                       [key, task = std::move(task)](DesktopMeshPlugin& self) {
                         self.timers_.erase(key);
                         task(self);
                       }));
}

}  // namespace movaro
