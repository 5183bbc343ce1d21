// The simulated Mac's bundles, file system, defaults, workspace and system.
#ifndef MOVARO_PLATFORM_SIM_SIM_FOUNDATION_H_
#define MOVARO_PLATFORM_SIM_SIM_FOUNDATION_H_

#include <map>
#include <optional>
#include <set>
#include <string>

#include "platform/foundation.h"
#include "platform/sim/os_log.h"

namespace movaro::sim {

// A bundle described by its identifier and information entries.
struct BundleContents {
  std::optional<std::string> identifier;
  ValueMap info;
};

class SimBundle : public platform::Bundle {
 public:
  explicit SimBundle(BundleContents contents)
      : contents_(std::move(contents)) {}
  std::optional<std::string> bundleIdentifier() const override {
    return contents_.identifier;
  }
  std::optional<Value> objectForInfoDictionaryKey(
      const std::string& key) const override;

 private:
  BundleContents contents_;
};

class SimMainBundle : public platform::MainBundle {
 public:
  std::optional<std::string> bundleIdentifier() const override {
    return contents.identifier;
  }
  std::optional<Value> objectForInfoDictionaryKey(
      const std::string& key) const override;
  std::string bundlePath() const override { return path; }
  // The identifier and its CFBundleIdentifier entry, which change together.
  void setIdentifier(const std::optional<std::string>& identifier);

  BundleContents contents;
  std::string path;
};

class SimFileManager : public platform::FileManager {
 public:
  bool fileExists(const std::string& path) const override;
  std::string homeDirectory() const override { return home; }
  std::optional<std::vector<std::string>> enumerate(
      const std::string& folder) const override;
  std::unique_ptr<platform::Bundle> openBundle(
      const std::string& path) const override;

  // Bundles that exist only in the simulation (inside the app bundle).
  std::map<std::string, BundleContents> virtualBundles;
  std::string home = "/Users/sim";
  // Folders of the simulated Mac backed by real folders (fixture trees):
  // "/Applications" and the home folder's "Applications". Their entries
  // are real paths, read as real bundles.
  std::map<std::string, std::string> realFolders;
  std::vector<std::string> preferredLanguages{"en"};
};

class SimUserDefaults : public platform::UserDefaults {
 public:
  explicit SimUserDefaults(OsLog& log) : log_(log) {}
  bool boolForKey(const std::string& key) const override;
  std::optional<Value> objectForKey(const std::string& key) const override;
  void setBool(const std::string& key, bool value) override;
  void setObject(const std::string& key, const Value& value) override;

  ValueMap values;

 private:
  OsLog& log_;
};

class SimWorkspace : public platform::Workspace {
 public:
  explicit SimWorkspace(OsLog& log) : log_(log) {}
  void openUrl(const std::string& url) override;

  std::vector<std::string> opened;

 private:
  OsLog& log_;
};

class SimSystemInfo : public platform::SystemInfo {
 public:
  platform::OsVersion operatingSystemVersion() const override {
    return version;
  }
  std::string operatingSystemVersionString() const override {
    return versionString;
  }

  platform::OsVersion version{14, 5, 0};
  std::string versionString = "Version 14.5 (Build 23F79)";
};

}  // namespace movaro::sim

#endif  // MOVARO_PLATFORM_SIM_SIM_FOUNDATION_H_
