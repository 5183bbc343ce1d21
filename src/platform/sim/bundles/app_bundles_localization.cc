#include "platform/sim/bundles/app_bundles_localization.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "platform/sim/bundles/plist_reader.h"

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

// The localisations in a resources folder, and whether it holds a global
// InfoPlist.strings.
void listResources(DIR* folder,
                   std::vector<std::string>& localizations,
                   bool& hasGlobalStrings) {
  while (const dirent* entry = ::readdir(folder)) {
    const std::string_view name = entry->d_name;
    if (name == kStringsName && entry->d_type != DT_DIR) {
      hasGlobalStrings = true;
    } else if (name.size() > kLprojSuffix.size() &&
               name.substr(name.size() - kLprojSuffix.size()) == kLprojSuffix) {
      localizations.emplace_back(
          name.substr(0, name.size() - kLprojSuffix.size()));
    }
  }
}

// The folders to look in, in order, once the global file is ruled out.
std::vector<std::string> searchOrder(
    const std::vector<std::string>& localizations,
    const std::vector<std::string>& preferredLanguages,
    const std::optional<std::string>& developmentRegion) {
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
  if (region && region != chosen) {
    order.push_back(*region);
  }
  return order;
}

// The InfoPlist.strings of a localisation, relative to the resources.
std::string stringsIn(const std::string& localization) {
  return localization + std::string(kLprojSuffix) + "/" +
         std::string(kStringsName);
}

// The search with the resources folder listed: the global file, then the
// localisations in search order.
std::optional<std::string> listedLocalizedInfo(
    int bundle,
    const std::string& resourcesPath,
    const std::vector<std::string>& preferredLanguages,
    const std::optional<std::string>& developmentRegion) {
  const int fd = ::openat(bundle, resourcesPath.c_str(),
                          O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) {
    return std::nullopt;
  }
  DIR* folder = ::fdopendir(fd);
  if (folder == nullptr) {
    ::close(fd);
    return std::nullopt;
  }
  std::vector<std::string> localizations;
  bool hasGlobalStrings = false;
  listResources(folder, localizations, hasGlobalStrings);
  std::vector<std::string> candidates;
  if (hasGlobalStrings) {
    candidates.emplace_back(kStringsName);
  }
  for (const std::string& name :
       searchOrder(localizations, preferredLanguages, developmentRegion)) {
    candidates.push_back(stringsIn(name));
  }
  std::optional<std::string> bytes;
  for (const std::string& candidate : candidates) {
    bool missing = false;
    bytes = readSmallFile(::dirfd(folder), candidate, &missing);
    if (!missing) {
      break;
    }
  }
  ::closedir(folder);
  return bytes;
}

// Whether `tag` can be looked up as a folder name as it stands: a tag
// form (not a legacy English name) that is a plain file name.
bool probeable(const std::string& tag) {
  return !tag.empty() && tag.find('/') == std::string::npos && tag != "." &&
         tag != ".." && legacyTag(normalized(tag)).empty();
}

bool hasLocalization(int bundle,
                     const std::string& resources,
                     const std::string& name) {
  struct stat info {};
  const std::string path = resources + name + std::string(kLprojSuffix);
  return ::fstatat(bundle, path.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0;
}

// The search order found by looking up folders by name instead of listing
// the resources folder, which is most of the cost of reading a bundle:
// when the first preferred language and the development region each have
// a folder of exactly their own name, listing would choose those same
// folders. Absent when that does not hold and only a listing can tell.
std::optional<std::vector<std::string>> probedSearchOrder(
    int bundle,
    const std::string& resources,
    const std::vector<std::string>& preferredLanguages,
    const std::optional<std::string>& developmentRegion) {
  if (preferredLanguages.empty()) {
    return std::nullopt;
  }
  const std::string& chosen = preferredLanguages.front();
  if (!probeable(chosen) || !hasLocalization(bundle, resources, chosen)) {
    return std::nullopt;
  }
  std::vector<std::string> order{chosen};
  if (hasLocalization(bundle, resources, "Base")) {
    order.emplace_back("Base");
  }
  if (developmentRegion &&
      normalized(*developmentRegion) != normalized(chosen)) {
    if (!probeable(*developmentRegion) ||
        !hasLocalization(bundle, resources, *developmentRegion)) {
      return std::nullopt;
    }
    order.push_back(*developmentRegion);
  }
  return order;
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

std::optional<std::string> readLocalizedInfo(
    int bundle,
    const std::string& resourcesPath,
    const std::vector<std::string>& preferredLanguages,
    const std::optional<std::string>& developmentRegion) {
  const std::string resources = resourcesPath + "/";
  // The global file, found without listing the folder.
  bool missing = false;
  std::optional<std::string> bytes =
      readSmallFile(bundle, resources + std::string(kStringsName), &missing);
  if (bytes) {
    return bytes;
  }
  std::optional<std::vector<std::string>> order;
  if (missing) {
    order = probedSearchOrder(bundle, resources, preferredLanguages,
                              developmentRegion);
  }
  if (order) {
    for (const std::string& name : *order) {
      bytes = readSmallFile(bundle, resources + stringsIn(name), &missing);
      if (!missing) {
        break;
      }
    }
    return bytes;
  }
  return listedLocalizedInfo(bundle, resourcesPath, preferredLanguages,
                             developmentRegion);
}

}  // namespace movaro::platform
