#include "support/plugin_harness.h"

#include "host/json_values.h"
#include "tunnel/movaro_platform_plugin.h"

namespace movaro {
void PrintTo(const Value& value, std::ostream* out) {
  *out << host::dumpLine(host::valueToJson(value));
}
}  // namespace movaro

namespace movaro::testing {

bool ReplyRecord::notImplemented() const {
  return envelope && std::holds_alternative<NotImplementedEnvelope>(*envelope);
}

Value ReplyRecord::value() const {
  if (!envelope || !std::holds_alternative<SuccessEnvelope>(*envelope)) {
    ADD_FAILURE() << "the call was not answered with a value";
    return Value();
  }
  return std::get<SuccessEnvelope>(*envelope).value;
}

const ErrorEnvelope* ReplyRecord::error() const {
  return envelope ? std::get_if<ErrorEnvelope>(&*envelope) : nullptr;
}

PluginHarness::PluginHarness()
    : messenger_([this](const std::string& channel, const Bytes& message) {
        EXPECT_EQ(channel, kEvents);
        auto envelope =
            StandardMethodCodec::decodeEnvelope(message.data(), message.size());
        ASSERT_TRUE(envelope.has_value());
        auto* success = std::get_if<SuccessEnvelope>(&*envelope);
        ASSERT_NE(success, nullptr) << "only values are sent as events";
        events.push_back(success->value);
      }),
      registrar_(messenger_) {
  registerPlugins();
}

void PluginHarness::registerPlugins() {
  MovaroPlatformPlugin::registerWith(registrar_, mac.services());
}

int64_t PluginHarness::heldId(const std::string& operation) {
  for (const auto& held : mac.holds.held()) {
    if (held.operation == operation) {
      return held.id;
    }
  }
  ADD_FAILURE() << "no " << operation << " completion is held";
  return 0;
}

void PluginHarness::releaseAll() {
  mac.holds.hold({});
  for (auto held = mac.holds.held(); !held.empty(); held = mac.holds.held()) {
    mac.holds.release(held.front().id);
    runUntilIdle();
  }
}

ReplyPtr PluginHarness::call(const std::string& channel,
                             const std::string& method,
                             const Value& arguments) {
  auto record = std::make_shared<ReplyRecord>();
  std::weak_ptr<ReplyRecord> weak = record;
  messenger_.deliver(
      channel, StandardMethodCodec::encodeMethodCall({method, arguments}),
      [weak, method](const Bytes& reply) {
        if (auto target = weak.lock()) {
          if (++target->count > 1) {
            ADD_FAILURE() << method << " was answered twice";
          }
          target->envelope =
              StandardMethodCodec::decodeEnvelope(reply.data(), reply.size());
          EXPECT_TRUE(target->envelope.has_value());
        }
      });
  return record;
}

void PrintTo(const ReplyRecord& reply, std::ostream* out) {
  const auto* success =
      reply.envelope ? std::get_if<SuccessEnvelope>(&*reply.envelope) : nullptr;
  if (const ErrorEnvelope* error = reply.error()) {
    *out << "error " << error->code << " / "
         << error->message.value_or("(no message)");
  } else if (success) {
    *out << "value ";
    PrintTo(success->value, out);
  } else {
    *out << (reply.notImplemented() ? "not implemented" : "unanswered");
  }
  if (reply.count > 1) {
    *out << " (answered " << reply.count << " times)";
  }
}

Value statusEvent(const std::string& state, const std::string& message) {
  return dict({{"state", state}, {"message", message}});
}

}  // namespace movaro::testing
