#include "host/host.h"

#include <poll.h>
#include <unistd.h>

#include "tunnel/movaro_platform_plugin.h"

namespace movaro::host {

Host::Host(Output output, std::unique_ptr<StateFolder> state)
    : output_(std::move(output)), state_(std::move(state)) {
  if (state_ && !state_->saved().is_null()) {
    restore(mac_, state_->saved());
  }
  registerPlugins();
}

void Host::teardown() {
  if (registered_) {
    registered_ = false;
    engines_.back()->messenger.removeAllHandlers();
  }
}

bool Host::registerPlugins() {
  if (registered_) {
    return false;
  }
  size_t number = engines_.size();
  engines_.push_back(std::make_unique<Engine>(
      [this, number](const std::string& channel, const Bytes& message) {
        if (live(number)) {
          onEngineMessage(channel, message);
        }
      }));
  registered_ = true;
  MovaroPlatformPlugin::registerWith(engines_.back()->registrar,
                                     mac_.services());
  return true;
}

void Host::persist(const Json& id) {
  if (!state_) {
    return;
  }
  if (std::optional<std::string> error =
          state_->save(snapshot(mac_).dump(1) + "\n")) {
    hostError(id, *error);
  }
}

namespace {

// The deepest nesting of arrays and objects in a JSON text, strings skipped.
size_t nestingDepth(const std::string& text) {
  size_t depth = 0;
  size_t deepest = 0;
  bool inString = false;
  for (size_t i = 0; i < text.size(); ++i) {
    char c = text[i];
    if (inString) {
      if (c == '\\') {
        ++i;
      } else if (c == '"') {
        inString = false;
      }
    } else if (c == '"') {
      inString = true;
    } else if (c == '[' || c == '{') {
      deepest = std::max(deepest, ++depth);
    } else if ((c == ']' || c == '}') && depth > 0) {
      --depth;
    }
  }
  return deepest;
}

}  // namespace

void Host::handleLine(const std::string& line) {
  // Values nest no deeper than the codec carries; the top object is one
  // level of its own.
  if (nestingDepth(line) > StandardMessageCodec::kMaxDepth) {
    hostError(nullptr, "The line nests deeper than the codec carries.");
    return;
  }
  Json parsed = Json::parse(line, nullptr, false);
  Json id = parsed.is_object() && parsed.contains("id") ? parsed["id"]
                                                        : Json(nullptr);
  if (parsed.is_discarded()) {
    hostError(nullptr, "The line is not valid JSON.");
  } else if (!parsed.is_object()) {
    hostError(nullptr, "The line is not a JSON object.");
  } else {
    try {
      handleObject(id, parsed);
    } catch (const Json::exception&) {
      hostError(id, "A field of the line has the wrong type.");
    }
  }
  mac_.runUntilIdle();
  persist(id);
}

void Host::handleObject(const Json& id, const Json& line) {
  if (line.contains("sim")) {
    if (!line["sim"].is_string()) {
      hostError(id, "\"sim\" must name a command.");
      return;
    }
    simCommand(id, line["sim"].get<std::string>(), line);
    return;
  }
  if (!line.contains("channel") || !line["channel"].is_string()) {
    hostError(id, "The line has neither \"sim\" nor a \"channel\" string.");
    return;
  }
  std::string channel = line["channel"].get<std::string>();
  if (line.contains("listen") && line["listen"] == true) {
    streamRequest(id, channel, "listen");
  } else if (line.contains("cancel") && line["cancel"] == true) {
    streamRequest(id, channel, "cancel");
  } else {
    methodCall(id, line);
  }
}

void Host::methodCall(const Json& id, const Json& line) {
  if (!line.contains("method") || !line["method"].is_string()) {
    hostError(id, "A method call needs a \"method\" string.");
    return;
  }
  std::string channel = line["channel"].get<std::string>();
  if (!messenger().hasHandler(channel)) {
    hostError(id, "No channel is named \"" + channel + "\".");
    return;
  }
  MethodCall call{
      line["method"].get<std::string>(),
      line.contains("arguments") ? jsonToValue(line["arguments"]) : Value()};
  messenger().deliver(channel, StandardMethodCodec::encodeMethodCall(call),
                      replyTo(id));
}

void Host::streamRequest(const Json& id,
                         const std::string& channel,
                         const std::string& method) {
  if (!messenger().hasHandler(channel)) {
    hostError(id, "No channel is named \"" + channel + "\".");
    return;
  }
  messenger().deliver(channel,
                      StandardMethodCodec::encodeMethodCall({method, Value()}),
                      replyTo(id));
}

BinaryReply Host::replyTo(const Json& id) {
  return [this, id, number = engines_.size() - 1](const Bytes& reply) {
    if (live(number)) {
      replyLine(id, reply);
    }
  };
}

void Host::replyLine(const Json& id, const Bytes& reply) {
  auto envelope =
      StandardMethodCodec::decodeEnvelope(reply.data(), reply.size());
  Json out{{"id", id}};
  if (!envelope) {
    hostError(id, "The reply could not be decoded.");
    return;
  }
  if (auto* success = std::get_if<SuccessEnvelope>(&*envelope)) {
    out["result"] = valueToJson(success->value);
  } else if (auto* error = std::get_if<ErrorEnvelope>(&*envelope)) {
    out["error"] = {
        {"code", error->code},
        {"message", error->message ? Json(*error->message) : Json(nullptr)},
        {"details", valueToJson(error->details)}};
  } else {
    out["notImplemented"] = true;
  }
  output_(out);
}

void Host::onEngineMessage(const std::string& /*channel*/,
                           const Bytes& message) {
  if (message.empty()) {
    output_(Json{{"endOfStream", true}});
    return;
  }
  auto envelope =
      StandardMethodCodec::decodeEnvelope(message.data(), message.size());
  if (!envelope) {
    output_(
        Json{{"id", nullptr}, {"hostError", "An event could not be decoded."}});
  } else if (auto* success = std::get_if<SuccessEnvelope>(&*envelope)) {
    output_(Json{{"event", valueToJson(success->value)}});
  } else if (auto* error = std::get_if<ErrorEnvelope>(&*envelope)) {
    output_(Json{{"eventError",
                  {{"code", error->code},
                   {"message",
                    error->message ? Json(*error->message) : Json(nullptr)}}}});
  }
}

void Host::hostError(const Json& id, const std::string& sentence) {
  output_(Json{{"id", id}, {"hostError", sentence}});
}

void Host::run(std::istream& in, bool realClock) {
  const auto start = std::chrono::steady_clock::now();
  auto catchUp = [&] {
    if (realClock) {
      auto behind =
          std::chrono::steady_clock::now() - start - mac_.dispatch.elapsed();
      mac_.dispatch.advance(
          std::chrono::duration_cast<platform::Duration>(behind));
      persist(nullptr);
    }
  };
  std::string line;
  while (true) {
    if (realClock) {
      // Sleep until input arrives or the next timer falls due.
      while (true) {
        catchUp();
        auto next = mac_.dispatch.nextDueIn();
        int timeout = -1;
        if (next) {
          timeout = static_cast<int>(
              std::chrono::ceil<std::chrono::milliseconds>(*next).count());
        }
        pollfd fd{STDIN_FILENO, POLLIN, 0};
        if (in.rdbuf()->in_avail() > 0 || poll(&fd, 1, timeout) != 0) {
          break;
        }
      }
    }
    if (!std::getline(in, line)) {
      break;
    }
    catchUp();
    if (line.find_first_not_of(" \t\r") == std::string::npos) {
      continue;
    }
    handleLine(line);
  }
}

}  // namespace movaro::host
