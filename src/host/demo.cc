#include "host/demo.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "host/host.h"

namespace movaro::host {
namespace {

struct Step {
  const char* narration;
  const char* line;
};

const std::vector<Step> kScript = {
    {"The interface asks which system it runs on.",
     R"({"id":1,"channel":"movaro_platform","method":"getPlatformVersion"})"},
    {"It reads the application's version.",
     R"({"id":2,"channel":"movaro_platform","method":"getAppInfo"})"},
    {"A fresh WireGuard key pair.",
     R"({"id":3,"channel":"movaro_platform","method":"generateKeyPair"})"},
    {"A method nobody knows.",
     R"({"id":4,"channel":"movaro_platform","method":"GetPlatformVersion"})"},
    {"This Mac runs a release build: the tunnel extension ships in the app.",
     R"({"id":5,"sim":"installExtension","suffix":".network-extension"})"},
    {"The interface listens for status events.",
     R"({"id":6,"channel":"movaro_platform/events","listen":true})"},
    {"A blank configuration is refused.",
     R"({"id":7,"channel":"movaro_platform","method":"pushConfig","arguments":{"config":"  \n "}})"},
    {"A real one is kept for the next connect.",
     R"({"id":8,"channel":"movaro_platform","method":"pushConfig","arguments":{"config":"[Interface]\nPrivateKey = yAnz5TF+lXXJte14tji3zlMNq+hd2rYUIgJBgB3fBmk=\nAddress = 10.0.0.2/32\nDNS = 10.0.0.1\n\n[Peer]\nPublicKey = xTIBA5rboUvnH4htodjb6e697QjLERt1NAB4mZqp8Dg=\nAllowedIPs = 0.0.0.0/0, ::/0\nEndpoint = vpn.example.com:51820\n"}})"},
    {"Connect: the extension must be activated first, so the call waits.",
     R"({"id":9,"channel":"movaro_platform","method":"connect","arguments":{"verificationUrl":"https://check.example.com"}})"},
    {"macOS asks the user to approve the extension.",
     R"({"id":10,"sim":"answerExtension","outcome":"needsApproval"})"},
    {"The user approves it in System Settings.",
     R"({"id":11,"sim":"answerExtension","outcome":"completed"})"},
    {"Connect again, with auto-connect; this activation finishes at once.",
     R"({"id":12,"channel":"movaro_platform","method":"connect","arguments":{"verificationUrl":"https://check.example.com","enableOnDemand":true}})"},
    {"", R"({"id":13,"sim":"answerExtension","outcome":"completed"})"},
    {"A second later the tunnel is up.",
     R"({"id":14,"sim":"advance","seconds":1})"},
    {"The network changes: the tunnel reasserts, then recovers.",
     R"({"id":15,"sim":"setStatus","status":4})"},
    {"", R"({"id":16,"sim":"setStatus","status":3})"},
    {"What the saved profile holds now:", R"({"id":17,"sim":"profiles"})"},
    {"Disconnect: auto-connect off, the tunnel stopped.",
     R"({"id":18,"channel":"movaro_platform","method":"disconnect"})"},
    {"", R"({"id":19,"sim":"advance","seconds":1})"},
    {"The VPN settings pane opens.",
     R"({"id":20,"channel":"movaro_platform","method":"openVpnSettings"})"},
    {"Auto-connect on, trusting two networks (the list is cleaned first).",
     R"({"id":21,"channel":"movaro_platform","method":"configureAutoConnect","arguments":{"enabled":true,"trustedWifiSsids":["  Office ","Home","Home",""]}})"},
    {"",
     R"({"id":22,"channel":"movaro_platform","method":"getAutoConnectPolicy"})"},
    {"The Wi-Fi name needs location access: the call waits for the user.",
     R"({"id":23,"channel":"movaro_platform","method":"getCurrentWifiSsid"})"},
    {"", R"({"id":24,"sim":"wifi","ssid":"Home"})"},
    {"The user allows location access.",
     R"({"id":25,"sim":"locationDecision","status":3})"},
    {"This copy runs from /Applications: launch at login is set up once.",
     R"({"id":26,"sim":"mainBundle","path":"/Applications/Movaro.app"})"},
    {"",
     R"({"id":27,"channel":"movaro_platform","method":"ensureDesktopStartup"})"},
    {"",
     R"({"id":28,"channel":"movaro_platform","method":"ensureDesktopStartup"})"},
    {"The installed applications, for split tunnelling.",
     R"({"id":29,"channel":"movaro_platform","method":"listLaunchableApps"})"},
    {"A reminder due in half a second is scheduled with the 1-second floor.",
     R"({"id":30,"channel":"movaro_platform","method":"syncSubscriptionReminders","arguments":{"reminders":[{"id":1,"title":"Renew","body":"Your plan ends tomorrow.","scheduled_at_millis":1893456002500}]}})"},
    {"", R"({"id":31,"sim":"pendingNotifications"})"},
};

// A few application bundles for the demo's app list, in a fresh folder.
std::string makeApplications() {
  namespace fs = std::filesystem;
  std::error_code ignored;
  fs::path root = fs::temp_directory_path() / "movaro-demo-applications";
  fs::remove_all(root, ignored);
  struct App {
    const char* path;
    const char* identifier;
    const char* name;
  };
  const App apps[] = {
      {"Zoom.app", "us.zoom.xos", "Zoom"},
      {"Utilities/Calendar.app", "com.example.calendar", "calendar"},
      {"Eclair.app", "com.example.eclair", "\u00c9clair"},
      {".Hidden.app", "com.example.hidden", "Hidden"}};
  for (const App& app : apps) {
    fs::path contents = root / app.path / "Contents";
    fs::create_directories(contents, ignored);
    std::ofstream(contents / "Info.plist")
        << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<plist version=\"1.0\"><dict>"
           "<key>CFBundleIdentifier</key><string>"
        << app.identifier << "</string><key>CFBundleName</key><string>"
        << app.name << "</string></dict></plist>\n";
  }
  return root.string();
}

std::string describe(const Json& line) {
  if (line.contains("result")) {
    return "<- " + dumpLine(line["result"]);
  }
  if (line.contains("error")) {
    const Json& error = line["error"];
    return "<- error " + error["code"].get<std::string>() +
           (error["message"].is_string()
                ? ": " + error["message"].get<std::string>()
                : std::string());
  }
  if (line.contains("notImplemented")) {
    return "<- not implemented";
  }
  if (line.contains("event")) {
    return "   event " + dumpLine(line["event"]);
  }
  if (line.contains("sim")) {
    return line["sim"].is_null() ? std::string()
                                 : "   sim: " + dumpLine(line["sim"]);
  }
  return "   " + dumpLine(line);
}

std::string callOf(const Json& line) {
  if (line.contains("sim")) {
    return "[sim " + line["sim"].get<std::string>() + "]";
  }
  std::string text = "-> " + line.value("method", std::string("?"));
  if (line.contains("arguments")) {
    text += " " + dumpLine(line["arguments"]);
  }
  return text;
}

}  // namespace

int runDemo(std::ostream& out) {
  Host host([&out](const Json& line) {
    std::string text = describe(line);
    if (!text.empty()) {
      out << text << '\n';
    }
  });
  out << "movaro-host demo: the interface's calls on a simulated Mac\n";
  host.handleLine(Json{
      {"id", 0}, {"sim", "applicationFolders"}, {"system", makeApplications()}}
                      .dump());
  for (const Step& step : kScript) {
    if (*step.narration != '\0') {
      out << '\n' << "# " << step.narration << '\n';
    }
    out << callOf(Json::parse(step.line)) << '\n';
    host.handleLine(step.line);
  }
  return 0;
}

}  // namespace movaro::host
