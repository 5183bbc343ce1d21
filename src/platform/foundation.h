// AppKit and Foundation: the main bundle, other bundles, the file system,
// the user defaults store, the workspace and the running system.
#ifndef MOVARO_PLATFORM_FOUNDATION_H_
#define MOVARO_PLATFORM_FOUNDATION_H_

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "bridge/value.h"

namespace movaro::platform {

// A bundle's identity and information entries.
class Bundle {
 public:
  virtual ~Bundle() = default;
  virtual std::optional<std::string> bundleIdentifier() const = 0;
  // The entry's value (localised where the bundle has a localisation),
  // of whatever type it holds; absent when missing.
  virtual std::optional<Value> objectForInfoDictionaryKey(
      const std::string& key) const = 0;
};

class MainBundle : public Bundle {
 public:
  // The path of the running application bundle (bundleURL's path).
  virtual std::string bundlePath() const = 0;
};

class FileManager {
 public:
  virtual ~FileManager() = default;
  virtual bool fileExists(const std::string& path) const = 0;
  virtual std::string homeDirectory() const = 0;
  // The entries below a folder, as the enumerator yields them with the
  // skip-hidden-files and skip-package-descendants options: any depth, not
  // into packages, hidden entries left out. Absent when the folder cannot
  // be enumerated.
  virtual std::optional<std::vector<std::string>> enumerate(
      const std::string& folder) const = 0;
  // Opens the bundle at a path; null when there is none.
  virtual std::unique_ptr<Bundle> openBundle(const std::string& path) const = 0;
};

class UserDefaults {
 public:
  virtual ~UserDefaults() = default;
  // False when unset or not a boolean.
  virtual bool boolForKey(const std::string& key) const = 0;
  virtual std::optional<Value> objectForKey(const std::string& key) const = 0;
  virtual void setBool(const std::string& key, bool value) = 0;
  virtual void setObject(const std::string& key, const Value& value) = 0;
};

class Workspace {
 public:
  virtual ~Workspace() = default;
  // Opens a link; whether it opened is of no interest to the plugins.
  virtual void openUrl(const std::string& url) = 0;
};

struct OsVersion {
  int major = 0;
  int minor = 0;
  int patch = 0;
};

class SystemInfo {
 public:
  virtual ~SystemInfo() = default;
  virtual OsVersion operatingSystemVersion() const = 0;
  // ProcessInfo's human-readable version string.
  virtual std::string operatingSystemVersionString() const = 0;
};

bool atLeast(const OsVersion& version, int major, int minor = 0);

}  // namespace movaro::platform

#endif  // MOVARO_PLATFORM_FOUNDATION_H_
