// The installed applications, listed through the plugin's channel from
// real fixture folders standing in for the two application folders (each
// missing until a test writes in it).
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "support/tunnel_fixture.h"

namespace movaro::testing {
namespace {

namespace fs = std::filesystem;

std::string entry(const std::string& key, const std::string& text) {
  return "<key>" + key + "</key><string>" + text + "</string>";
}

// The reply for these (identifier, label) pairs, in this order.
Value appList(const std::vector<std::pair<std::string, std::string>>& apps) {
  ValueList list;
  for (const auto& [id, label] : apps) {
    list.emplace_back(dict({{"packageName", id}, {"label", label}}));
  }
  return list;
}

class LaunchableAppsTest : public TunnelTest {
 protected:
  LaunchableAppsTest() {
    mac.fileManager.realFolders["/Applications"] = root_ / "Applications";
    mac.fileManager.realFolders[mac.fileManager.home + "/Applications"] =
        root_ / "home/Applications";
  }
  ~LaunchableAppsTest() override {
    std::error_code ignored;
    fs::remove_all(root_, ignored);
  }

  void write(const std::string& relative, const std::string& bytes) {
    fs::create_directories((root_ / relative).parent_path());
    std::ofstream(root_ / relative, std::ios::binary) << bytes;
  }
  // An application with this identifier (none when empty) and these other
  // information entries, in "/Applications" (or in the user's folder when
  // the path starts with "home/").
  void app(const std::string& relative,
           const std::string& id,
           const std::string& entries = "") {
    write((relative.starts_with("home/") ? "" : "Applications/") + relative +
              "/Contents/Info.plist",
          "<plist version=\"1.0\"><dict>" +
              (id.empty() ? "" : entry("CFBundleIdentifier", id)) + entries +
              "</dict></plist>");
  }
  Value listed() { return callMain("listLaunchableApps")->value(); }

  const fs::path root_ =
      fs::temp_directory_path() / ("movaro-apps-" + std::to_string(::getpid()));
};

// A missing folder is skipped: neither exists at first, then only the
// user's.
TEST_F(LaunchableAppsTest, TheUsersCopyWinsAndTheClientIsLeftOut) {
  EXPECT_EQ(listed(), appList({}));
  app("home/Applications/Editor.app", "com.example.editor",
      entry("CFBundleName", "Editor 2"));
  EXPECT_EQ(listed(), appList({{"com.example.editor", "Editor 2"}}));
  app("Editor.app", "com.example.editor", entry("CFBundleName", "Editor 1"));
  app("Movaro.app", sim::SimulatedMac::kBundleIdentifier,
      entry("CFBundleName", "Movaro"));
  EXPECT_EQ(listed(), appList({{"com.example.editor", "Editor 2"}}));
  // A client without an identifier excludes nothing on that ground.
  mac.mainBundle.contents.identifier.reset();
  EXPECT_EQ(listed(),
            appList({{"com.example.editor", "Editor 2"},
                     {sim::SimulatedMac::kBundleIdentifier, "Movaro"}}));
}

// The label is the display name, else the name, else the file name; only
// bundles named ".app" that have an identifier are listed, sorted by the
// scalars of the composed labels, then by identifier. "Éclair" is written
// decomposed: an E and a combining accent. Composed, its first scalar
// (U+00C9) comes after every ASCII letter.
TEST_F(LaunchableAppsTest, ListsApplicationBundlesSortedByTheirLabels) {
  app("Blank.app", "com.example.blank",
      entry("CFBundleDisplayName", "") + entry("CFBundleName", "Not used"));
  app("Named.app", "com.example.named",
      "<key>CFBundleDisplayName</key><integer>7</integer>" +
          entry("CFBundleName", "By name"));
  app("Utilities/Deep/My.Tool.app", "com.example.tool",
      "<key>CFBundleName</key><array/>");
  app("Shouting.APP", "com.example.shouting");
  app("Anonymous.app", "", entry("CFBundleName", "Anonymous"));
  app("Plugin.bundle", "com.example.plugin");
  write("Applications/Fake.app", "not a folder");
  app("Eclair.app", "com.example.eclair",
      entry("CFBundleDisplayName", "E\u0301clair"));
  app("Calendar.app", "com.example.calendar",
      entry("CFBundleName", "calendar"));
  app("Zoom.app", "com.example.zoom", entry("CFBundleDisplayName", "Zoom"));
  app("B.app", "com.example.b", entry("CFBundleName", "Same"));
  app("A.app", "com.example.c", entry("CFBundleName", "Same"));
  app("C.app", "com.example.a", entry("CFBundleName", "Same"));
  EXPECT_EQ(listed(), appList({{"com.example.blank", ""},
                               {"com.example.named", "By name"},
                               {"com.example.tool", "My.Tool"},
                               {"com.example.a", "Same"},
                               {"com.example.b", "Same"},
                               {"com.example.c", "Same"},
                               {"com.example.zoom", "Zoom"},
                               {"com.example.calendar", "calendar"},
                               {"com.example.eclair", "E\u0301clair"}}));
}

}  // namespace
}  // namespace movaro::testing
