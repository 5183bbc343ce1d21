// The folder walk and the bundle reader on a real file system.
//
// Walk. An entry is hidden when its name starts with "."; hidden entries
// are neither yielded nor entered. Each folder's entries are yielded in
// byte order of their names, each folder's contents right after the
// folder. Symbolic links are yielded but never followed, so a link cannot
// lead the walk into a loop (the starting folder itself may be a link).
// A folder that cannot be read is yielded and passed over.
//
// Packages. macOS decides from the file type registered for a folder's
// extension, from the folder's bundle bit and from a few known structures.
// Here a folder is a package when its extension is one that macOS declares
// as a package type (kPackageExtensions); the bundle bit has no
// counterpart here. Extensions match without regard to case, as file-type
// tags do on macOS, so "Tool.APP" is a package (and its contents are not
// walked) even though it is not listed as an application. Frameworks are
// bundles but not packages: Finder and the enumerator enter them.
//
// Bundles. A folder is a bundle (Foundation opens any folder as one, even
// without an information list); anything else is not. The layout follows
// Foundation's: with a "Contents" folder the information list and the
// resources are in Contents and Contents/Resources (the macOS layout);
// else with a "Resources" folder both are there (the old layout); else
// both are at the top (the flat layout of iOS-style bundles), except in a
// folder named "Contents" or "Support Files", which is the inside of
// another bundle. "Info-macos.plist" takes precedence over "Info.plist".
// Entries named "Key-macos" replace "Key" in both the information list and
// the localised table, and are not found under their own name.
#include "platform/app_bundles.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <mutex>
#include <string_view>
#include <utility>

#include "platform/app_bundles_localization.h"
#include "platform/plist_reader.h"

namespace movaro::platform {
namespace {

// Extensions of the folder types that macOS declares as packages
// (application, plug-in, extension, driver, document and library
// packages), in lower case.
constexpr std::string_view kPackageExtensions[] = {
    "aaxplugin",
    "action",
    "app",
    "appex",
    "band",
    "bundle",
    "colorpicker",
    "component",
    "definition",
    "dext",
    "docset",
    "driver",
    "fcpbundle",
    "ibplugin",
    "imovielibrary",
    "key",
    "kext",
    "logicx",
    "mdimporter",
    "menu",
    "mpkg",
    "numbers",
    "osax",
    "pages",
    "photoslibrary",
    "pkg",
    "playground",
    "plugin",
    "prefpane",
    "qlgenerator",
    "rtfd",
    "saver",
    "scptd",
    "service",
    "slidesaver",
    "sparsebundle",
    "systemextension",
    "vst",
    "vst3",
    "wdgt",
    "workflow",
    "xcarchive",
    "xcodeproj",
    "xcworkspace",
    "xpc",
};

constexpr std::string_view kPlatformSuffix = "-macos";

bool isPackageName(std::string_view name) {
  const size_t dot = name.find_last_of('.');
  if (dot == std::string_view::npos || dot + 1 == name.size()) {
    return false;
  }
  std::string extension(name.substr(dot + 1));
  for (char& c : extension) {
    if (c >= 'A' && c <= 'Z') {
      c = static_cast<char>(c - 'A' + 'a');
    }
  }
  return std::find(std::begin(kPackageExtensions), std::end(kPackageExtensions),
                   extension) != std::end(kPackageExtensions);
}

std::string joinPath(const std::string& folder, std::string_view name) {
  std::string path = folder;
  if (path.empty() || path.back() != '/') {
    path += '/';
  }
  path += name;
  return path;
}

struct Child {
  std::string name;
  bool enter = false;
};

// The visible entries of a folder, sorted by name, each marked with
// whether the walk enters it; false when the folder cannot be opened.
bool listFolder(const std::string& folder, std::vector<Child>& children) {
  children.clear();
  DIR* dir = ::opendir(folder.c_str());
  if (dir == nullptr) {
    return false;
  }
  while (const dirent* entry = ::readdir(dir)) {
    const std::string_view name = entry->d_name;
    if (name.empty() || name.front() == '.') {
      continue;
    }
    bool isFolder = entry->d_type == DT_DIR;
    if (entry->d_type == DT_UNKNOWN) {
      struct stat info {};
      isFolder = ::lstat(joinPath(folder, name).c_str(), &info) == 0 &&
                 S_ISDIR(info.st_mode);
    }
    children.push_back({std::string(name), isFolder && !isPackageName(name)});
  }
  ::closedir(dir);
  std::sort(children.begin(), children.end(),
            [](const Child& a, const Child& b) { return a.name < b.name; });
  return true;
}

bool isFolder(const std::string& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool endsWith(std::string_view text, std::string_view suffix) {
  return text.size() >= suffix.size() &&
         text.substr(text.size() - suffix.size()) == suffix;
}

class FileBundle final : public Bundle {
 public:
  FileBundle(PropertyListDictionary info,
             std::string resourcesFolder,
             std::vector<std::string> preferredLanguages)
      : info_(std::move(info)),
        resourcesFolder_(std::move(resourcesFolder)),
        preferredLanguages_(std::move(preferredLanguages)) {}

  std::optional<std::string> bundleIdentifier() const override {
    if (auto identifier = info_.findString(std::string("CFBundleIdentifier") +
                                           std::string(kPlatformSuffix))) {
      return identifier;
    }
    return info_.findString("CFBundleIdentifier");
  }

  std::optional<Value> objectForInfoDictionaryKey(
      const std::string& key) const override {
    if (endsWith(key, kPlatformSuffix)) {
      return std::nullopt;
    }
    // The localised table is read on first use only: most callers ask
    // for the identifier first and may not go on.
    std::call_once(localizedLoaded_, [this] { loadLocalized(); });
    if (auto value = entry(localized_, key)) {
      return value;
    }
    return entry(info_, key);
  }

 private:
  static std::optional<Value> entry(const PropertyListDictionary& table,
                                    const std::string& key) {
    if (table.empty()) {
      return std::nullopt;
    }
    if (auto value = table.find(key + std::string(kPlatformSuffix))) {
      return value;
    }
    return table.find(key);
  }

  void loadLocalized() const {
    std::optional<std::string> region =
        info_.findString("CFBundleDevelopmentRegion");
    std::optional<std::string> path =
        localizedInfoPath(resourcesFolder_, preferredLanguages_, region);
    if (!path) {
      return;
    }
    if (std::optional<std::string> bytes = readSmallFile(*path)) {
      localized_ = PropertyListDictionary::parse(*bytes);
    }
  }

  PropertyListDictionary info_;
  std::string resourcesFolder_;
  std::vector<std::string> preferredLanguages_;
  mutable std::once_flag localizedLoaded_;
  mutable PropertyListDictionary localized_;
};

}  // namespace

std::optional<std::vector<std::string>> enumerateFolder(
    const std::string& folder) {
  std::string root = folder;
  while (root.size() > 1 && root.back() == '/') {
    root.pop_back();
  }
  std::vector<Child> children;
  if (!listFolder(root, children)) {
    return std::nullopt;
  }
  // Depth first with an explicit stack (no recursion however deep the
  // tree): a folder's children are pushed in reverse so that they come off
  // in name order.
  struct Pending {
    std::string path;
    bool enter;
  };
  std::vector<Pending> pending;
  auto pushChildren = [&pending, &children](const std::string& parent) {
    for (auto it = children.rbegin(); it != children.rend(); ++it) {
      pending.push_back({joinPath(parent, it->name), it->enter});
    }
  };
  pushChildren(root);
  std::vector<std::string> entries;
  while (!pending.empty()) {
    Pending next = std::move(pending.back());
    pending.pop_back();
    if (next.enter && listFolder(next.path, children)) {
      pushChildren(next.path);
    }
    entries.push_back(std::move(next.path));
  }
  return entries;
}

std::unique_ptr<Bundle> openBundleAt(
    const std::string& path,
    const std::vector<std::string>& preferredLanguages) {
  std::string base = path;
  while (base.size() > 1 && base.back() == '/') {
    base.pop_back();
  }
  if (base.empty()) {
    return nullptr;
  }
  std::string infoFolder;
  std::string resourcesFolder;
  if (isFolder(base + "/Contents")) {
    infoFolder = base + "/Contents";
    resourcesFolder = infoFolder + "/Resources";
  } else if (!isFolder(base)) {
    return nullptr;
  } else if (isFolder(base + "/Resources")) {
    infoFolder = base + "/Resources";
    resourcesFolder = infoFolder;
  } else {
    resourcesFolder = base;
    const std::string_view name =
        std::string_view(base).substr(base.find_last_of('/') + 1);
    if (name != "Contents" && name != "Support Files") {
      infoFolder = base;
    }
  }
  PropertyListDictionary info;
  if (!infoFolder.empty()) {
    std::optional<std::string> bytes =
        readSmallFile(infoFolder + "/Info-macos.plist");
    if (!bytes) {
      bytes = readSmallFile(infoFolder + "/Info.plist");
    }
    if (bytes) {
      info = PropertyListDictionary::parse(*bytes);
    }
  }
  return std::make_unique<FileBundle>(
      std::move(info), std::move(resourcesFolder), preferredLanguages);
}

}  // namespace movaro::platform
