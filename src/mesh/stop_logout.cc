// "down" and "logout": both supersede a running login and answer a waiting
// "prepareVpn" with false.
#include "mesh/desktop_mesh_plugin.h"

namespace movaro {
namespace {

const platform::Duration kPollInterval = std::chrono::milliseconds(100);
const platform::Duration kStopDeadline = std::chrono::seconds(10);
const platform::Duration kLogoutWait = std::chrono::seconds(15);

}  // namespace

void DesktopMeshPlugin::answerWaitingPrepare(bool value) {
  if (Reply waiting = std::move(activationResult)) {
    activationResult.reset();
    waiting->success(value);
  }
}

void DesktopMeshPlugin::down(const Reply& result) {
  ++generation;
  answerWaitingPrepare(false);
  explicitlyStopped = true;
  lastFailureCode.reset();
  sessionExpiry.reset();
  loadManager([result](DesktopMeshPlugin& self, bool loaded) {
    self.stopLoaded(result, loaded);
  });
}

void DesktopMeshPlugin::stopLoaded(const Reply& result, bool loaded) {
  if (!loaded) {
    result->error(error("MESH_SETTINGS_FAILED"));
    return;
  }
  // The stop is requested once; the wait does not repeat it.
  stopTunnel();
  awaitStopped(services_.dispatch.now() + kStopDeadline, result);
}

void DesktopMeshPlugin::awaitStopped(Deadline deadline, const Reply& result) {
  int status = tunnelStatus();
  if (manager && (status == platform::kVpnStatusDisconnected ||
                  status == platform::kVpnStatusInvalid)) {
    result->success(true);
    return;
  }
  if (services_.dispatch.now() < deadline) {
    schedule(kPollInterval, [deadline, result](DesktopMeshPlugin& self) {
      self.awaitStopped(deadline, result);
    });
    return;
  }
  result->error(error("cleanup_failed"));
}

void DesktopMeshPlugin::logout(const Reply& result) {
  ++generation;
  answerWaitingPrepare(false);
  awaitCanceledOperation(services_.dispatch.now() + kLogoutWait, result);
}

// The identity is cleared once the operation that "logout" superseded has
// ended; one still running at the deadline fails the logout.
void DesktopMeshPlugin::awaitCanceledOperation(Deadline deadline,
                                               const Reply& result) {
  if (!operationInProgress) {
    clearIdentity(result);
    return;
  }
  if (services_.dispatch.now() < deadline) {
    // Asked again at every poll, so that a login still loading or saving
    // finds its tunnel stopped.
    stopTunnel();
    schedule(kPollInterval, [deadline, result](DesktopMeshPlugin& self) {
      self.awaitCanceledOperation(deadline, result);
    });
    return;
  }
  result->error(error("MESH_IDENTITY_CLEAR_FAILED"));
}

}  // namespace movaro
