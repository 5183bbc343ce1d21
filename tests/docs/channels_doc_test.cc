// docs/channels.md against the code: the methods each plugin answers, the
// error codes, messages and events the code can send, and nothing more.
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

#include "mesh/desktop_mesh_plugin.h"
#include "support/method_names.h"
#include "support/tunnel_fixture.h"

namespace movaro::testing {
namespace {

namespace fs = std::filesystem;
using Names = std::set<std::string>;
using Pairs = std::set<std::pair<std::string, std::string>>;

std::string readFile(const std::string& path) {
  std::stringstream text;
  text << std::ifstream(fs::path(MOVARO_SOURCE_DIR) / path).rdbuf();
  return text.str();
}

// Words, punctuation, and string literals (adjacent ones joined) kept with
// their opening quote; comments and character literals are dropped.
std::vector<std::string> tokenize(const std::string& source) {
  static const std::regex kToken(
      R"re(R"([^(\s]*)\(([\s\S]*?)\)\1"|"(?:[^"\\\n]|\\.)*"|//.*|)re"
      R"re(/\*[\s\S]*?\*/|'(?:[^'\\\n]|\\.)*'|\w+|\S)re");
  std::vector<std::string> out(2);  // padded at both ends
  for (std::sregex_iterator it(source.begin(), source.end(), kToken), end;
       it != end; ++it) {
    std::string token = it->str();
    if (token.starts_with('"') || token.starts_with("R\"")) {
      token = token[0] == '"' ? token.substr(1, token.size() - 2) : it->str(2);
      out.back().starts_with('"') ? void(out.back() += token)
                                  : out.push_back('"' + token);
    } else if (!token.starts_with("//") && !token.starts_with("/*") &&
               !token.starts_with('\'')) {
      out.push_back(token);
    }
  }
  out.resize(out.size() + 2);
  return out;
}

// The library's string literals (not the host's nor the simulated Mac's),
// and the main channel's error codes with their fixed messages.
struct Sources {
  Names literals, codes;
  Pairs messages;
};

Sources scan() {
  static const std::regex kUpper("[A-Z][A-Z0-9]*(_[A-Z0-9]+)+");
  Sources src;
  fs::path root = fs::path(MOVARO_SOURCE_DIR) / "src";
  for (const auto& file : fs::recursive_directory_iterator(root)) {
    std::string path = file.path().lexically_relative(root).generic_string();
    if ((!path.ends_with(".cc") && !path.ends_with(".h")) ||
        path.starts_with("host/") || path.starts_with("platform/sim/")) {
      continue;
    }
    std::vector<std::string> t = tokenize(readFile("src/" + path));
    for (size_t k = 2; k + 2 < t.size(); ++k) {
      if (!t[k].starts_with('"'))
        continue;
      std::string text = t[k].substr(1), next = t[k + 2].substr(1);
      src.literals.insert(text);
      // Upper snake case is a code, unless it is a mesh failure handed alone
      // to a call or a row of the mesh plugin's map to public codes.
      bool message = t[k + 1] == "," && t[k + 2].starts_with('"');
      if (std::regex_match(text, kUpper) && t[k + 1] != ")" &&
          !(message && DesktopMeshPlugin::safeCode(text) == next)) {
        src.codes.insert(text);
        if (message) {
          src.messages.insert({text, next});
        }
      }
    }
  }
  return src;
}

// The first two cells of the doc's table rows, by "<channel> <first header
// cell>" (e.g. "mesh Code"); code spans lose their backticks.
std::map<std::string, Pairs> tables() {
  static const std::regex kRow(R"(^\| `?(.*?)`? \| `?(.*?)`? \|)");
  std::map<std::string, Pairs> rows;
  std::istringstream lines(readFile("docs/channels.md"));
  std::smatch cells;
  std::string line, channel, table;
  while (std::getline(lines, line)) {
    if (line.starts_with("|-")) {
      continue;
    }
    if (line.starts_with("## ")) {
      channel = std::regex_search(line, std::regex("/mesh"))     ? "mesh "
                : std::regex_search(line, std::regex("/events")) ? "events "
                                                                 : "main ";
    }
    if (!std::regex_search(line, cells, kRow)) {
      table.clear();
    } else if (table.empty()) {
      table = channel + cells.str(1);
    } else {
      rows[table].insert({cells.str(1), cells.str(2)});
    }
  }
  return rows;
}

Names column(const Pairs& rows) {
  Names names;
  for (const auto& row : rows) {
    names.insert(row.first);
  }
  return names;
}

Pairs quoted(const Pairs& rows) {  // rows whose second cell is "a quote"
  Pairs pairs;
  for (const auto& [first, second] : rows) {
    if (std::smatch m; std::regex_match(second, m, std::regex("\"(.*)\""))) {
      pairs.insert({first, m.str(1)});
    }
  }
  return pairs;
}

// The names a plugin answers, of every literal that could name a method.
Names answered(const char* channel, const Names& literals) {
  PluginHarness harness;
  Names names;
  for (const std::string& name : literals) {
    if (std::regex_match(name, std::regex("[A-Za-z]\\w*")) &&
        !harness.call(channel, name)->notImplemented()) {
      names.insert(name);
    }
  }
  return names;
}

using ChannelsDocTest = TunnelTest;

TEST_F(ChannelsDocTest, TablesNameWhatTheCodeHasAndNothingElse) {
  Sources src = scan();
  Names meshCodes = {DesktopMeshPlugin::safeCode("")};
  for (const std::string& literal : src.literals) {
    meshCodes.insert(DesktopMeshPlugin::safeCode(literal));
  }
  // The events sent for a failed load at listening, then for each status.
  mac.networkExtension.failures["loadAll"] = {"No.", 1};
  listen();
  connectWith({});
  for (int status = 0; status <= 6; ++status) {
    setStatus(status);
  }
  Pairs sent;
  for (const Value& event : events) {
    const ValueMap& map = *event.getIf<ValueMap>();
    sent.insert({*find(map, "state")->getIf<std::string>(),
                 *find(map, "message")->getIf<std::string>()});
  }
  std::map<std::string, Pairs> doc = tables();
  // The first cells of each table.
  const std::pair<const char*, Names> kExpected[] = {
      {"main Method", {kMainMethods.begin(), kMainMethods.end()}},
      {"main Method", answered(PluginHarness::kMain, src.literals)},
      {"mesh Method", {kMeshMethods.begin(), kMeshMethods.end()}},
      {"mesh Method", answered(PluginHarness::kMesh, src.literals)},
      {"main Code", src.codes},
      {"mesh Code", meshCodes},
      {"events State", column(sent)}};
  for (const auto& [table, names] : kExpected) {
    EXPECT_EQ(column(doc[table]), names) << table;
  }
  EXPECT_EQ(quoted(doc["main Code"]), src.messages);
  EXPECT_EQ(quoted(doc["events State"]), sent);
  for (const char* table : {"main Key", "mesh Key"}) {
    for (const std::string& key : column(doc[table])) {
      EXPECT_EQ(src.literals.count(key), 1u) << table << ": " << key;
    }
  }
  std::string text = readFile("docs/channels.md");
  EXPECT_NE(std::regex_replace(text, std::regex("\\s+"), " ")
                .find(DesktopMeshPlugin::kErrorMessage),
            std::string::npos);
}

}  // namespace
}  // namespace movaro::testing
