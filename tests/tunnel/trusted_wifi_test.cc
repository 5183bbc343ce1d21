// The trusted Wi-Fi list in clean form, and the rules built from it.
#include "tunnel/trusted_wifi.h"

#include "support/tunnel_fixture.h"

namespace movaro::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(TrustedWifiTest, CleansTrimsDeduplicatesAndSorts) {
  Value list = ValueList{"  Cafe  ",           "Home",     "Home", "", "Office",
                         std::string(33, 'x'), int32_t{7}, "home"};
  EXPECT_THAT(sanitizedWifiSsids(list),
              ElementsAre("Cafe", "Home", "Office", "home"));
}

TEST(TrustedWifiTest, CountsUserPerceivedCharacters) {
  std::string accented;
  for (int i = 0; i < 32; ++i) {
    accented += "e\u0301";  // two scalars, one character
  }
  std::string flags;
  for (int i = 0; i < 33; ++i) {
    flags += "\U0001F1EB\U0001F1F7";  // a flag: two scalars, one character
  }
  EXPECT_THAT(sanitizedWifiSsids(ValueList{accented, std::string(32, 'a'),
                                           flags, std::string(33, 'b')}),
              ElementsAre(std::string(32, 'a'), accented));
}

TEST(TrustedWifiTest, TrimsUnicodeWhiteSpaceAndNewlines) {
  EXPECT_THAT(sanitizedWifiSsids(
                  ValueList{"\u00a0\u2003Cafe\u2028\r\n", "\u3000", "\t\n"}),
              ElementsAre("Cafe"));
  // A byte-order mark and a zero-width space are not white space.
  EXPECT_THAT(sanitizedWifiSsids(ValueList{"\ufeffNet\u200b"}),
              ElementsAre("\ufeffNet\u200b"));
}

TEST(TrustedWifiTest, CanonicallyEqualNamesAreOneEntry) {
  // Composed and decomposed spellings of one name: the first stays.
  EXPECT_THAT(sanitizedWifiSsids(ValueList{"Cafe\u0301", "Caf\u00e9", "Zoo"}),
              ElementsAre("Cafe\u0301", "Zoo"));
}

TEST(TrustedWifiTest, SortsByScalarsOfComposedForms) {
  EXPECT_THAT(
      sanitizedWifiSsids(
          ValueList{"\u00c9clair", "calendar", "Zoom", "E\u0301cole", "apple"}),
      ElementsAre("Zoom", "apple", "calendar", "\u00c9clair", "E\u0301cole"));
}

TEST(TrustedWifiTest, AnythingButAListIsEmpty) {
  for (const Value& value : std::vector<Value>{Value("Home"), Value(int32_t{1}),
                                               dict({{"a", "b"}})}) {
    EXPECT_THAT(sanitizedWifiSsids(value), IsEmpty());
  }
  EXPECT_THAT(sanitizedWifiSsids(std::nullopt), IsEmpty());
}

TEST(TrustedWifiTest, RulesDisconnectOnTrustedNetworksThenConnect) {
  auto none = onDemandRules({});
  ASSERT_EQ(none.size(), 1u);
  EXPECT_EQ(none[0].action, platform::OnDemandRule::Action::kConnect);
  EXPECT_THAT(none[0].ssidMatch, IsEmpty());
  auto two = onDemandRules({"Home", "Office"});
  ASSERT_EQ(two.size(), 2u);
  EXPECT_EQ(two[0].action, platform::OnDemandRule::Action::kDisconnect);
  EXPECT_THAT(two[0].ssidMatch, ElementsAre("Home", "Office"));
  EXPECT_EQ(two[1].action, platform::OnDemandRule::Action::kConnect);
}

TEST_F(TunnelTest, TheStoredListIsCleanedWhenReadAndNeverRewritten) {
  const Value damaged = ValueList{"Office", 3, "Office", " Home", ValueList{}};
  mac.defaults.values[Value("HalvornTrustedWifiSsids")] = damaged;
  EXPECT_THAT(connectWith({}), IsValue(true));
  EXPECT_EQ(*find(providerConfiguration(), "trustedWifiSsids"),
            Value(ValueList{"Home", "Office"}));
  EXPECT_EQ(*find(mac.defaults.values, "HalvornTrustedWifiSsids"), damaged);

  mac.defaults.values[Value("HalvornTrustedWifiSsids")] = "Home";
  EXPECT_THAT(connectWith({}), IsValue(true));
  EXPECT_EQ(*find(providerConfiguration(), "trustedWifiSsids"),
            Value(ValueList{}));
}

}  // namespace
}  // namespace movaro::testing
