#include "host/demo.h"

#include <filesystem>
#include <fstream>
#include <map>
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
    {"The interface stops listening for status events.",
     R"({"id":32,"channel":"movaro_platform/events","cancel":true})"},

    // The mesh channel.
    {"The private network: this build also ships the mesh engine.",
     R"({"id":33,"sim":"installExtension","suffix":".mesh-extension","info":{"HalvornEngineAvailable":"1"}})"},
    {"",
     R"({"id":34,"channel":"com.quillfen.halvorn/mesh","method":"capabilities"})"},
    {"A login with an invalid host name is refused at once.",
     R"({"id":35,"channel":"com.quillfen.halvorn/mesh","method":"login","arguments":{"accountNamespace":"1c6aa40ecb152b58d381703795bf9ce4c3519b073197b52fe435f6bb03560a7f","controlUrl":"https://control.example.com","authKey":"demo-auth-key","hostname":"-studio","sessionExpiresAt":"2031-01-01T00:00:00Z"}})"},
    {"A valid login starts the mesh tunnel and waits until it is connected.",
     R"({"id":36,"channel":"com.quillfen.halvorn/mesh","method":"login","arguments":{"accountNamespace":"1c6aa40ecb152b58d381703795bf9ce4c3519b073197b52fe435f6bb03560a7f","controlUrl":"https://control.example.com","authKey":"demo-auth-key","hostname":"studio-mac","sessionExpiresAt":"2031-01-01T00:00:00Z"}})"},
    {"Meanwhile the status shows the plugin's own connecting form.",
     R"({"id":37,"channel":"com.quillfen.halvorn/mesh","method":"status"})"},
    {"A second later the tunnel is up and the login answers.",
     R"({"id":38,"sim":"advance","seconds":1})"},
    {"Now the provider answers for the status: this device and its peers. "
     "Keys outside the status form are dropped.",
     R"({"id":39,"sim":"providerAnswer","command":"status","reply":"{\"state\":\"connected\",\"selfName\":\"studio-mac\",\"selfAddresses\":[\"100.64.0.7\"],\"peers\":[{\"name\":\"office-nas\",\"address\":\"100.64.0.2\",\"online\":true}],\"debugTrace\":\"dropped\"}"})"},
    {"",
     R"({"id":40,"channel":"com.quillfen.halvorn/mesh","method":"status"})"},
    {"Logout: the provider is asked to erase this device's identity, and "
     "confirms.",
     R"({"id":41,"sim":"providerAnswer","command":"logout","reply":"{\"identityCleared\":true}"})"},
    {"", R"({"id":42,"sim":"clearLog"})"},
    {"",
     R"({"id":43,"channel":"com.quillfen.halvorn/mesh","method":"logout"})"},
    {"What the plugin asked of macOS: the profile, the message, the stop.",
     R"({"id":44,"sim":"log"})"},
    {"", R"({"id":45,"sim":"advance","seconds":1})"},
    {"",
     R"({"id":46,"channel":"com.quillfen.halvorn/mesh","method":"status"})"},
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

// Prints the input lines and what comes back, readably.
class Printer {
 public:
  explicit Printer(std::ostream& out) : out_(out) {}

  void input(const Json& line) {
    current_ = line.value("id", Json()).dump();
    if (line.contains("sim")) {
      Json params = line;
      params.erase("id");
      params.erase("sim");
      // A JSON text given as a string reads better as the JSON itself.
      for (auto& [key, value] : params.items()) {
        if (value.is_string() && Json::accept(value.get<std::string>())) {
          value = Json::parse(value.get<std::string>());
        }
      }
      out_ << "[sim] " << line["sim"].get<std::string>()
           << (params.empty() ? "" : " " + dumpLine(params)) << '\n';
      return;
    }
    std::string channel = line.value("channel", std::string());
    std::string call = line.value("method", std::string());
    if (line.value("listen", false) || line.value("cancel", false)) {
      call = std::string(line.value("listen", false) ? "listen" : "cancel") +
             " " + channel;
    } else if (channel == "com.quillfen.halvorn/mesh") {
      call = "mesh." + call;
    }
    calls_[current_] = call;
    out_ << "-> " << call
         << (line.contains("arguments") ? " " + dumpLine(line["arguments"])
                                        : "")
         << '\n';
  }

  void output(const Json& line) {
    std::string id = line.value("id", Json()).dump();
    // A call answered later says which call it answers.
    std::string to =
        id == current_ || !calls_.count(id) ? "" : calls_[id] + ": ";
    if (line.contains("result")) {
      out_ << "<- " << to << dumpLine(line["result"]) << '\n';
    } else if (line.contains("error")) {
      const Json& error = line["error"];
      out_ << "<- " << to << "error " << error["code"].get<std::string>()
           << (error["message"].is_string()
                   ? ": " + error["message"].get<std::string>()
                   : std::string())
           << '\n';
    } else if (line.contains("notImplemented")) {
      out_ << "<- " << to << "not implemented\n";
    } else if (line.contains("event")) {
      out_ << "   event " << dumpLine(line["event"]) << '\n';
    } else if (line.contains("sim")) {
      if (!line["sim"].is_null()) {
        out_ << "   sim: " << dumpLine(line["sim"]) << '\n';
      }
    } else {
      out_ << "   " << dumpLine(line) << '\n';
    }
  }

 private:
  std::ostream& out_;
  std::map<std::string, std::string> calls_;  // id to what was called
  std::string current_;                       // the id of the line in hand
};

}  // namespace

int runDemo(std::ostream& out) {
  Printer printer(out);
  Host host([&printer](const Json& line) { printer.output(line); });
  out << "movaro-host demo: the interface's calls on a simulated Mac\n";
  host.handleLine(Json{
      {"id", 0}, {"sim", "applicationFolders"}, {"system", makeApplications()}}
                      .dump());
  for (const Step& step : kScript) {
    if (*step.narration != '\0') {
      out << '\n' << "# " << step.narration << '\n';
    }
    printer.input(Json::parse(step.line));
    host.handleLine(step.line);
  }
  return 0;
}

}  // namespace movaro::host
