// One JSON command to the running mesh provider, and its filtered reply or
// null, exactly once, on the main queue, within five seconds.
#include "mesh/desktop_mesh_plugin.h"

namespace movaro {
namespace {

const platform::Duration kMessageTimeout = std::chrono::seconds(5);

// Shared by the three ways a call can end: reply, timeout, send failure.
struct MessageCall {
  bool finished = false;
  DesktopMeshPlugin::MessageCompletion completion;

  void finish(DesktopMeshPlugin& plugin, const std::optional<ValueMap>& reply) {
    if (finished) {
      return;
    }
    finished = true;
    completion(plugin, reply);
  }
};

}  // namespace

void DesktopMeshPlugin::sendMessage(const std::string& command,
                                    MessageCompletion completion) {
  auto connection = manager ? manager->connection() : nullptr;
  if (!connection || !connection->isProviderSession()) {
    completion(*this, std::nullopt);
    return;
  }
  std::string request = platform::encodeCommand(command);
  auto call = std::make_shared<MessageCall>();
  call->completion = std::move(completion);

  // The timeout is armed before the message leaves, so a provider that
  // never answers still ends the call.
  schedule(kMessageTimeout, [call](DesktopMeshPlugin& self) {
    call->finish(self, std::nullopt);
  });
  // The reply comes on any queue; it is decoded on the main queue.
  platform::MaybeError sendError = connection->sendProviderMessage(
      Bytes(request.begin(), request.end()),
      continuation(
          [call](DesktopMeshPlugin& self, const std::optional<Bytes>& reply) {
            std::optional<std::string_view> bytes;
            if (reply) {
              bytes = std::string_view(
                  reinterpret_cast<const char*>(reply->data()), reply->size());
            }
            // Decoded even when the timeout came first; finish drops it.
            call->finish(self, self.replyDecoder_.decode(bytes));
          }));
  if (sendError) {
    call->finish(*this, std::nullopt);
  }
}

}  // namespace movaro
