// docs/channels.md against the code: the methods each plugin answers, the
// error codes, messages and events the code can send, and nothing more.
#include <cstring>
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
using Rows = std::vector<std::vector<std::string>>;
struct Token {
  bool literal = false;  // a string literal, adjacent ones joined
  std::string text;      // else a word or one punctuation character
};

std::string readFile(const fs::path& path) {
  std::stringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

// Comments and character literals are dropped. Padded at both ends.
std::vector<Token> tokenize(const std::string& s) {
  auto word = [](char c) { return std::isalnum(c & 0xff) || c == '_'; };
  std::vector<Token> out(2);
  auto add = [&out](std::string text) {
    out.back().literal ? void(out.back().text += text)
                       : out.push_back({true, std::move(text)});
  };
  for (size_t i = 0, j; i < s.size(); i = j) {
    j = i + 1;
    if (s[i] == '/' && (s[j] == '/' || s[j] == '*')) {
      const char* end = s[j] == '/' ? "\n" : "*/";
      j = std::min(s.find(end, j), s.size()) + std::strlen(end);
    } else if (s[i] == 'R' && s[j] == '"') {  // R"delimiter(text)delimiter"
      size_t open = s.find('(', j);
      std::string close = ")" + s.substr(j + 1, open - j - 1) + "\"";
      j = std::min(s.find(close, open), s.size());
      add(s.substr(open + 1, j - open - 1));
      j += close.size();
    } else if (s[i] == '"' || s[i] == '\'') {
      while (j < s.size() && s[j] != s[i])
        j += s[j] == '\\' ? 2 : 1;
      if (s[i] == '"')
        add(s.substr(i + 1, j - i - 1));
      ++j;
    } else if (word(s[i])) {  // a number keeps its digit separators
      while (j < s.size() &&
             (word(s[j]) || (s[j] == '\'' && std::isdigit(s[i] & 0xff)))) {
        ++j;
      }
      out.push_back({false, s.substr(i, j - i)});
    } else if (!std::isspace(s[i] & 0xff)) {
      out.push_back({false, s.substr(i, 1)});
    }
  }
  out.resize(out.size() + 2);
  return out;
}

// The library's string literals (the host and the simulated Mac left out),
// and its main-channel error codes with their fixed messages.
void scan(Names& literals, Names& codes, Pairs& messages) {
  static const std::regex kUpper("[A-Z][A-Z0-9]*(_[A-Z0-9]+)+");
  static const std::regex kLower("[a-z][a-z0-9_]*");
  const fs::path src = fs::path(MOVARO_SOURCE_DIR) / "src";
  for (const auto& file : fs::recursive_directory_iterator(src)) {
    std::string path = file.path().lexically_relative(src).generic_string();
    if ((!path.ends_with(".cc") && !path.ends_with(".h")) ||
        path.starts_with("host/") || path.starts_with("platform/sim/")) {
      continue;
    }
    std::vector<Token> t = tokenize(readFile(file.path()));
    for (size_t k = 2; k + 2 < t.size(); ++k) {
      if (!t[k].literal)
        continue;
      literals.insert(t[k].text);
      // Upper snake case is a code, unless it is a mesh failure handed alone
      // to a call or mapped to a lower-case public code.
      bool message = t[k + 1].text == "," && t[k + 2].literal;
      if (std::regex_match(t[k].text, kUpper) && t[k + 1].text != ")" &&
          !(message && std::regex_match(t[k + 2].text, kLower))) {
        codes.insert(t[k].text);
        if (message)
          messages.insert({t[k].text, t[k + 2].text});
      }
    }
  }
}

// The doc's table rows by "<channel> <first header cell>", e.g. "mesh Code";
// code spans lose their backticks.
std::map<std::string, Rows> tables(const std::string& doc) {
  std::map<std::string, Rows> rows;
  std::istringstream lines(doc);
  std::string line, channel, header;
  while (std::getline(lines, line)) {
    if (line.starts_with("## ")) {
      bool mesh = line.find("/mesh") != std::string::npos;
      bool events = line.find("/events") != std::string::npos;
      channel = mesh ? "mesh " : events ? "events " : "main ";
    }
    std::vector<std::string> cells;
    for (size_t at = 1, bar; (bar = line.find('|', at)) != std::string::npos;
         at = bar + 1) {
      std::string cell = line.substr(at, bar - at);
      cells.push_back(std::regex_replace(cell, std::regex("^ *`?|`? *$"), ""));
    }
    if (!line.starts_with("|")) {
      header.clear();
    } else if (header.empty()) {
      header = channel + cells[0];
    } else if (!line.starts_with("|-")) {
      rows[header].push_back(cells);
    }
  }
  return rows;
}

class ChannelsDocTest : public ::testing::Test {
 protected:
  ChannelsDocTest() { scan(literals, codes, messages); }
  Names column(const char* table, size_t index = 0) {
    Names names;
    for (const auto& row : doc[table])
      names.insert(row[index]);
    return names;
  }
  Pairs quoted(const char* table) {  // the first cell and a quoted second
    Pairs pairs;
    for (const auto& row : doc[table]) {
      if (std::smatch m; std::regex_match(row[1], m, std::regex("\"(.*)\""))) {
        pairs.insert({row[0], m[1]});
      }
    }
    return pairs;
  }

  const std::string text =
      readFile(fs::path(MOVARO_SOURCE_DIR) / "docs/channels.md");
  std::map<std::string, Rows> doc = tables(text);
  Names literals, codes;
  Pairs messages;
};

TEST_F(ChannelsDocTest, ListsExactlyTheMethodsEachPluginAnswers) {
  const struct {
    const char* channel;
    const char* table;
    Names listed;
  } kChannels[] = {{PluginHarness::kMain,
                    "main Method",
                    {kMainMethods.begin(), kMainMethods.end()}},
                   {PluginHarness::kMesh,
                    "mesh Method",
                    {kMeshMethods.begin(), kMeshMethods.end()}}};
  for (const auto& channel : kChannels) {
    PluginHarness harness;  // every literal that could name a method, tried
    Names answered;
    for (const std::string& name : literals) {
      if (std::regex_match(name, std::regex("[A-Za-z]\\w*")) &&
          !harness.call(channel.channel, name)->notImplemented()) {
        answered.insert(name);
      }
    }
    EXPECT_EQ(answered, channel.listed) << channel.channel;
    EXPECT_EQ(column(channel.table), answered) << channel.table;
  }
}

TEST_F(ChannelsDocTest, ListsEveryErrorCodeAndMessageTheCodeSends) {
  EXPECT_EQ(column("main Code"), codes);
  EXPECT_EQ(quoted("main Code"), messages);
  Names meshCodes = {DesktopMeshPlugin::safeCode("")};
  for (const std::string& literal : literals) {
    meshCodes.insert(DesktopMeshPlugin::safeCode(literal));
  }
  EXPECT_EQ(column("mesh Code"), meshCodes);
  EXPECT_NE(std::regex_replace(text, std::regex("\\s+"), " ")
                .find(DesktopMeshPlugin::kErrorMessage),
            std::string::npos);
}

TEST_F(ChannelsDocTest, ListsEveryEventTheStreamSends) {
  PluginHarness harness;
  harness.mac.networkExtension.failures["loadAll"] = {"No.", 1};
  harness.listen();  // the load fails
  harness.runUntilIdle();
  harness.listen();  // nothing saved yet
  harness.callMain("connect", dict({{"config", kValidConfig}}));
  harness.runUntilIdle();
  for (int status = -1; status <= 6; ++status) {
    harness.mac.networkExtension.savedProfileFor(kVpnProvider)
        ->connection->setStatus(status);
    harness.runUntilIdle();
  }
  Pairs sent;
  for (const Value& event : harness.events) {
    const ValueMap& map = *event.getIf<ValueMap>();
    sent.insert({*find(map, "state")->getIf<std::string>(),
                 *find(map, "message")->getIf<std::string>()});
  }
  EXPECT_EQ(quoted("events State"), sent);
}

TEST_F(ChannelsDocTest, NamesOnlyKeysTheCodeReadsOrWrites) {
  for (const char* table : {"main Key", "mesh Key"}) {
    for (const std::string& key : column(table)) {
      EXPECT_EQ(literals.count(key), 1u) << table << ": " << key;
    }
  }
}

}  // namespace
}  // namespace movaro::testing
