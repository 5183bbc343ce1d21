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
    if (!loaded) {
      result->error(error("MESH_SETTINGS_FAILED"));
      return;
    }
    // The stop is requested once; the wait does not repeat it.
    self.stopTunnel();
    self.awaitStopped(self.services_.dispatch.now() + kStopDeadline, result);
  });
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
  waitForCanceledOperation(
      services_.dispatch.now() + kLogoutWait,
      [result](DesktopMeshPlugin& self, bool ended) {
        if (!ended) {
          result->error(error("MESH_IDENTITY_CLEAR_FAILED"));
          return;
        }
        self.clearIdentity(result);
      });
}

void DesktopMeshPlugin::waitForCanceledOperation(
    Deadline deadline,
    std::function<void(DesktopMeshPlugin&, bool)> completion) {
  if (!operationInProgress) {
    completion(*this, true);
    return;
  }
  if (services_.dispatch.now() < deadline) {
    // Asked again at every poll, so that a login still loading or saving
    // finds its tunnel stopped.
    stopTunnel();
    schedule(kPollInterval, [deadline, completion](DesktopMeshPlugin& self) {
      self.waitForCanceledOperation(deadline, completion);
    });
    return;
  }
  completion(*this, false);
}

}  // namespace movaro
