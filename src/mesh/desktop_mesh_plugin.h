// The mesh plugin: the "com.quillfen.halvorn/mesh" method channel. Its
// fields hold all of its state and are touched on the main queue only:
// every platform completion is moved there first, and every wait is a chain
// of one-shot main-queue timers.
#ifndef MOVARO_MESH_DESKTOP_MESH_PLUGIN_H_
#define MOVARO_MESH_DESKTOP_MESH_PLUGIN_H_

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "bridge/arguments.h"
#include "bridge/registrar.h"
#include "mesh/provider_reply.h"
#include "platform/main_queue.h"
#include "platform/services.h"

namespace movaro {

class DesktopMeshPlugin
    : public MethodCallDelegate,
      public platform::ActivationRequestDelegate,
      public std::enable_shared_from_this<DesktopMeshPlugin> {
  // Only create() can name it: a plugin always lives in a shared_ptr, so
  // its completions can hold it weakly.
  struct Passkey {
    explicit Passkey() = default;
  };

 public:
  using Reply = std::shared_ptr<MethodResult>;
  // Completions of the plugin's own operations run only while the plugin
  // lives, and are handed it.
  using MessageCompletion =
      std::function<void(DesktopMeshPlugin& self,
                         const std::optional<ValueMap>& reply)>;
  using LoadCompletion =
      std::function<void(DesktopMeshPlugin& self, bool loaded)>;
  using CodeCompletion =
      std::function<void(DesktopMeshPlugin& self,
                         const std::optional<std::string>& code)>;

  static constexpr const char* kChannel = "com.quillfen.halvorn/mesh";
  static constexpr const char* kErrorMessage =
      "The private network operation could not be completed.";

  // The plugin's own registration entry: the mesh channel alone.
  static void registerWith(Registrar& registrar,
                           const platform::Services& services);
  static std::shared_ptr<DesktopMeshPlugin> create(
      const platform::Services& services);

  DesktopMeshPlugin(Passkey, const platform::Services& services);
  DesktopMeshPlugin(const DesktopMeshPlugin&) = delete;
  DesktopMeshPlugin& operator=(const DesktopMeshPlugin&) = delete;

  void handle(const MethodCall& call, const Reply& result) override;
  PluginError internalError() const override;

  // Maps an internal failure code to one of the nine public codes.
  static std::string safeCode(const std::string& failureCode);
  // The public code of the provider's disconnect error.
  static std::string disconnectCode(const platform::PlatformError& error);
  // The error reply for a failure: its public code and the one message.
  static PluginError error(const std::string& failureCode);

  // Extension approval delegate.
  void requestNeedsUserApproval(
      const platform::ActivationRequest& request) override;
  platform::ReplacementAction actionForReplacingExtension(
      const platform::ActivationRequest& request,
      const platform::ExtensionProperties& existing,
      const platform::ExtensionProperties& replacement) override;
  void requestDidFinish(const platform::ActivationRequest& request,
                        platform::ActivationResult result) override;
  void requestDidFail(const platform::ActivationRequest& request,
                      const platform::PlatformError& error) override;

  // Read-only views for tests.
  bool operationInProgressForTesting() const { return operationInProgress; }
  int64_t generationForTesting() const { return generation; }
  bool explicitlyStoppedForTesting() const { return explicitlyStopped; }
  const std::optional<std::string>& lastFailureCodeForTesting() const {
    return lastFailureCode;
  }
  // Provider messaging, reachable for its own tests.
  void sendMessageForTesting(const std::string& command,
                             MessageCompletion completion) {
    sendMessage(command, std::move(completion));
  }

 private:
  using Deadline = platform::WallTime;

  // State, codes and engine facts (mesh_state.cc).
  std::string providerIdentifier() const;
  bool engineAvailable() const;
  bool atLeastMacOs13() const;
  ValueMap disconnectedStatus() const;
  void capabilities(const Reply& result);
  void status(const Reply& result);
  void replyStatus(const Reply& result, bool loaded);
  void loadManager(LoadCompletion completion);
  void onProfilesLoaded(const LoadCompletion& completion,
                        const std::optional<platform::TunnelProfiles>& profiles,
                        const platform::MaybeError& loadError);
  void lastDisconnectCode(CodeCompletion completion);
  int tunnelStatus() const;
  void stopTunnel();

  // Login (login.cc).
  void login(const Arguments& args, const Reply& result);
  void configureAndSave(const ValueMap& options,
                        int64_t number,
                        const Reply& result,
                        bool loaded);
  void reloadSaved(const std::shared_ptr<platform::TunnelProfile>& profile,
                   const ValueMap& options,
                   int64_t number,
                   const Reply& result,
                   const platform::MaybeError& saveError);
  void startReloaded(const std::shared_ptr<platform::TunnelProfile>& profile,
                     const ValueMap& options,
                     int64_t number,
                     const Reply& result,
                     const platform::MaybeError& reloadError);
  void startTunnel(const std::shared_ptr<platform::TunnelProfile>& profile,
                   const ValueMap& options,
                   int64_t number,
                   const Reply& result);
  void awaitStarted(int64_t number,
                    Deadline requestedAt,
                    Deadline deadline,
                    const Reply& result);
  void endLogin(const Reply& result, const std::optional<std::string>& code);

  // Stop and logout (stop_logout.cc).
  void down(const Reply& result);
  void stopLoaded(const Reply& result, bool loaded);
  void awaitStopped(Deadline deadline, const Reply& result);
  void logout(const Reply& result);
  void awaitCanceledOperation(Deadline deadline, const Reply& result);
  void answerWaitingPrepare(bool value);

  // Provider messaging (provider_messaging.cc).
  void sendMessage(const std::string& command, MessageCompletion completion);

  // Identity clean-up (identity_cleanup.cc).
  void clearIdentity(const Reply& result);
  void clearLoadedIdentity(const Reply& result, bool loaded);
  void afterLogoutMessage(const std::string& accountNamespace,
                          const Reply& result,
                          const std::optional<ValueMap>& reply);
  void startCleanup(const std::string& accountNamespace,
                    Deadline deadline,
                    const Reply& result);
  void awaitCleanup(Deadline deadline, const Reply& result);
  void afterCleanupStatus(Deadline deadline,
                          const Reply& result,
                          const std::optional<ValueMap>& reply);
  void endCleanup(const Reply& result, bool cleared);

  // Extension approval (extension_approval.cc).
  void prepareVpn(const Reply& result);
  bool isCurrentRequest(const platform::ActivationRequest& request) const;
  void endActivation(bool value);

  using Task = std::function<void(DesktopMeshPlugin& self)>;
  // Runs a task on the main queue after a delay; the timer belongs to the
  // plugin, so it dies with it.
  void schedule(platform::Duration delay, Task task);
  // A platform completion that moves to the main queue first, as every one
  // of this plugin's does, and runs body(plugin, arguments...) there while
  // the plugin lives.
  template <typename Body>
  auto continuation(Body body) {
    return platform::onMain(services_.dispatch.mainQueue(), weak_from_this(),
                            std::move(body));
  }

  platform::Services services_;
  platform::ProviderReplyDecoder replyDecoder_;
  std::map<uint64_t, platform::TimerHandle> timers_;
  uint64_t nextTimer_ = 0;

  // The fields, in declaration order.
  std::shared_ptr<platform::TunnelProfile> manager;
  std::shared_ptr<platform::ActivationRequest> activationRequest;
  Reply activationResult;
  platform::TimerHandle approvalDeadline;
  bool operationInProgress = false;
  int64_t generation = 0;
  std::optional<std::string> sessionExpiry;
  std::optional<std::string> lastFailureCode;
  bool explicitlyStopped = true;
};

}  // namespace movaro

#endif  // MOVARO_MESH_DESKTOP_MESH_PLUGIN_H_
