#include "platform/sim/os_log.h"

namespace movaro::sim {

void OsLog::record(const std::string& name, ValueMap details) {
  std::lock_guard<std::mutex> lock(mutex_);
  calls_.push_back(OsCall{dispatch_.elapsed(), name, std::move(details)});
}

std::vector<std::string> OsLog::names() const {
  std::vector<std::string> result;
  for (const OsCall& call : calls_) {
    result.push_back(call.name);
  }
  return result;
}

std::vector<OsCall> OsLog::named(const std::string& name) const {
  std::vector<OsCall> result;
  for (const OsCall& call : calls_) {
    if (call.name == name) {
      result.push_back(call);
    }
  }
  return result;
}

Value OsLog::toValue() const {
  ValueList list;
  for (const OsCall& call : calls_) {
    ValueMap entry = call.details;
    entry[Value("call")] = Value(call.name);
    entry[Value("at")] = Value(std::chrono::duration<double>(call.at).count());
    list.emplace_back(std::move(entry));
  }
  return list;
}

}  // namespace movaro::sim
