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
#include "platform/sim/bundles/app_bundles.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "platform/sim/bundles/app_bundles_localization.h"
#include "platform/sim/bundles/plist_reader.h"

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

bool endsWith(std::string_view text, std::string_view suffix) {
  return text.size() >= suffix.size() &&
         text.substr(text.size() - suffix.size()) == suffix;
}

// An open folder, closed when it goes.
class OpenFolder {
 public:
  explicit OpenFolder(const std::string& path)
      : fd_(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {}
  ~OpenFolder() {
    if (fd_ >= 0) {
      ::close(fd_);
    }
  }
  OpenFolder(const OpenFolder&) = delete;
  OpenFolder& operator=(const OpenFolder&) = delete;

  bool isOpen() const { return fd_ >= 0; }
  int fd() const { return fd_; }
  bool hasFolder(const char* relative) const {
    struct stat info {};
    return ::fstatat(fd_, relative, &info, 0) == 0 && S_ISDIR(info.st_mode);
  }
  // The information list in `folder` ("." for the top): the platform
  // variant when there is one. Absent when neither is there (then
  // `*missing` is set) or the one there cannot be read.
  std::optional<std::string> readInfo(const std::string& folder,
                                      bool* missing) const {
    std::optional<std::string> bytes =
        readSmallFile(fd_, folder + "/Info-macos.plist", missing);
    if (!bytes && *missing) {
      bytes = readSmallFile(fd_, folder + "/Info.plist", missing);
    }
    return bytes;
  }

 private:
  int fd_;
};

// A bundle's entries, read when it is opened; paths are looked up relative
// to the open bundle folder, which saves walking its full path again.
class FileBundle final : public Bundle {
 public:
  FileBundle(PropertyListDictionary info, PropertyListDictionary localized)
      : info_(std::move(info)), localized_(std::move(localized)) {}

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

  PropertyListDictionary info_;
  PropertyListDictionary localized_;
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
  if (path.empty()) {
    return nullptr;
  }
  const OpenFolder bundle(path);
  if (!bundle.isOpen()) {
    return nullptr;
  }
  // The layout, found from where the information list is.
  bool missing = false;
  std::optional<std::string> bytes = bundle.readInfo("Contents", &missing);
  std::string resources = "Contents/Resources";
  if (missing && !bundle.hasFolder("Contents")) {
    if (bundle.hasFolder("Resources")) {
      resources = "Resources";
      bytes = bundle.readInfo(resources, &missing);
    } else {
      resources = ".";
      std::string_view name = path;
      while (name.size() > 1 && name.back() == '/') {
        name.remove_suffix(1);
      }
      name.remove_prefix(name.find_last_of('/') + 1);
      if (name != "Contents" && name != "Support Files") {
        bytes = bundle.readInfo(resources, &missing);
      }
    }
  }
  PropertyListDictionary info =
      bytes ? PropertyListDictionary::parse(*bytes) : PropertyListDictionary();
  std::optional<std::string> localized =
      readLocalizedInfo(bundle.fd(), resources, preferredLanguages,
                        info.findString("CFBundleDevelopmentRegion"));
  return std::make_unique<FileBundle>(
      std::move(info), localized ? PropertyListDictionary::parse(*localized)
                                 : PropertyListDictionary());
}

}  // namespace movaro::platform
