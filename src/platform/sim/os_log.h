// The ordered record of every OS call the plugins made, stamped with
// virtual time, so that tests can assert whole sequences.
#ifndef MOVARO_PLATFORM_SIM_OS_LOG_H_
#define MOVARO_PLATFORM_SIM_OS_LOG_H_

#include <mutex>
#include <string>
#include <vector>

#include "bridge/value.h"
#include "platform/sim/sim_dispatch.h"

namespace movaro::sim {

struct OsCall {
  Duration at;
  std::string name;
  ValueMap details;
};

class OsLog {
 public:
  explicit OsLog(const SimDispatch& dispatch) : dispatch_(dispatch) {}

  void record(const std::string& name, ValueMap details = {});
  const std::vector<OsCall>& calls() const { return calls_; }
  // The names of the calls, in order.
  std::vector<std::string> names() const;
  // Calls of one name.
  std::vector<OsCall> named(const std::string& name) const;
  void clear() { calls_.clear(); }
  // Each call as {"at": seconds, "call": name, ...details}.
  Value toValue() const;

 private:
  const SimDispatch& dispatch_;
  // Notification calls come from other threads.
  std::mutex mutex_;
  std::vector<OsCall> calls_;
};

}  // namespace movaro::sim

#endif  // MOVARO_PLATFORM_SIM_OS_LOG_H_
