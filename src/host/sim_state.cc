#include "host/sim_state.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

namespace movaro::host {

Json snapshot(sim::SimulatedMac& mac) {
  Json profiles = Json::array();
  for (const sim::SavedProfile& saved : mac.networkExtension.saved()) {
    profiles.push_back(
        {{"id", saved.id},
         {"fields", valueToJson(sim::profileFieldsToValue(saved.fields))}});
  }
  return {{"profiles", profiles},
          {"defaults", valueToJson(mac.defaults.values)}};
}

void restore(sim::SimulatedMac& mac, const Json& state) {
  if (!state.is_object()) {
    return;
  }
  if (state.contains("profiles") && state["profiles"].is_array()) {
    for (const Json& profile : state["profiles"]) {
      if (profile.is_object() && profile.contains("fields")) {
        mac.networkExtension.addSavedProfile(
            sim::profileFieldsFromValue(jsonToValue(profile["fields"])));
      }
    }
  }
  if (state.contains("defaults") && state["defaults"].is_object()) {
    Value defaults = jsonToValue(state["defaults"]);
    mac.defaults.values = *defaults.getIf<ValueMap>();
  }
}

bool writeAtomically(const std::string& path, const std::string& contents) {
  const std::string temporary = path + ".tmp";
  int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (fd < 0) {
    return false;
  }
  size_t written = 0;
  while (written < contents.size()) {
    ssize_t n =
        ::write(fd, contents.data() + written, contents.size() - written);
    if (n <= 0) {
      ::close(fd);
      ::unlink(temporary.c_str());
      return false;
    }
    written += static_cast<size_t>(n);
  }
  bool synced = ::fsync(fd) == 0;
  ::close(fd);
  if (!synced || std::rename(temporary.c_str(), path.c_str()) != 0) {
    ::unlink(temporary.c_str());
    return false;
  }
  return true;
}

}  // namespace movaro::host
