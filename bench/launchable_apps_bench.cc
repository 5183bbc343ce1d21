// The installed-applications list over a tree of 2,000 application bundles
// against a bare walk of the same tree that reads the same information
// lists with libplist and nothing else. The list is built on the UI thread
// on every call, so it should cost at most a small multiple of that bare
// work; the "ratio" counter reports the multiple.
//
// The tree, generated once in a temporary folder: both application folders,
// bundles at the top and in nested folders, XML and binary information
// lists, three localisations per bundle and an InfoPlist.strings in every
// fifth (UTF-16 text or binary), helper applications and extensions inside
// bundles, hidden files and folders, and upper-case ".APP" packages.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <plist/plist.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <system_error>

#include "bridge/binary_messenger.h"
#include "bridge/registrar.h"
#include "platform/sim/simulated_mac.h"
#include "tunnel/movaro_platform_plugin.h"

namespace movaro {
namespace {

namespace fs = std::filesystem;

constexpr int kSystemApps = 1500;
constexpr int kUserApps = 500;

void writeFile(const fs::path& path, const std::string& bytes) {
  std::error_code ignored;
  fs::create_directories(path.parent_path(), ignored);
  std::ofstream(path, std::ios::binary) << bytes;
}

std::string serialized(plist_t tree, bool binary) {
  char* bytes = nullptr;
  uint32_t length = 0;
  if (binary) {
    plist_to_bin(tree, &bytes, &length);
  } else {
    plist_to_xml(tree, &bytes, &length);
  }
  std::string out(bytes, length);
  binary ? plist_to_bin_free(bytes) : plist_to_xml_free(bytes);
  return out;
}

// An information list like the ones applications ship.
std::string infoPlist(const std::string& id, const std::string& name, int i) {
  plist_t info = plist_new_dict();
  auto set = [info](const char* key, plist_t value) {
    plist_dict_set_item(info, key, value);
  };
  set("CFBundleIdentifier", plist_new_string(id.c_str()));
  set("CFBundleName", plist_new_string(name.c_str()));
  if (i % 3 == 0) {
    set("CFBundleDisplayName", plist_new_string((name + " Pro").c_str()));
  }
  set("CFBundleExecutable", plist_new_string(name.c_str()));
  set("CFBundleDevelopmentRegion", plist_new_string("en"));
  set("CFBundleInfoDictionaryVersion", plist_new_string("6.0"));
  set("CFBundlePackageType", plist_new_string("APPL"));
  set("CFBundleShortVersionString", plist_new_string("4.2.1"));
  set("CFBundleVersion", plist_new_string(std::to_string(1000 + i).c_str()));
  set("LSMinimumSystemVersion", plist_new_string("12.0"));
  set("LSApplicationCategoryType",
      plist_new_string("public.app-category.productivity"));
  set("NSHighResolutionCapable", plist_new_bool(1));
  set("NSHumanReadableCopyright",
      plist_new_string("Copyright 2031 Example Ltd. All rights reserved."));
  plist_t types = plist_new_array();
  for (int t = 0; t < 3; ++t) {
    plist_t type = plist_new_dict();
    plist_dict_set_item(type, "CFBundleTypeName", plist_new_string("Document"));
    plist_dict_set_item(type, "CFBundleTypeRole", plist_new_string("Editor"));
    plist_t extensions = plist_new_array();
    plist_array_append_item(extensions, plist_new_string("doc"));
    plist_dict_set_item(type, "CFBundleTypeExtensions", extensions);
    plist_array_append_item(types, type);
  }
  set("CFBundleDocumentTypes", types);
  std::string bytes = serialized(info, i % 2 == 0);
  plist_free(info);
  return bytes;
}

std::string localisedStrings(const std::string& name, int i) {
  if (i % 2 == 0) {
    plist_t table = plist_new_dict();
    plist_dict_set_item(table, "CFBundleDisplayName",
                        plist_new_string(("Le " + name).c_str()));
    std::string bytes = serialized(table, true);
    plist_free(table);
    return bytes;
  }
  const std::string text =
      "/* Localised. */\n\"CFBundleDisplayName\" = \"" + name + " (en)\";\n";
  std::string utf16 = "\xff\xfe";
  for (char c : text) {
    utf16 += c;
    utf16 += '\0';
  }
  return utf16;
}

void writeApp(const fs::path& bundle, const std::string& id, int i) {
  const std::string name = "App " + std::to_string(i);
  const fs::path contents = bundle / "Contents";
  writeFile(contents / "Info.plist", infoPlist(id, name, i));
  writeFile(contents / "PkgInfo", "APPL????");
  writeFile(contents / "MacOS" / name, "executable");
  writeFile(contents / "Resources" / "AppIcon.icns", "icon");
  writeFile(contents / "Resources" / "Assets.car", "assets");
  for (const char* language : {"en", "fr", "de"}) {
    writeFile(contents / "Resources" / (std::string(language) + ".lproj") /
                  "Localizable.strings",
              "\"Open\" = \"Open\";\n");
  }
  if (i % 5 == 0) {
    writeFile(contents / "Resources" / "en.lproj" / "InfoPlist.strings",
              localisedStrings(name, i));
  }
  if (i % 10 == 0) {
    writeFile(contents / "Helpers" / "Helper.app" / "Contents" / "Info.plist",
              infoPlist(id + ".helper", "Helper", i));
  }
  if (i % 20 == 0) {
    writeFile(contents / "PlugIns" / "Share.appex" / "Contents" / "Info.plist",
              infoPlist(id + ".share", "Share", i));
  }
  writeFile(bundle.parent_path() / ".DS_Store", "x");
}

// Where the i-th application of a folder goes: a fifth at the top, the
// rest two levels down.
fs::path placeOf(const fs::path& folder, int i) {
  if (i % 5 == 0) {
    return folder;
  }
  return folder / ("Group " + std::to_string(i % 16)) /
         ("Set " + std::to_string(i % 3));
}

struct Tree {
  fs::path root;
  std::string system;
  std::string user;

  Tree() {
    root = fs::temp_directory_path() /
           ("movaro-apps-bench-" + std::to_string(::getpid()));
    system = (root / "Applications").string();
    user = (root / "home" / "Applications").string();
    int serial = 0;
    for (const auto& [folder, count] :
         {std::pair{fs::path(system), kSystemApps},
          std::pair{fs::path(user), kUserApps}}) {
      for (int i = 0; i < count; ++i, ++serial) {
        const std::string id = "com.example.app" + std::to_string(serial);
        writeApp(placeOf(folder, i) / ("App " + std::to_string(i) + ".app"), id,
                 serial);
      }
      writeApp(folder / ".Hidden.app", "com.example.hidden", 1);
      writeApp(folder / ".Trash" / "Old.app", "com.example.old", 2);
      writeApp(folder / "Loud.APP", "com.example.loud", 3);
      writeFile(folder / "Utilities" / "notes.txt", "text");
    }
  }
  ~Tree() {
    std::error_code ignored;
    fs::remove_all(root, ignored);
  }
};

const Tree& tree() {
  static const Tree instance;
  return instance;
}

// The plugin registered on a simulated Mac whose application folders are
// the tree's.
class PluginCall {
 public:
  PluginCall() : registrar_(messenger_) {
    tree();  // Generated before the timing starts.
    mac_.fileManager.realFolders["/Applications"] = tree().system;
    mac_.fileManager.realFolders[mac_.fileManager.home + "/Applications"] =
        tree().user;
    MovaroPlatformPlugin::registerWith(registrar_, mac_.services());
    call_ = StandardMethodCodec::encodeMethodCall({"listLaunchableApps", {}});
  }
  // The encoded reply.
  Bytes run() {
    Bytes reply;
    messenger_.deliver("movaro_platform", call_,
                       [&reply](const Bytes& bytes) { reply = bytes; });
    return reply;
  }
  size_t appCount() {
    const Bytes reply = run();
    auto envelope =
        StandardMethodCodec::decodeEnvelope(reply.data(), reply.size());
    const auto* success =
        envelope ? std::get_if<SuccessEnvelope>(&*envelope) : nullptr;
    const auto* list = success ? success->value.getIf<ValueList>() : nullptr;
    return list ? list->size() : 0;
  }

 private:
  sim::SimulatedMac mac_;
  LocalMessenger messenger_;
  Registrar registrar_;
  Bytes call_;
};

std::string readWhole(const std::string& path) {
  std::string bytes;
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    return bytes;
  }
  char buffer[16384];
  ssize_t got = 0;
  while ((got = ::read(fd, buffer, sizeof(buffer))) > 0) {
    bytes.append(buffer, static_cast<size_t>(got));
  }
  ::close(fd);
  return bytes;
}

std::string stringEntry(plist_t info, const char* key) {
  plist_t node = plist_dict_get_item(info, key);
  uint64_t length = 0;
  const char* text = node && plist_get_node_type(node) == PLIST_STRING
                         ? plist_get_string_ptr(node, &length)
                         : nullptr;
  return text ? std::string(text, length) : std::string();
}

// The bare work: the same walk (hidden entries and the contents of .app,
// .appex and .APP folders left out) and the same information lists read.
size_t bareWalk() {
  std::map<std::string, std::string> labels;
  for (const std::string& folder : {tree().system, tree().user}) {
    std::error_code error;
    fs::recursive_directory_iterator it(folder, error);
    for (; !error && it != fs::recursive_directory_iterator();
         it.increment(error)) {
      const fs::path& path = it->path();
      const std::string name = path.filename().string();
      const std::string extension = path.extension().string();
      if (name.front() == '.' || extension == ".app" || extension == ".appex" ||
          extension == ".APP") {
        it.disable_recursion_pending();
      }
      if (name.front() == '.' || extension != ".app") {
        continue;
      }
      const std::string bytes =
          readWhole((path / "Contents" / "Info.plist").string());
      plist_t info = nullptr;
      plist_from_memory(bytes.data(), static_cast<uint32_t>(bytes.size()),
                        &info);
      if (info != nullptr) {
        std::string label = stringEntry(info, "CFBundleDisplayName");
        labels[stringEntry(info, "CFBundleIdentifier")] =
            label.empty() ? stringEntry(info, "CFBundleName") : label;
        plist_free(info);
      }
    }
  }
  return labels.size();
}

void BM_BareWalk(benchmark::State& state) {
  tree();  // Generated before the timing starts.
  size_t count = 0;
  for (auto _ : state) {
    count = bareWalk();
    benchmark::DoNotOptimize(count);
  }
  state.counters["apps"] = static_cast<double>(count);
}
BENCHMARK(BM_BareWalk)->Unit(benchmark::kMillisecond);

void BM_ListLaunchableApps(benchmark::State& state) {
  PluginCall plugin;
  for (auto _ : state) {
    Bytes reply = plugin.run();
    benchmark::DoNotOptimize(reply);
  }
  state.counters["apps"] = static_cast<double>(plugin.appCount());
}
BENCHMARK(BM_ListLaunchableApps)->Unit(benchmark::kMillisecond);

// Both, interleaved, so that they see the same machine conditions;
// "ratio" is the plugin call's mean time over the bare walk's.
void BM_ListOverBareWalk(benchmark::State& state) {
  using Clock = std::chrono::steady_clock;
  PluginCall plugin;
  Clock::duration bareTime{};
  Clock::duration pluginTime{};
  for (auto _ : state) {
    const Clock::time_point start = Clock::now();
    size_t count = bareWalk();
    benchmark::DoNotOptimize(count);
    const Clock::time_point walked = Clock::now();
    Bytes reply = plugin.run();
    benchmark::DoNotOptimize(reply);
    const Clock::time_point listed = Clock::now();
    bareTime += walked - start;
    pluginTime += listed - walked;
  }
  const double iterations = static_cast<double>(state.iterations());
  if (bareTime.count() == 0 || iterations == 0) {
    return;
  }
  auto meanMs = [iterations](Clock::duration total) {
    return std::chrono::duration<double, std::milli>(total).count() /
           iterations;
  };
  state.counters["bareMs"] = meanMs(bareTime);
  state.counters["listMs"] = meanMs(pluginTime);
  state.counters["ratio"] = meanMs(pluginTime) / meanMs(bareTime);
  state.counters["apps"] = static_cast<double>(plugin.appCount());
}
BENCHMARK(BM_ListOverBareWalk)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace movaro

BENCHMARK_MAIN();
