#include "host/sim_state.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

namespace movaro::host {
namespace {

// The rest of an open file; false, with errno set, when a read fails.
bool readAll(int fd, std::string& text) {
  char buffer[65536];
  while (true) {
    const ssize_t n = ::read(fd, buffer, sizeof buffer);
    if (n < 0 && errno == EINTR) {
      continue;
    }
    if (n <= 0) {
      return n == 0;
    }
    text.append(buffer, static_cast<size_t>(n));
  }
}

}  // namespace

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

bool isSnapshot(const Json& state) {
  if (!state.is_object() || !state.contains("profiles") ||
      !state["profiles"].is_array() || !state.contains("defaults") ||
      !state["defaults"].is_object()) {
    return false;
  }
  for (const Json& profile : state["profiles"]) {
    if (!profile.is_object() || !profile.contains("fields") ||
        !profile["fields"].is_object()) {
      return false;
    }
  }
  return true;
}

void restore(sim::SimulatedMac& mac, const Json& state) {
  for (const Json& profile : state["profiles"]) {
    mac.networkExtension.addSavedProfile(
        sim::profileFieldsFromValue(jsonToValue(profile["fields"])));
  }
  Value defaults = jsonToValue(state["defaults"]);
  mac.defaults.values = *defaults.getIf<ValueMap>();
}

bool writeAtomically(const std::string& path, const std::string& contents) {
  const std::string temporary = path + ".tmp";
  const int fd =
      ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (fd < 0) {
    return false;
  }
  size_t written = 0;
  while (written < contents.size()) {
    const ssize_t n =
        ::write(fd, contents.data() + written, contents.size() - written);
    if (n < 0 && errno == EINTR) {
      continue;
    }
    if (n <= 0) {
      errno = n == 0 ? EIO : errno;
      break;
    }
    written += static_cast<size_t>(n);
  }
  bool done = written == contents.size() && ::fsync(fd) == 0;
  int reason = errno;
  if (::close(fd) != 0 && done) {
    done = false;
    reason = errno;
  }
  if (done && std::rename(temporary.c_str(), path.c_str()) != 0) {
    done = false;
    reason = errno;
  }
  if (!done) {
    ::unlink(temporary.c_str());
    errno = reason;
  }
  return done;
}

std::unique_ptr<StateFolder> StateFolder::open(const std::string& dir,
                                               std::string& error) {
  std::error_code ignored;
  std::filesystem::create_directories(dir, ignored);
  const int lock =
      ::open((dir + "/state.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  if (lock < 0) {
    error = "cannot use the state folder " + dir + ": " + std::strerror(errno);
    return nullptr;
  }
  std::unique_ptr<StateFolder> folder(
      new StateFolder(dir + "/state.json", lock));
  if (::flock(lock, LOCK_EX | LOCK_NB) != 0) {
    error = errno == EWOULDBLOCK
                ? "another movaro-host is using the state folder " + dir
                : "cannot lock the state folder " + dir + ": " +
                      std::strerror(errno);
    return nullptr;
  }
  const int fd = ::open(folder->path_.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0 && errno == ENOENT) {
    return folder;
  }
  std::string text;
  if (fd < 0 || !readAll(fd, text)) {
    error = "cannot read " + folder->path_ + ": " + std::strerror(errno);
  } else if (Json state = Json::parse(text, nullptr, false);
             state.is_discarded()) {
    error = folder->path_ + " is not valid JSON; it was left as it is";
  } else if (!isSnapshot(state)) {
    error = folder->path_ +
            " does not hold saved profiles and defaults; it was left as it is";
  } else {
    folder->saved_ = std::move(state);
    folder->written_ = std::move(text);
  }
  if (fd >= 0) {
    ::close(fd);
  }
  return error.empty() ? std::move(folder) : nullptr;
}

StateFolder::~StateFolder() {
  ::close(lock_);
}

std::optional<std::string> StateFolder::save(const std::string& text) {
  if (text == written_) {
    return std::nullopt;
  }
  if (!writeAtomically(path_, text)) {
    return "The state could not be saved to " + path_ + ": " +
           std::strerror(errno) + ".";
  }
  written_ = text;
  return std::nullopt;
}

}  // namespace movaro::host
