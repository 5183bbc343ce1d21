#include "bridge/event_channel.h"

namespace movaro {

std::optional<PluginError> streamCallGuarded(
    const std::function<std::optional<PluginError>()>& call) noexcept {
  try {
    return call();
  } catch (...) {
    return internalError();
  }
}

void EventSink::success(const Value& event) {
  if (active_) {
    messenger_.send(channel_,
                    StandardMethodCodec::encodeSuccessEnvelope(event));
  }
}

void EventSink::error(const PluginError& error) {
  if (active_) {
    messenger_.send(channel_, StandardMethodCodec::encodeErrorEnvelope(error));
  }
}

void EventSink::endOfStream() {
  if (active_) {
    messenger_.send(channel_, Bytes());
  }
}

void EventChannel::setStreamHandler(std::shared_ptr<StreamHandler> handler) {
  if (!handler) {
    messenger_.setMessageHandler(name_, nullptr);
    return;
  }
  auto current = std::make_shared<std::shared_ptr<EventSink>>();
  messenger_.setMessageHandler(
      name_,
      [&messenger = messenger_, name = name_, handler = std::move(handler),
       current](const Bytes& message, const BinaryReply& reply) {
        auto call = StandardMethodCodec::decodeMethodCall(message.data(),
                                                          message.size());
        if (!call) {
          reply(Bytes());
          return;
        }
        auto answer = [&reply](const std::optional<PluginError>& error) {
          reply(error ? StandardMethodCodec::encodeErrorEnvelope(*error)
                      : StandardMethodCodec::encodeSuccessEnvelope(Value()));
        };
        if (call->method == "listen") {
          // A listen over a live stream cancels that stream first.
          if (*current) {
            (*current)->deactivate();
            streamCallGuarded([&] { return handler->onCancel(Value()); });
          }
          *current = std::make_shared<EventSink>(messenger, name);
          answer(streamCallGuarded(
              [&] { return handler->onListen(call->arguments, *current); }));
        } else if (call->method == "cancel") {
          if (!*current) {
            answer(PluginError{"error", "No active stream to cancel"});
            return;
          }
          (*current)->deactivate();
          current->reset();
          answer(streamCallGuarded(
              [&] { return handler->onCancel(call->arguments); }));
        } else {
          reply(Bytes());
        }
      });
}

}  // namespace movaro
