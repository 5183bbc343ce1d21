#include "bridge/method_channel.h"

namespace movaro {
namespace {

// Encodes the one answer into the reply envelope.
class EnvelopeResult : public MethodResult {
 public:
  explicit EnvelopeResult(BinaryReply reply) : reply_(std::move(reply)) {}

 protected:
  void onSuccess(const Value& value) override {
    reply_(StandardMethodCodec::encodeSuccessEnvelope(value));
  }
  void onError(const PluginError& error) override {
    reply_(StandardMethodCodec::encodeErrorEnvelope(error));
  }
  void onNotImplemented() override { reply_(Bytes()); }

 private:
  BinaryReply reply_;
};

}  // namespace

void invokeGuarded(const MethodCallHandler& handler,
                   const MethodCall& call,
                   const std::shared_ptr<MethodResult>& result,
                   const PluginError& failure) noexcept {
  try {
    handler(call, result);
    return;
  } catch (...) {
  }
  try {
    result->error(failure);
  } catch (...) {
    // Not even the error could be written; the caller still sees no
    // exception.
  }
}

void MethodChannel::setMethodCallHandler(MethodCallHandler handler,
                                         PluginError failure) {
  if (!handler) {
    messenger_.setMessageHandler(name_, nullptr);
    return;
  }
  messenger_.setMessageHandler(
      name_, [handler = std::move(handler), failure = std::move(failure)](
                 const Bytes& message, const BinaryReply& reply) {
        auto call = StandardMethodCodec::decodeMethodCall(message.data(),
                                                          message.size());
        if (!call) {
          reply(Bytes());
          return;
        }
        invokeGuarded(handler, *call, std::make_shared<EnvelopeResult>(reply),
                      failure);
      });
}

}  // namespace movaro
