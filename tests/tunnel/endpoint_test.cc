#include "tunnel/endpoint.h"

#include <gtest/gtest.h>

namespace movaro {
namespace {

TEST(EndpointTest, FindsTheFirstEndpointLineAnywhere) {
  const std::pair<const char*, std::optional<std::string>> cases[] = {
      {"  endpoint =  1.2.3.4:51820  \n", "1.2.3.4:51820"},
      {"[Peer]\nEndpoint = a:1\nEndpoint = b:2\n", "a:1"},
      {"[Interface]\nEndPoint\t=\tv:2\r\n", "v:2"},
      {"endpointx = y:3", "y:3"},  // any key that begins so
      {"Endpoint =\n", ""},        // found, and empty
      {"# Endpoint = c:1\nEndpoint = d:2", "d:2"},
      {"Endpoint c:1\n", std::nullopt},  // no equals sign
      {"[Peer]\nPublicKey = k\n", std::nullopt},
      {"x\u2028Endpoint = e:5\u2029", "e:5"},
      {"Endpoint = f:6 # comment", "f:6 # comment"},
  };
  for (const auto& [text, endpoint] : cases) {
    EXPECT_EQ(extractEndpoint(text), endpoint) << text;
  }
}

}  // namespace
}  // namespace movaro
