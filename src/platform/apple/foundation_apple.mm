// AppKit and Foundation: NSBundle, NSFileManager, NSUserDefaults,
// NSWorkspace and NSProcessInfo. All calls are synchronous.
#include "platform/foundation.h"

#import <AppKit/AppKit.h>
#import <Foundation/Foundation.h>

#include "platform/apple/adapters_apple.h"
#include "platform/apple/conversions_apple.h"

namespace movaro::platform::apple {
namespace {

std::optional<Value> infoEntry(NSBundle* bundle, const std::string& key) {
  id entry = [bundle objectForInfoDictionaryKey:toNSString(key)];
  return entry ? std::optional<Value>(toValue(entry)) : std::nullopt;
}

class AppleBundle : public Bundle {
 public:
  explicit AppleBundle(NSBundle* bundle) : bundle_(bundle) {}

  std::optional<std::string> bundleIdentifier() const override {
    return toOptionalString(bundle_.bundleIdentifier);
  }
  std::optional<Value> objectForInfoDictionaryKey(
      const std::string& key) const override {
    return infoEntry(bundle_, key);
  }

 private:
  NSBundle* bundle_;
};

class AppleMainBundle : public MainBundle {
 public:
  std::optional<std::string> bundleIdentifier() const override {
    return toOptionalString(NSBundle.mainBundle.bundleIdentifier);
  }
  std::optional<Value> objectForInfoDictionaryKey(
      const std::string& key) const override {
    return infoEntry(NSBundle.mainBundle, key);
  }
  std::string bundlePath() const override {
    return toStdString(NSBundle.mainBundle.bundleURL.path);
  }
};

class AppleFileManager : public FileManager {
 public:
  bool fileExists(const std::string& path) const override {
    return [NSFileManager.defaultManager fileExistsAtPath:toNSString(path)];
  }

  std::string homeDirectory() const override {
    return toStdString(
        NSFileManager.defaultManager.homeDirectoryForCurrentUser.path);
  }

  // Errors inside the folder are passed over (no error handler); a folder
  // that does not exist yields no entries.
  std::optional<std::vector<std::string>> enumerate(
      const std::string& folder) const override {
    NSDirectoryEnumerator* enumerator = [NSFileManager.defaultManager
                   enumeratorAtURL:[NSURL fileURLWithPath:toNSString(folder)
                                              isDirectory:YES]
        includingPropertiesForKeys:@[ NSURLIsApplicationKey ]
                           options:
                               NSDirectoryEnumerationSkipsPackageDescendants |
                               NSDirectoryEnumerationSkipsHiddenFiles
                      errorHandler:nil];
    if (!enumerator) {
      return std::nullopt;
    }
    std::vector<std::string> entries;
    for (NSURL* url in enumerator) {
      entries.push_back(toStdString(url.path));
    }
    return entries;
  }

  std::unique_ptr<Bundle> openBundle(const std::string& path) const override {
    NSBundle* bundle =
        [NSBundle bundleWithURL:[NSURL fileURLWithPath:toNSString(path)]];
    return bundle ? std::make_unique<AppleBundle>(bundle) : nullptr;
  }
};

class AppleUserDefaults : public UserDefaults {
 public:
  bool boolForKey(const std::string& key) const override {
    return [NSUserDefaults.standardUserDefaults boolForKey:toNSString(key)];
  }

  std::optional<Value> objectForKey(const std::string& key) const override {
    id object =
        [NSUserDefaults.standardUserDefaults objectForKey:toNSString(key)];
    return object ? std::optional<Value>(toValue(object)) : std::nullopt;
  }

  void setBool(const std::string& key, bool value) override {
    [NSUserDefaults.standardUserDefaults setBool:value forKey:toNSString(key)];
  }

  // A null value removes the key, as setObject:nil does. The value must be
  // a property list (no null inside lists or maps).
  void setObject(const std::string& key, const Value& value) override {
    [NSUserDefaults.standardUserDefaults
        setObject:value.isNull() ? nil : toObjC(value)
           forKey:toNSString(key)];
  }
};

class AppleWorkspace : public Workspace {
 public:
  // A text that is no URL opens nothing.
  void openUrl(const std::string& url) override {
    if (NSURL* link = [NSURL URLWithString:toNSString(url)]) {
      [NSWorkspace.sharedWorkspace openURL:link];
    }
  }
};

class AppleSystemInfo : public SystemInfo {
 public:
  OsVersion operatingSystemVersion() const override {
    const NSOperatingSystemVersion version =
        NSProcessInfo.processInfo.operatingSystemVersion;
    return OsVersion{static_cast<int>(version.majorVersion),
                     static_cast<int>(version.minorVersion),
                     static_cast<int>(version.patchVersion)};
  }
  std::string operatingSystemVersionString() const override {
    return toStdString(NSProcessInfo.processInfo.operatingSystemVersionString);
  }
};

}  // namespace

FoundationAdapters makeFoundation() {
  return FoundationAdapters{
      std::make_unique<AppleMainBundle>(), std::make_unique<AppleFileManager>(),
      std::make_unique<AppleUserDefaults>(), std::make_unique<AppleWorkspace>(),
      std::make_unique<AppleSystemInfo>()};
}

}  // namespace movaro::platform::apple
