#include "platform/app_bundles_localization.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace movaro::platform {
namespace {

constexpr std::string_view kLprojSuffix = ".lproj";
constexpr std::string_view kStringsName = "InfoPlist.strings";

// The English language names that early bundles used as localisation
// names, with the tags they stand for.
constexpr std::pair<std::string_view, std::string_view> kLegacyNames[] = {
    {"arabic", "ar"},     {"bulgarian", "bg"},  {"catalan", "ca"},
    {"croatian", "hr"},   {"czech", "cs"},      {"danish", "da"},
    {"dutch", "nl"},      {"english", "en"},    {"estonian", "et"},
    {"finnish", "fi"},    {"french", "fr"},     {"german", "de"},
    {"greek", "el"},      {"hebrew", "he"},     {"hindi", "hi"},
    {"hungarian", "hu"},  {"icelandic", "is"},  {"indonesian", "id"},
    {"italian", "it"},    {"japanese", "ja"},   {"korean", "ko"},
    {"latvian", "lv"},    {"lithuanian", "lt"}, {"malay", "ms"},
    {"maltese", "mt"},    {"norwegian", "nb"},  {"polish", "pl"},
    {"portuguese", "pt"}, {"romanian", "ro"},   {"russian", "ru"},
    {"serbian", "sr"},    {"slovak", "sk"},     {"slovenian", "sl"},
    {"spanish", "es"},    {"swedish", "sv"},    {"thai", "th"},
    {"turkish", "tr"},    {"ukrainian", "uk"},  {"vietnamese", "vi"},
};

// Lower case, "_" as "-".
std::string normalized(std::string_view tag) {
  std::string out(tag);
  for (char& c : out) {
    if (c >= 'A' && c <= 'Z') {
      c = static_cast<char>(c - 'A' + 'a');
    } else if (c == '_') {
      c = '-';
    }
  }
  return out;
}

std::string_view legacyTag(std::string_view name) {
  for (const auto& [legacy, tag] : kLegacyNames) {
    if (legacy == name) {
      return tag;
    }
  }
  return {};
}

// The localisation whose tag is `wanted` (normalised): the tag form first,
// then the legacy name.
const std::string* findLocalization(const std::vector<std::string>& available,
                                    const std::string& wanted) {
  for (const std::string& name : available) {
    if (normalized(name) == wanted) {
      return &name;
    }
  }
  for (const std::string& name : available) {
    if (legacyTag(normalized(name)) == wanted) {
      return &name;
    }
  }
  return nullptr;
}

bool isFile(const std::string& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0 && !S_ISDIR(info.st_mode);
}

// The localisations in a resources folder, and whether it holds a global
// InfoPlist.strings; false when the folder cannot be read.
bool listResources(const std::string& folder,
                   std::vector<std::string>& localizations,
                   bool& hasGlobalStrings) {
  DIR* dir = ::opendir(folder.c_str());
  if (dir == nullptr) {
    return false;
  }
  while (const dirent* entry = ::readdir(dir)) {
    const std::string_view name = entry->d_name;
    if (name == kStringsName && entry->d_type != DT_DIR) {
      hasGlobalStrings = true;
    } else if (name.size() > kLprojSuffix.size() &&
               name.substr(name.size() - kLprojSuffix.size()) == kLprojSuffix) {
      localizations.emplace_back(
          name.substr(0, name.size() - kLprojSuffix.size()));
    }
  }
  ::closedir(dir);
  return true;
}

}  // namespace

std::optional<std::string> preferredLocalization(
    const std::vector<std::string>& available,
    const std::vector<std::string>& preferredLanguages) {
  for (const std::string& preference : preferredLanguages) {
    std::string wanted = normalized(preference);
    if (const std::string_view tag = legacyTag(wanted); !tag.empty()) {
      wanted = tag;
    }
    while (!wanted.empty()) {
      if (const std::string* found = findLocalization(available, wanted)) {
        return *found;
      }
      const size_t dash = wanted.find_last_of('-');
      wanted.resize(dash == std::string::npos ? 0 : dash);
    }
  }
  return std::nullopt;
}

std::optional<std::string> localizedInfoPath(
    const std::string& resourcesFolder,
    const std::vector<std::string>& preferredLanguages,
    const std::optional<std::string>& developmentRegion) {
  std::vector<std::string> localizations;
  bool hasGlobalStrings = false;
  if (!listResources(resourcesFolder, localizations, hasGlobalStrings)) {
    return std::nullopt;
  }
  const std::string global = resourcesFolder + "/" + std::string(kStringsName);
  if (hasGlobalStrings && isFile(global)) {
    return global;
  }
  if (localizations.empty()) {
    return std::nullopt;
  }
  std::optional<std::string> region;
  if (developmentRegion) {
    region = preferredLocalization(localizations, {*developmentRegion});
  }
  std::optional<std::string> chosen =
      preferredLocalization(localizations, preferredLanguages);
  if (!chosen) {
    chosen = region;
  }
  std::vector<std::string> order;
  if (chosen) {
    order.push_back(*chosen);
  }
  if (std::find(localizations.begin(), localizations.end(), "Base") !=
      localizations.end()) {
    order.emplace_back("Base");
  }
  if (region) {
    order.push_back(*region);
  }
  for (const std::string& name : order) {
    const std::string path = resourcesFolder + "/" + name +
                             std::string(kLprojSuffix) + "/" +
                             std::string(kStringsName);
    if (isFile(path)) {
      return path;
    }
  }
  return std::nullopt;
}

}  // namespace movaro::platform
