// A named stream of events from the plugins to the interface, opened by a
// "listen" call and closed by "cancel".
#ifndef MOVARO_BRIDGE_EVENT_CHANNEL_H_
#define MOVARO_BRIDGE_EVENT_CHANNEL_H_

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "bridge/binary_messenger.h"
#include "bridge/method_result.h"

namespace movaro {

// Sends events while its stream is the channel's current one; a sink left
// over from an earlier listen sends nothing.
class EventSink {
 public:
  EventSink(BinaryMessenger& messenger, std::string channel)
      : messenger_(messenger), channel_(std::move(channel)) {}
  EventSink(const EventSink&) = delete;
  EventSink& operator=(const EventSink&) = delete;

  void success(const Value& event);
  void error(const PluginError& error);
  void endOfStream();

  bool active() const { return active_; }
  void deactivate() { active_ = false; }

 private:
  BinaryMessenger& messenger_;
  std::string channel_;
  bool active_ = true;
};

class StreamHandler {
 public:
  virtual ~StreamHandler() = default;
  virtual std::optional<PluginError> onListen(
      const Value& arguments,
      const std::shared_ptr<EventSink>& sink) = 0;
  virtual std::optional<PluginError> onCancel(const Value& arguments) = 0;
};

// Runs a listen or a cancel. A C++ exception that escapes it stops here and
// becomes the answer internalError().
std::optional<PluginError> streamCallGuarded(
    const std::function<std::optional<PluginError>()>& call) noexcept;

class EventChannel {
 public:
  EventChannel(BinaryMessenger& messenger, std::string name)
      : messenger_(messenger), name_(std::move(name)) {}

  const std::string& name() const { return name_; }
  // The channel's message handler keeps the stream handler alive.
  void setStreamHandler(std::shared_ptr<StreamHandler> handler);

 private:
  BinaryMessenger& messenger_;
  std::string name_;
};

}  // namespace movaro

#endif  // MOVARO_BRIDGE_EVENT_CHANNEL_H_
