#include "platform/sim/bundles/app_bundles.h"

#include <gtest/gtest.h>
#include <plist/plist.h>
#include <sys/stat.h>
#include <unicode/unistr.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "platform/sim/bundles/plist_reader.h"
#include "platform/sim/bundles/strings_file.h"

namespace movaro::platform {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using Entries = std::vector<std::string>;

std::string xmlPlist(const std::string& body) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
         "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
         "<plist version=\"1.0\"><dict>" +
         body + "</dict></plist>\n";
}

std::string repeat(const std::string& text, int times) {
  std::string out;
  for (int i = 0; i < times; ++i) {
    out += text;
  }
  return out;
}

std::string entry(const std::string& key, const std::string& text) {
  return "<key>" + key + "</key><string>" + text + "</string>";
}

// The same list in binary form, written by libplist.
std::string toBinary(const std::string& xml) {
  plist_t tree = nullptr;
  plist_from_xml(xml.data(), static_cast<uint32_t>(xml.size()), &tree);
  EXPECT_NE(tree, nullptr) << xml;
  char* bytes = nullptr;
  uint32_t length = 0;
  plist_to_bin(tree, &bytes, &length);
  std::string result(bytes, length);
  plist_to_bin_free(bytes);
  plist_free(tree);
  return result;
}

// UTF-8 text as UTF-16 with a byte-order mark.
std::string utf16(const std::string& text, bool bigEndian) {
  const auto units = icu::UnicodeString::fromUTF8("\uFEFF" + text);
  std::string out;
  for (int32_t i = 0; i < units.length(); ++i) {
    const char16_t unit = units[i];
    out += static_cast<char>(bigEndian ? unit >> 8 : unit);
    out += static_cast<char>(bigEndian ? unit : unit >> 8);
  }
  return out;
}

class AppBundlesTest : public ::testing::Test {
 protected:
  AppBundlesTest() {
    std::string pattern = fs::temp_directory_path() / "movaro-bundles-XXXXXX";
    root_ = ::mkdtemp(pattern.data());
  }
  ~AppBundlesTest() override {
    std::error_code ignored;
    fs::permissions(root_ / "locked", fs::perms::owner_all, ignored);
    fs::remove_all(root_, ignored);
  }
  std::string path(const std::string& relative = "") const {
    return relative.empty() ? root_.string() : (root_ / relative).string();
  }
  void write(const std::string& relative, const std::string& bytes) {
    fs::create_directories((root_ / relative).parent_path());
    std::ofstream(root_ / relative, std::ios::binary) << bytes;
  }
  // An application bundle in the macOS layout.
  void app(const std::string& relative, const std::string& body) {
    write(relative + "/Contents/Info.plist", xmlPlist(body));
  }
  std::unique_ptr<Bundle> open(const std::string& relative,
                               const Entries& languages = {"en"}) {
    return openBundleAt(path(relative), languages);
  }
  // The walk below a folder: paths relative to it, joined by spaces.
  std::string walk(const std::string& from = "") const {
    const std::string prefix = path(from) + "/";
    const Entries entries = enumerateFolder(path(from)).value();
    std::string out;
    for (const std::string& entry : entries) {
      out += (out.empty() ? "" : " ") +
             (entry.starts_with(prefix) ? entry.substr(prefix.size()) : entry);
    }
    return out;
  }

  fs::path root_;
};

// Packages (by their extension, in any case) and links are yielded but
// never entered.
TEST_F(AppBundlesTest, WalksEveryDepthInNameOrderSkippingHiddenAndPackages) {
  for (const std::string name :
       {"A.app", "B.APP", "C.bundle", "D.plugin", "E.kext", "F.appex", "G.xpc",
        "H.Bundle", "I.systemextension", "J.qlgenerator", "Lib.framework",
        "Folder.d", "Outer.app/Contents/Helpers/Inner.app",
        "Utilities/Terminal.app", ".Hidden.app", ".cache/Deep.app",
        "Utilities/.Secret.app"}) {
    write(name + "/inside.txt", "x");
  }
  write("Utilities/readme.txt", "text");
  fs::create_directories(root_ / "Empty");
  fs::create_directory_symlink(root_, root_ / "Loop");
  fs::create_directory_symlink(root_ / "Utilities", root_ / "Alias");
  EXPECT_EQ(walk(),
            "A.app Alias B.APP C.bundle D.plugin E.kext Empty F.appex Folder.d "
            "Folder.d/inside.txt G.xpc H.Bundle I.systemextension "
            "J.qlgenerator Lib.framework Lib.framework/inside.txt Loop "
            "Outer.app Utilities Utilities/Terminal.app Utilities/readme.txt");
  // A trailing slash does not double the separators; the starting folder
  // itself may be a link.
  EXPECT_EQ(enumerateFolder(path() + "/"), enumerateFolder(path()));
  EXPECT_EQ(walk("Alias"), "Terminal.app readme.txt");
}

TEST_F(AppBundlesTest, FoldersThatCannotBeOpened) {
  write("file.txt", "x");
  EXPECT_EQ(enumerateFolder(path("missing")), std::nullopt);
  EXPECT_EQ(enumerateFolder(path("file.txt")), std::nullopt);
  EXPECT_EQ(enumerateFolder(""), std::nullopt);
  fs::create_directories(root_ / "Empty");
  EXPECT_EQ(enumerateFolder(path("Empty")), Entries{});
  if (::geteuid() == 0) {
    GTEST_SKIP() << "permissions do not apply to root";
  }
  app("locked/Hidden.app", entry("CFBundleIdentifier", "h"));
  fs::permissions(root_ / "locked", fs::perms::none);
  // An unreadable folder inside is yielded and passed over.
  EXPECT_EQ(walk(), "Empty file.txt locked");
}

const std::string kTypedEntries =
    entry("CFBundleIdentifier", "com.example.typed") +
    entry("CFBundleName", "Typed &amp; Co") +
    "<key>Small</key><integer>-7</integer>"
    "<key>Large</key><integer>5000000000</integer>"
    "<key>Ratio</key><real>0.5</real>"
    "<key>Flag</key><true/>"
    "<key>When</key><date>2001-01-02T00:00:00Z</date>"
    "<key>Blob</key><data>AAEC</data>"
    "<key>List</key><array><string>a</string><integer>1</integer></array>"
    "<key>Map</key><dict><key>k</key><false/></dict>";

TEST_F(AppBundlesTest, ReadsXmlAndBinaryInformationLists) {
  for (bool binary : {false, true}) {
    SCOPED_TRACE(binary ? "binary" : "XML");
    const std::string xml = xmlPlist(kTypedEntries);
    write("Typed.app/Contents/Info.plist", binary ? toBinary(xml) : xml);
    auto bundle = open("Typed.app");
    ASSERT_NE(bundle, nullptr);
    EXPECT_EQ(bundle->bundleIdentifier(), "com.example.typed");
    auto get = [&](const char* key) {
      return bundle->objectForInfoDictionaryKey(key).value_or(Value("absent"));
    };
    EXPECT_EQ(get("CFBundleName"), Value("Typed & Co"));
    EXPECT_EQ(get("Small"), Value(int32_t{-7}));
    EXPECT_EQ(get("Large"), Value(int64_t{5000000000}));
    EXPECT_EQ(get("Ratio"), Value(0.5));
    EXPECT_EQ(get("Flag"), Value(true));
    EXPECT_EQ(get("When"), Value(978307200.0 + 86400));
    EXPECT_EQ(get("Blob"), Value(std::vector<uint8_t>{0, 1, 2}));
    EXPECT_EQ(get("List"), Value(ValueList{"a", int32_t{1}}));
    EXPECT_EQ(get("Map"), Value(dict({{"k", false}})));
    EXPECT_EQ(bundle->objectForInfoDictionaryKey("Missing"), std::nullopt);
  }
}

// Only folders are bundles; the list is found in the macOS, flat or old
// layout, its macOS variant first; the identifier must be a string.
TEST_F(AppBundlesTest, FindsTheInformationListAsFoundationDoes) {
  app("None.app", entry("CFBundleName", "None"));
  app("Number.app", "<key>CFBundleIdentifier</key><integer>3</integer>");
  write("file.app", "x");
  fs::create_directories(root_ / "Bare.app");
  fs::create_directories(root_ / "Fifo.app/Contents");
  ASSERT_EQ(::mkfifo(path("Fifo.app/Contents/Info.plist").c_str(), 0600), 0);
  write("Flat.app/Info.plist", xmlPlist(entry("CFBundleIdentifier", "flat")));
  write("Old.bundle/Resources/Info.plist",
        xmlPlist(entry("CFBundleIdentifier", "old")));
  app("Both.app", entry("CFBundleIdentifier", "generic"));
  write("Both.app/Contents/Info-macos.plist",
        xmlPlist(entry("CFBundleIdentifier", "mac") + entry("Name", "plain") +
                 entry("Name-macos", "for mac")));
  app("Outer.app", entry("CFBundleIdentifier", "outer"));
  const std::pair<const char*, std::optional<std::string>> kIdentifiers[] = {
      {"None.app", std::nullopt}, {"Number.app", std::nullopt},
      {"Fifo.app", std::nullopt}, {"Bare.app", std::nullopt},
      {"Flat.app", "flat"},       {"Old.bundle", "old"},
      {"Both.app", "mac"},        {"Outer.app", "outer"}};
  for (const auto& [relative, identifier] : kIdentifiers) {
    auto bundle = open(relative);
    ASSERT_NE(bundle, nullptr) << relative;
    EXPECT_EQ(bundle->bundleIdentifier(), identifier) << relative;
  }
  EXPECT_EQ(open("missing.app"), nullptr);
  EXPECT_EQ(open("file.app"), nullptr);
  EXPECT_EQ(openBundleAt("", {"en"}), nullptr);
  EXPECT_EQ(open("None.app")->objectForInfoDictionaryKey("CFBundleName"),
            Value("None"));
  EXPECT_EQ(open("Bare.app")->objectForInfoDictionaryKey("CFBundleName"),
            std::nullopt);
  EXPECT_EQ(open("Both.app")->objectForInfoDictionaryKey("Name"),
            Value("for mac"));
  EXPECT_EQ(open("Both.app")->objectForInfoDictionaryKey("Name-macos"),
            std::nullopt);
  // The inside of another bundle is not a flat bundle of its own.
  EXPECT_EQ(openBundleAt(path("Outer.app/Contents"), {})->bundleIdentifier(),
            std::nullopt);
}

// A binary list of nested arrays: object i holds object i + 1 `fanout`
// times; the last one is empty.
std::string nestedBinary(int depth, int fanout = 1) {
  const auto bigEndian = [](uint64_t value, int size) {
    std::string out;
    for (int k = size - 1; k >= 0; --k) {
      out += static_cast<char>(value >> (8 * k));
    }
    return out;
  };
  std::string bytes = "bplist00", table;
  for (int i = 0; i <= depth; ++i) {
    table += bigEndian(bytes.size(), 4);
    bytes += static_cast<char>(0xa0 | (i < depth ? fanout : 0));
    for (int k = 0; i < depth && k < fanout; ++k) {
      bytes += bigEndian(i + 1, 4);
    }
  }
  // The trailer: 4-byte offsets and references, the object count, the top
  // object (0) and where the offset table starts.
  return bytes + table + std::string(6, '\0') + "\x04\x04" +
         bigEndian(depth + 1, 8) + bigEndian(0, 8) + bigEndian(bytes.size(), 8);
}

// A binary list whose nested dictionary has a key with a NUL in place of
// the last character of `mark`, as the key is written.
std::string nulInKey(const std::string& key, const std::string& mark) {
  std::string bytes = toBinary(
      xmlPlist(entry("CFBundleIdentifier", "x") + "<key>CFBundleName</key>" +
               "<dict><key>" + key + "</key><true/></dict>"));
  bytes[bytes.find(mark) + mark.size() - 1] = '\0';
  return bytes;
}

TEST_F(AppBundlesTest, MalformedInformationListsLeaveNoEntries) {
  const std::string good = toBinary(xmlPlist(kTypedEntries));
  const std::string cases[] = {
      good.substr(0, good.size() / 2),
      good.substr(0, good.size() - 1),
      "bplist00" + std::string(40, '\xff'),
      nestedBinary(100000),
      nestedBinary(30, 2),
      nulInKey("a~", "a~"),
      nulInKey("\xC3\xA9~", "\xE9\0~"s),  // UTF-16
      "<?xml version=\"1.0\"?><plist><dict><key>CFBundleIdentifier</key>",
      "<plist>" + std::string(200000, '\0') + "</plist>",
      "<plist>" + std::string(100, 'x'),
      "<plist>" + repeat("<array>", 70) + repeat("</array>", 70) + "</plist>",
      "<plist><array><string>x</string></array></plist>",
      "{ CFBundleIdentifier = unterminated",
      "\xff\xfe\x00"s,
      xmlPlist(entry("CFBundleIdentifier", "big") +
               std::string(kPropertyListFileLimit, ' ')),
  };
  for (const std::string& bytes : cases) {
    SCOPED_TRACE(bytes.substr(0, 40));
    write("Bad.app/Contents/Info.plist", bytes);
    auto bundle = open("Bad.app");
    ASSERT_NE(bundle, nullptr);
    EXPECT_EQ(bundle->bundleIdentifier(), std::nullopt);
    EXPECT_EQ(bundle->objectForInfoDictionaryKey("CFBundleName"), std::nullopt);
  }
  EXPECT_TRUE(binaryPropertyListIsSafe(good));
  EXPECT_TRUE(binaryPropertyListIsSafe(nestedBinary(60)));
  EXPECT_TRUE(binaryPropertyListIsSafe(nestedBinary(20, 2)));
  EXPECT_FALSE(binaryPropertyListIsSafe(nestedBinary(65)));
  EXPECT_FALSE(binaryPropertyListIsSafe(nestedBinary(30, 2)));
  EXPECT_TRUE(xmlNestingWithin(repeat("<array>", 64) + "<array/>", 64));
  EXPECT_FALSE(xmlNestingWithin(repeat("<dict>", 65), 64));
}

TEST_F(AppBundlesTest, LocalisedEntriesInEveryStringsForm) {
  const std::string text =
      "/* Localised. */\n\"CFBundleDisplayName\" = \"Caf\\U00e9 \\\"Ω\\\"\";\n"
      "// The short name.\nCFBundleName = Cafe;\n";
  const std::string xml = xmlPlist(entry("CFBundleDisplayName", "Café \"Ω\"") +
                                   entry("CFBundleName", "Cafe"));
  const std::string forms[] = {utf16(text, false),    utf16(text, true), text,
                               "\xef\xbb\xbf" + text, toBinary(xml),     xml,
                               utf16(xml, false)};
  app("Cafe.app", entry("CFBundleIdentifier", "cafe") +
                      entry("CFBundleDisplayName", "Raw") +
                      entry("CFBundleName", "Raw"));
  for (const std::string& bytes : forms) {
    SCOPED_TRACE(bytes.substr(0, 24));
    write("Cafe.app/Contents/Resources/en.lproj/InfoPlist.strings", bytes);
    auto bundle = open("Cafe.app");
    EXPECT_EQ(bundle->objectForInfoDictionaryKey("CFBundleDisplayName"),
              Value("Café \"Ω\""));
    EXPECT_EQ(bundle->objectForInfoDictionaryKey("CFBundleName"),
              Value("Cafe"));
    EXPECT_EQ(bundle->bundleIdentifier(), "cafe");
  }
  // A malformed file leaves the raw entries, whatever other files say.
  write("Cafe.app/Contents/Resources/en.lproj/InfoPlist.strings",
        "CFBundleName = \"Broken\"\nOther = \"x\";");
  write("Cafe.app/Contents/Resources/Base.lproj/InfoPlist.strings",
        "CFBundleName = \"Base\";");
  EXPECT_EQ(open("Cafe.app")->objectForInfoDictionaryKey("CFBundleName"),
            Value("Raw"));
}

TEST_F(AppBundlesTest, ChoosesTheLocalisationAsFoundationDoes) {
  const struct {
    const char* name;
    Entries languages;
    Entries stringsIn;  // Folders holding InfoPlist.strings, "" for Resources.
    Entries emptyIn;    // Folders holding no strings file.
    const char* expected;  // The folder whose file is read; "" for none.
    const char* region = "German";  // CFBundleDevelopmentRegion.
  } kCases[] = {
      {"first preference", {"fr", "en"}, {"fr", "en"}, {}, "fr"},
      {"second preference", {"de", "en"}, {"fr", "en"}, {}, "en"},
      {"legacy name", {"en"}, {"English"}, {}, "English"},
      {"tag before legacy", {"en"}, {"English", "en"}, {}, "en"},
      {"region falls back", {"en-GB"}, {"en", "fr"}, {}, "en"},
      {"underscore region", {"pt-BR"}, {"pt_BR", "pt"}, {}, "pt_BR"},
      {"development region", {"ja"}, {"fr", "de"}, {}, "de"},
      {"global wins", {"fr"}, {"fr", ""}, {}, "global"},
      {"base before region", {"fr"}, {"Base", "de"}, {"fr"}, "Base"},
      {"chosen lacks file", {"fr"}, {"de"}, {"fr"}, "de"},
      {"nothing to read", {"fr"}, {}, {"fr", "de"}, ""},
      {"region by its tag", {"fr"}, {"de"}, {"fr", "Base"}, "de", "de"},
      {"region by a shorter tag", {"fr"}, {"de"}, {"fr"}, "de", "de-AT"},
      {"region spelled as the choice", {"fr"}, {"fr"}, {}, "fr", "FR"},
      {"preference spelled otherwise", {"FR"}, {"fr"}, {}, "fr", "de"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.name);
    const std::string resources =
        std::string(c.name) + ".app/Contents/Resources/";
    app(std::string(c.name) + ".app",
        entry("CFBundleDevelopmentRegion", c.region) +
            entry("CFBundleDisplayName", ""));
    for (const std::string& lproj : c.stringsIn) {
      write(resources + (lproj.empty() ? "" : lproj + ".lproj/") +
                "InfoPlist.strings",
            "CFBundleDisplayName = \"" + (lproj.empty() ? "global" : lproj) +
                "\";");
    }
    for (const std::string& lproj : c.emptyIn) {
      fs::create_directories(root_ / (resources + lproj + ".lproj"));
    }
    EXPECT_EQ(open(std::string(c.name) + ".app", c.languages)
                  ->objectForInfoDictionaryKey("CFBundleDisplayName"),
              Value(c.expected));
  }
}

TEST(StringsFileTest, ParsesOldStyleText) {
  const std::pair<std::string, ValueMap> kParsed[] = {
      {"", ValueMap{}},
      {"/* only */ // comments\n", ValueMap{}},
      {"a = b; 'c' = \"d\";", dict({{"a", "b"}, {"c", "d"}})},
      {"\"k\" = \"\\a\\b\\f\\n\\r\\t\\v\\\\\\'\\q\\101\";",
       dict({{"k", "\a\b\f\n\r\t\v\\'qA"}})},
      {"k = \"\\U00e9\\UD83D\\UDE00\\Ud83d!\";",
       dict({{"k", "é😀\xef\xbf\xbd!"}})},
      {"k = \"line\nbreak\\\nkept\";", dict({{"k", "line\nbreak\nkept"}})},
      {"k; k2;", dict({{"k", "k"}, {"k2", "k2"}})},
      {"k = one; k = two;", dict({{"k", "two"}})},
      {"{ a = (x, \"y\", ); b = { c = <0a 0B>; }; }",
       dict({{"a", ValueList{"x", "y"}},
             {"b", dict({{"c", std::vector<uint8_t>{10, 11}}})}})},
      {"path = /usr/local:bin-1.2_$;",
       dict({{"path", "/usr/local:bin-1.2_$"}})},
  };
  for (const auto& [text, expected] : kParsed) {
    EXPECT_EQ(parseOldStyleDictionary(text), expected) << text;
  }
  // Refused, nesting deeper than 64 levels included.
  for (const std::string text :
       {"k = \"a\"", "k = \"open;", "/* open", "k = a+b;", "( a, b )",
        "{ a = b; } c", "{ a = b }", "k = \"\\200\";", "k = \"\\U\";",
        "k = <abc>;", "= v;"}) {
    EXPECT_EQ(parseOldStyleDictionary(text), std::nullopt) << text;
  }
  EXPECT_EQ(
      parseOldStyleDictionary("k = " + repeat("(", 65) + repeat(")", 65) + ";"),
      std::nullopt);
}

TEST(StringsFileTest, DecodesTextEncodings) {
  EXPECT_EQ(decodePropertyListText(utf16("a😀é", false)), "a😀é");
  EXPECT_EQ(decodePropertyListText(utf16("a😀é", true)), "a😀é");
  EXPECT_EQ(decodePropertyListText(std::string("k\0=\0", 4)), "k=");
  EXPECT_EQ(decodePropertyListText(std::string("\0k\0=", 4)), "k=");
  EXPECT_EQ(decodePropertyListText("\xef\xbb\xbfk=v"), "k=v");
  const std::string refused[] = {"\xff\xfe\x41", "\xff\xfe\x00\xd8\x41\x00"s,
                                 "caf\xe9",      "\xc0\xaf",
                                 "\xed\xa0\x80", "\xf4\x90\x80\x80"};
  for (const std::string& bytes : refused) {
    EXPECT_EQ(decodePropertyListText(bytes), std::nullopt);
  }
}

}  // namespace
}  // namespace movaro::platform
