#include "platform/sim/bundles/app_bundles.h"

#include <gtest/gtest.h>
#include <plist/plist.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
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
  std::string out;
  auto unit = [&](uint32_t u) {
    const char hi = static_cast<char>(u >> 8), lo = static_cast<char>(u);
    out += bigEndian ? hi : lo;
    out += bigEndian ? lo : hi;
  };
  unit(0xfeff);
  for (size_t i = 0; i < text.size();) {
    const auto lead = static_cast<unsigned char>(text[i]);
    const int extra = lead < 0x80 ? 0 : lead < 0xe0 ? 1 : lead < 0xf0 ? 2 : 3;
    uint32_t c = extra == 0 ? lead : lead & (0x3f >> extra);
    for (int k = 1; k <= extra; ++k) {
      c = (c << 6) | (static_cast<unsigned char>(text[i + k]) & 0x3f);
    }
    i += static_cast<size_t>(extra) + 1;
    if (c >= 0x10000) {
      unit(0xd800 + ((c - 0x10000) >> 10));
      unit(0xdc00 + ((c - 0x10000) & 0x3ff));
    } else {
      unit(c);
    }
  }
  return out;
}

class AppBundlesTest : public ::testing::Test {
 protected:
  AppBundlesTest() {
    static std::atomic<int> counter{0};
    root_ = fs::temp_directory_path() /
            ("movaro-bundles-" + std::to_string(::getpid()) + "-" +
             std::to_string(counter++));
    fs::create_directories(root_);
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
  void folder(const std::string& relative) {
    fs::create_directories(root_ / relative);
  }
  // An application bundle in the macOS layout.
  void app(const std::string& relative, const std::string& body) {
    write(relative + "/Contents/Info.plist", xmlPlist(body));
  }
  std::unique_ptr<Bundle> open(const std::string& relative,
                               const Entries& languages = {"en"}) {
    return openBundleAt(path(relative), languages);
  }
  Entries expected(const Entries& relatives) const {
    Entries out;
    for (const std::string& relative : relatives) {
      out.push_back(path(relative));
    }
    return out;
  }

  fs::path root_;
};

TEST_F(AppBundlesTest, WalksEveryDepthInNameOrderSkippingHiddenAndPackages) {
  app("Zed.app", entry("CFBundleIdentifier", "z"));
  app("Utilities/Terminal.app", entry("CFBundleIdentifier", "t"));
  app("Outer.app/Contents/Helpers/Inner.app", entry("CFBundleIdentifier", "i"));
  app(".Hidden.app", entry("CFBundleIdentifier", "h"));
  app(".cache/Deep.app", entry("CFBundleIdentifier", "d"));
  app("Utilities/.Secret.app", entry("CFBundleIdentifier", "s"));
  write("Utilities/readme.txt", "text");
  folder("Empty");
  EXPECT_EQ(
      enumerateFolder(path()),
      expected({"Empty", "Outer.app", "Utilities", "Utilities/Terminal.app",
                "Utilities/readme.txt", "Zed.app"}));
  // A trailing slash does not double the separators.
  EXPECT_EQ(enumerateFolder(path() + "/"), enumerateFolder(path()));
}

TEST_F(AppBundlesTest, PackagesAreYieldedButNotEntered) {
  const char* packages[] = {
      "A.app",   "B.APP", "C.bundle", "D.plugin",          "E.kext",
      "F.appex", "G.xpc", "H.Bundle", "I.systemextension", "J.qlgenerator"};
  for (const char* name : packages) {
    write(std::string(name) + "/Contents/inside.txt", "x");
  }
  write("Lib.framework/Resources/inside.txt", "x");
  write("Folder.d/inside.txt", "x");
  Entries wanted = expected(
      {"A.app", "B.APP", "C.bundle", "D.plugin", "E.kext", "F.appex",
       "Folder.d", "Folder.d/inside.txt", "G.xpc", "H.Bundle",
       "I.systemextension", "J.qlgenerator", "Lib.framework",
       "Lib.framework/Resources", "Lib.framework/Resources/inside.txt"});
  EXPECT_EQ(enumerateFolder(path()), wanted);
}

TEST_F(AppBundlesTest, LinksAreYieldedButNeverFollowed) {
  app("Real/Tool.app", entry("CFBundleIdentifier", "t"));
  fs::create_directory_symlink(root_, root_ / "Loop");
  fs::create_directory_symlink(root_ / "Real", root_ / "Alias");
  EXPECT_EQ(enumerateFolder(path()),
            expected({"Alias", "Loop", "Real", "Real/Tool.app"}));
  // The starting folder itself may be a link.
  EXPECT_EQ(enumerateFolder(path("Alias")),
            Entries{path("Alias") + "/Tool.app"});
}

TEST_F(AppBundlesTest, FoldersThatCannotBeOpened) {
  write("file.txt", "x");
  EXPECT_EQ(enumerateFolder(path("missing")), std::nullopt);
  EXPECT_EQ(enumerateFolder(path("file.txt")), std::nullopt);
  EXPECT_EQ(enumerateFolder(""), std::nullopt);
  folder("Empty");
  EXPECT_EQ(enumerateFolder(path("Empty")), Entries{});
  if (::geteuid() == 0) {
    GTEST_SKIP() << "permissions do not apply to root";
  }
  app("locked/Hidden.app", entry("CFBundleIdentifier", "h"));
  fs::permissions(root_ / "locked", fs::perms::none);
  // An unreadable folder inside is yielded and passed over.
  EXPECT_EQ(enumerateFolder(path()), expected({"Empty", "file.txt", "locked"}));
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

TEST_F(AppBundlesTest, IdentifierMustBeAString) {
  app("None.app", entry("CFBundleName", "None"));
  app("Number.app", "<key>CFBundleIdentifier</key><integer>3</integer>");
  EXPECT_EQ(open("None.app")->bundleIdentifier(), std::nullopt);
  EXPECT_EQ(open("None.app")->objectForInfoDictionaryKey("CFBundleName"),
            Value("None"));
  EXPECT_EQ(open("Number.app")->bundleIdentifier(), std::nullopt);
}

TEST_F(AppBundlesTest, FoldersAreBundlesAndNothingElseIs) {
  write("file.app", "x");
  folder("Bare.app");
  EXPECT_EQ(open("missing.app"), nullptr);
  EXPECT_EQ(open("file.app"), nullptr);
  EXPECT_EQ(openBundleAt("", {"en"}), nullptr);
  folder("Fifo.app/Contents");
  ASSERT_EQ(::mkfifo(path("Fifo.app/Contents/Info.plist").c_str(), 0600), 0);
  EXPECT_EQ(open("Fifo.app")->bundleIdentifier(), std::nullopt);
  auto bare = open("Bare.app");
  ASSERT_NE(bare, nullptr);
  EXPECT_EQ(bare->bundleIdentifier(), std::nullopt);
  EXPECT_EQ(bare->objectForInfoDictionaryKey("CFBundleName"), std::nullopt);
}

TEST_F(AppBundlesTest, LayoutsAndPlatformVariants) {
  write("Flat.app/Info.plist", xmlPlist(entry("CFBundleIdentifier", "flat")));
  write("Old.bundle/Resources/Info.plist",
        xmlPlist(entry("CFBundleIdentifier", "old")));
  app("Both.app", entry("CFBundleIdentifier", "generic"));
  write("Both.app/Contents/Info-macos.plist",
        xmlPlist(entry("CFBundleIdentifier", "mac") + entry("Name", "plain") +
                 entry("Name-macos", "for mac")));
  write("Outer.app/Contents/Info.plist",
        xmlPlist(entry("CFBundleIdentifier", "outer")));
  EXPECT_EQ(open("Flat.app")->bundleIdentifier(), "flat");
  EXPECT_EQ(open("Old.bundle")->bundleIdentifier(), "old");
  auto both = open("Both.app");
  EXPECT_EQ(both->bundleIdentifier(), "mac");
  EXPECT_EQ(both->objectForInfoDictionaryKey("Name"), Value("for mac"));
  EXPECT_EQ(both->objectForInfoDictionaryKey("Name-macos"), std::nullopt);
  // The inside of another bundle is not a flat bundle of its own.
  EXPECT_EQ(open("Outer.app")->bundleIdentifier(), "outer");
  EXPECT_EQ(openBundleAt(path("Outer.app/Contents"), {})->bundleIdentifier(),
            std::nullopt);
}

// A binary list of nested arrays: object i holds object i + 1 `fanout`
// times; the last one is empty.
std::string nestedBinary(int depth, int fanout = 1) {
  std::string bytes = "bplist00", table;
  auto be32 = [](std::string& out, uint32_t v) {
    for (int shift = 24; shift >= 0; shift -= 8) {
      out += static_cast<char>(v >> shift);
    }
  };
  for (int i = 0; i <= depth; ++i) {
    be32(table, static_cast<uint32_t>(bytes.size()));
    bytes += static_cast<char>(0xa0 | (i < depth ? fanout : 0));
    for (int k = 0; i < depth && k < fanout; ++k) {
      be32(bytes, static_cast<uint32_t>(i + 1));
    }
  }
  const size_t tableAt = bytes.size();
  bytes += table;
  std::string trailer(32, '\0');
  trailer[6] = trailer[7] = 4;
  for (int k = 0; k < 4; ++k) {
    trailer[15 - k] = static_cast<char>((depth + 1) >> (8 * k));
    trailer[31 - k] = static_cast<char>(tableAt >> (8 * k));
  }
  return bytes + trailer;
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
}

struct LocalisationCase {
  const char* name;
  Entries languages;
  Entries stringsIn;  // Folders (under Resources) holding InfoPlist.strings.
  Entries emptyLprojs;
  const char* expected;           // The folder whose file is read; "" for none.
  const char* region = "German";  // CFBundleDevelopmentRegion.
};

TEST_F(AppBundlesTest, ChoosesTheLocalisationAsFoundationDoes) {
  const LocalisationCase cases[] = {
      {"first preference", {"fr", "en"}, {"fr.lproj", "en.lproj"}, {}, "fr"},
      {"second preference", {"de", "en"}, {"fr.lproj", "en.lproj"}, {}, "en"},
      {"legacy name", {"en"}, {"English.lproj"}, {}, "English"},
      {"tag before legacy", {"en"}, {"English.lproj", "en.lproj"}, {}, "en"},
      {"region falls back", {"en-GB"}, {"en.lproj", "fr.lproj"}, {}, "en"},
      {"underscore region",
       {"pt-BR"},
       {"pt_BR.lproj", "pt.lproj"},
       {},
       "pt_BR"},
      {"development region", {"ja"}, {"fr.lproj", "de.lproj"}, {}, "de"},
      {"global wins", {"fr"}, {"fr.lproj", "."}, {}, "global"},
      {"base before region",
       {"fr"},
       {"Base.lproj", "de.lproj"},
       {"fr"},
       "Base"},
      {"chosen lacks file", {"fr"}, {"de.lproj"}, {"fr"}, "de"},
      {"nothing to read", {"fr"}, {}, {"fr", "de"}, ""},
      {"region by its tag", {"fr"}, {"de.lproj"}, {"fr", "Base"}, "de", "de"},
      {"region by a shorter tag", {"fr"}, {"de.lproj"}, {"fr"}, "de", "de-AT"},
      {"region spelled as the choice", {"fr"}, {"fr.lproj"}, {}, "fr", "FR"},
      {"preference spelled otherwise", {"FR"}, {"fr.lproj"}, {}, "fr", "de"},
  };
  for (const LocalisationCase& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string name = std::string(c.name) + ".app";
    app(name, entry("CFBundleDevelopmentRegion", c.region) +
                  entry("CFBundleDisplayName", ""));
    for (const std::string& lproj : c.stringsIn) {
      write(name + "/Contents/Resources/" + lproj + "/InfoPlist.strings",
            "CFBundleDisplayName = \"" +
                (lproj == "." ? "global" : lproj.substr(0, lproj.find('.'))) +
                "\";");
    }
    for (const std::string& lproj : c.emptyLprojs) {
      folder(name + "/Contents/Resources/" + lproj + ".lproj");
    }
    EXPECT_EQ(open(name, c.languages)
                  ->objectForInfoDictionaryKey("CFBundleDisplayName"),
              Value(c.expected));
  }
}

TEST_F(AppBundlesTest, MalformedStringsFileLeavesRawEntries) {
  app("Odd.app", entry("CFBundleName", "Raw"));
  write("Odd.app/Contents/Resources/en.lproj/InfoPlist.strings",
        "CFBundleName = \"Broken\"\nOther = \"x\";");
  write("Odd.app/Contents/Resources/Base.lproj/InfoPlist.strings",
        "CFBundleName = \"Base\";");
  EXPECT_EQ(open("Odd.app")->objectForInfoDictionaryKey("CFBundleName"),
            Value("Raw"));
}

struct ParseCase {
  std::string text;
  std::optional<ValueMap> expected;
};

TEST(StringsFileTest, ParsesOldStyleText) {
  using Map = std::optional<ValueMap>;
  const ParseCase cases[] = {
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
      {"k = \"a\"", Map()},
      {"k = \"open;", Map()},
      {"/* open", Map()},
      {"k = a+b;", Map()},
      {"( a, b )", Map()},
      {"{ a = b; } c", Map()},
      {"{ a = b }", Map()},
      {"k = \"\\200\";", Map()},
      {"k = \"\\U\";", Map()},
      {"k = <abc>;", Map()},
      {"k = " + repeat("(", 65) + repeat(")", 65) + ";", Map()},
      {"= v;", Map()},
  };
  for (const ParseCase& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(parseOldStyleDictionary(c.text), c.expected);
  }
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
