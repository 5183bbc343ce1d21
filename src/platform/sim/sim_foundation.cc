#include "platform/sim/sim_foundation.h"

#include "platform/sim/bundles/app_bundles.h"

namespace movaro::sim {

std::optional<Value> SimBundle::objectForInfoDictionaryKey(
    const std::string& key) const {
  const Value* value = find(contents_.info, key);
  return value ? std::optional<Value>(*value) : std::nullopt;
}

std::optional<Value> SimMainBundle::objectForInfoDictionaryKey(
    const std::string& key) const {
  const Value* value = find(contents.info, key);
  return value ? std::optional<Value>(*value) : std::nullopt;
}

void SimMainBundle::setIdentifier(
    const std::optional<std::string>& identifier) {
  contents.identifier = identifier;
  if (identifier) {
    contents.info[Value("CFBundleIdentifier")] = *identifier;
  } else {
    contents.info.erase(Value("CFBundleIdentifier"));
  }
}

bool SimFileManager::fileExists(const std::string& path) const {
  std::string trimmed = path;
  while (trimmed.size() > 1 && trimmed.back() == '/') {
    trimmed.pop_back();
  }
  return virtualBundles.count(trimmed) != 0;
}

std::optional<std::vector<std::string>> SimFileManager::enumerate(
    const std::string& folder) const {
  auto it = realFolders.find(folder);
  if (it == realFolders.end()) {
    return std::nullopt;
  }
  return platform::enumerateFolder(it->second);
}

std::unique_ptr<platform::Bundle> SimFileManager::openBundle(
    const std::string& path) const {
  auto it = virtualBundles.find(path);
  if (it == virtualBundles.end()) {
    return platform::openBundleAt(path, preferredLanguages);
  }
  return std::make_unique<SimBundle>(it->second);
}

bool SimUserDefaults::boolForKey(const std::string& key) const {
  const Value* value = find(values, key);
  if (value == nullptr) {
    return false;
  }
  if (const auto* b = value->getIf<bool>()) {
    return *b;
  }
  if (const auto* i = value->getIf<int32_t>()) {
    return *i != 0;
  }
  if (const auto* l = value->getIf<int64_t>()) {
    return *l != 0;
  }
  if (const auto* d = value->getIf<double>()) {
    return *d != 0;
  }
  // Foundation reads "YES", "true" and non-zero digits as true.
  if (const auto* s = value->getIf<std::string>()) {
    if (s->empty()) {
      return false;
    }
    char c = (*s)[0];
    return c == 'Y' || c == 'y' || c == 'T' || c == 't' ||
           (c >= '1' && c <= '9');
  }
  return false;
}

std::optional<Value> SimUserDefaults::objectForKey(
    const std::string& key) const {
  const Value* value = find(values, key);
  return value ? std::optional<Value>(*value) : std::nullopt;
}

void SimUserDefaults::setBool(const std::string& key, bool value) {
  values[Value(key)] = Value(value);
  log_.record("defaults.set", dict({{"key", key}, {"value", value}}));
}

void SimUserDefaults::setObject(const std::string& key, const Value& value) {
  values[Value(key)] = value;
  log_.record("defaults.set", dict({{"key", key}, {"value", value}}));
}

void SimWorkspace::openUrl(const std::string& url) {
  opened.push_back(url);
  log_.record("workspace.open", dict({{"url", url}}));
}

}  // namespace movaro::sim
