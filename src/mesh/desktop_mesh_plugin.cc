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
  return std::make_shared<DesktopMeshPlugin>(services);
}

DesktopMeshPlugin::DesktopMeshPlugin(const platform::Services& services)
    : services_(services) {}

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
  std::weak_ptr<DesktopMeshPlugin> weak = weak_from_this();
  timers_[key] =
      services_.dispatch.postAfter(delay, [weak, key, task = std::move(task)] {
        if (auto self = weak.lock()) {
          self->timers_.erase(key);
          task(*self);
        }
      });
}

void DesktopMeshPlugin::onMain(Task task) {
  std::weak_ptr<DesktopMeshPlugin> weak = weak_from_this();
  services_.dispatch.post([weak, task = std::move(task)] {
    if (auto self = weak.lock()) {
      task(*self);
    }
  });
}

}  // namespace movaro
