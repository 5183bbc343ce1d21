#include "mesh/account_rules.h"

namespace movaro {
namespace {

bool isAsciiAlnum(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
         (c >= '0' && c <= '9');
}

}  // namespace

bool isAccountNamespace(std::string_view text) {
  if (text.size() != 64) {
    return false;
  }
  for (char c : text) {
    if (!((c >= 'a' && c <= 'f') || (c >= '0' && c <= '9'))) {
      return false;
    }
  }
  return true;
}

bool isHostname(std::string_view text) {
  if (text.empty() || text.size() > 63 || !isAsciiAlnum(text[0])) {
    return false;
  }
  for (char c : text.substr(1)) {
    if (!isAsciiAlnum(c) && c != '-') {
      return false;
    }
  }
  return true;
}

}  // namespace movaro
