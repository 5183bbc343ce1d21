// The applications installed in the two application folders, for split
// tunnelling.
#include <algorithm>
#include <map>

#include "platform/text/unicode_text.h"
#include "tunnel/movaro_platform_plugin.h"

namespace movaro {
namespace {

std::string fileName(const std::string& path) {
  size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::optional<std::string> stringEntry(const platform::Bundle& bundle,
                                       const char* key) {
  std::optional<Value> value = bundle.objectForInfoDictionaryKey(key);
  const auto* text = value ? value->getIf<std::string>() : nullptr;
  return text ? std::optional<std::string>(*text) : std::nullopt;
}

}  // namespace

ValueList MovaroPlatformPlugin::launchableApplications() const {
  const platform::FileManager& files = services_.fileManager;
  const std::optional<std::string> self =
      services_.mainBundle.bundleIdentifier();
  // Identifier to label; a bundle met later replaces an earlier label.
  std::map<std::string, std::string> labels;
  for (const std::string& folder : {std::string("/Applications"),
                                    files.homeDirectory() + "/Applications"}) {
    auto entries = files.enumerate(folder);
    if (!entries) {
      continue;
    }
    for (const std::string& entry : *entries) {
      std::string name = fileName(entry);
      size_t dot = name.find_last_of('.');
      if (dot == std::string::npos ||
          name.compare(dot, std::string::npos, ".app") != 0) {
        continue;
      }
      auto bundle = files.openBundle(entry);
      if (!bundle) {
        continue;
      }
      std::optional<std::string> identifier = bundle->bundleIdentifier();
      if (!identifier || (self && *self == *identifier)) {
        continue;
      }
      std::optional<std::string> label =
          stringEntry(*bundle, "CFBundleDisplayName");
      if (!label) {
        label = stringEntry(*bundle, "CFBundleName");
      }
      labels[*identifier] = label ? *label : name.substr(0, dot);
    }
  }
  // Sorted by the Unicode scalars of the composed labels: no locale, no
  // case folding. Ties keep the identifier order.
  std::vector<std::pair<std::string, ValueMap>> keyed;
  keyed.reserve(labels.size());
  for (const auto& [identifier, label] : labels) {
    keyed.emplace_back(platform::toNfc(label),
                       dict({{"packageName", identifier}, {"label", label}}));
  }
  std::stable_sort(
      keyed.begin(), keyed.end(),
      [](const auto& a, const auto& b) { return a.first < b.first; });
  ValueList result;
  result.reserve(keyed.size());
  for (auto& [key, app] : keyed) {
    result.emplace_back(std::move(app));
  }
  return result;
}

}  // namespace movaro
