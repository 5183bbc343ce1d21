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

void MethodChannel::setMethodCallHandler(MethodCallHandler handler) {
  if (!handler) {
    messenger_.setMessageHandler(name_, nullptr);
    return;
  }
  messenger_.setMessageHandler(
      name_, [handler = std::move(handler)](const Bytes& message,
                                            const BinaryReply& reply) {
        auto call = StandardMethodCodec::decodeMethodCall(message.data(),
                                                          message.size());
        if (!call) {
          reply(Bytes());
          return;
        }
        handler(*call, std::make_shared<EnvelopeResult>(reply));
      });
}

}  // namespace movaro
