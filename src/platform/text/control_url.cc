#include "platform/text/control_url.h"

#include <cstddef>

namespace movaro::platform {
namespace {

// Character classes of RFC 3986 section 2 and appendix A.
constexpr bool isAlpha(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}
constexpr bool isDigit(char c) {
  return c >= '0' && c <= '9';
}
constexpr bool isHexDigit(char c) {
  return isDigit(c) || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}
constexpr bool isUnreserved(char c) {
  return isAlpha(c) || isDigit(c) || c == '-' || c == '.' || c == '_' ||
         c == '~';
}
constexpr bool isSubDelim(char c) {
  switch (c) {
    case '!':
    case '$':
    case '&':
    case '\'':
    case '(':
    case ')':
    case '*':
    case '+':
    case ',':
    case ';':
    case '=':
      return true;
    default:
      return false;
  }
}
constexpr bool isSchemeChar(char c) {
  return isAlpha(c) || isDigit(c) || c == '+' || c == '-' || c == '.';
}

// True when every character of `text` is allowed by `allowed` or starts a
// well-formed percent-encoded octet.
template <typename Allowed>
bool matchesWithPercent(std::string_view text, Allowed allowed) {
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%') {
      if (i + 2 >= text.size() || !isHexDigit(text[i + 1]) ||
          !isHexDigit(text[i + 2])) {
        return false;
      }
      i += 2;
    } else if (!allowed(text[i])) {
      return false;
    }
  }
  return true;
}

constexpr bool isPchar(char c) {
  return isUnreserved(c) || isSubDelim(c) || c == ':' || c == '@';
}
constexpr bool isPathChar(char c) {
  return isPchar(c) || c == '/';
}
constexpr bool isQueryChar(char c) {
  return isPchar(c) || c == '/' || c == '?';
}
constexpr bool isUserinfoChar(char c) {
  return isUnreserved(c) || isSubDelim(c) || c == ':';
}
constexpr bool isRegNameChar(char c) {
  return isUnreserved(c) || isSubDelim(c);
}

// dec-octet: 0-255 without leading zeros.
bool isDecOctet(std::string_view text) {
  if (text.empty() || text.size() > 3) {
    return false;
  }
  for (char c : text) {
    if (!isDigit(c)) {
      return false;
    }
  }
  if (text.size() > 1 && text[0] == '0') {
    return false;
  }
  int value = 0;
  for (char c : text) {
    value = value * 10 + (c - '0');
  }
  return value <= 255;
}

bool isIpv4Address(std::string_view text) {
  for (int octet = 0; octet < 4; ++octet) {
    const size_t dot = text.find('.');
    const bool last = octet == 3;
    if (last != (dot == std::string_view::npos)) {
      return false;
    }
    if (!isDecOctet(text.substr(0, dot))) {
      return false;
    }
    if (!last) {
      text.remove_prefix(dot + 1);
    }
  }
  return true;
}

bool isH16(std::string_view text) {
  if (text.empty() || text.size() > 4) {
    return false;
  }
  for (char c : text) {
    if (!isHexDigit(c)) {
      return false;
    }
  }
  return true;
}

// Counts the 16-bit pieces of one side of "::" (or of a whole address
// without one): h16 groups separated by ":", of which only the very last
// of the address may be an IPv4 address worth two pieces. -1 when malformed.
int countPieces(std::string_view text, bool mayEndInIpv4) {
  if (text.empty()) {
    return 0;
  }
  int pieces = 0;
  while (true) {
    const size_t colon = text.find(':');
    const std::string_view group = text.substr(0, colon);
    if (colon == std::string_view::npos) {
      if (isH16(group)) {
        return pieces + 1;
      }
      return mayEndInIpv4 && isIpv4Address(group) ? pieces + 2 : -1;
    }
    if (!isH16(group)) {
      return -1;
    }
    ++pieces;
    text.remove_prefix(colon + 1);
  }
}

bool isIpv6Address(std::string_view text) {
  const size_t gap = text.find("::");
  if (gap == std::string_view::npos) {
    return countPieces(text, true) == 8;
  }
  const std::string_view before = text.substr(0, gap);
  const std::string_view after = text.substr(gap + 2);
  if (after.find("::") != std::string_view::npos) {
    return false;
  }
  const int head = countPieces(before, false);
  const int tail = countPieces(after, true);
  // "::" stands for at least one zero piece.
  return head >= 0 && tail >= 0 && head + tail <= 7;
}

// IPvFuture: "v" 1*HEXDIG "." 1*( unreserved / sub-delims / ":" ).
bool isIpvFuture(std::string_view text) {
  if (text.empty() || (text[0] != 'v' && text[0] != 'V')) {
    return false;
  }
  const size_t dot = text.find('.');
  if (dot == std::string_view::npos || dot < 2 || dot + 1 == text.size()) {
    return false;
  }
  for (size_t i = 1; i < dot; ++i) {
    if (!isHexDigit(text[i])) {
      return false;
    }
  }
  for (size_t i = dot + 1; i < text.size(); ++i) {
    if (!isUserinfoChar(text[i])) {
      return false;
    }
  }
  return true;
}

bool parseAuthority(std::string_view authority, UrlParts& parts) {
  const size_t at = authority.find('@');
  if (at != std::string_view::npos) {
    const std::string_view userinfo = authority.substr(0, at);
    if (!matchesWithPercent(userinfo, isUserinfoChar)) {
      return false;
    }
    parts.userinfo = std::string(userinfo);
    authority.remove_prefix(at + 1);
  }
  std::string_view host;
  std::string_view rest;
  if (!authority.empty() && authority[0] == '[') {
    const size_t close = authority.find(']');
    if (close == std::string_view::npos) {
      return false;
    }
    const std::string_view literal = authority.substr(1, close - 1);
    if (!isIpv6Address(literal) && !isIpvFuture(literal)) {
      return false;
    }
    host = authority.substr(0, close + 1);
    rest = authority.substr(close + 1);
  } else {
    const size_t colon = authority.find(':');
    host = authority.substr(0, colon);
    rest = colon == std::string_view::npos ? std::string_view()
                                           : authority.substr(colon);
    // IPv4 addresses are a subset of reg-name, so one check covers both.
    if (!matchesWithPercent(host, isRegNameChar)) {
      return false;
    }
  }
  parts.host = std::string(host);
  if (!rest.empty()) {
    if (rest[0] != ':') {
      return false;
    }
    rest.remove_prefix(1);
    for (char c : rest) {
      if (!isDigit(c)) {
        return false;
      }
    }
    parts.port = std::string(rest);
  }
  return true;
}

}  // namespace

std::optional<UrlParts> parseUrl(std::string_view text) {
  UrlParts parts;

  // scheme ":" — only when the text starts with a letter followed by
  // scheme characters up to the first ":".
  if (!text.empty() && isAlpha(text[0])) {
    size_t end = 1;
    while (end < text.size() && isSchemeChar(text[end])) {
      ++end;
    }
    if (end < text.size() && text[end] == ':') {
      parts.scheme = std::string(text.substr(0, end));
      text.remove_prefix(end + 1);
    }
  }

  // The first "#" starts the fragment, the first "?" before it the query.
  const size_t hash = text.find('#');
  if (hash != std::string_view::npos) {
    const std::string_view fragment = text.substr(hash + 1);
    if (!matchesWithPercent(fragment, isQueryChar)) {
      return std::nullopt;
    }
    parts.fragment = std::string(fragment);
    text = text.substr(0, hash);
  }
  const size_t question = text.find('?');
  if (question != std::string_view::npos) {
    const std::string_view query = text.substr(question + 1);
    if (!matchesWithPercent(query, isQueryChar)) {
      return std::nullopt;
    }
    parts.query = std::string(query);
    text = text.substr(0, question);
  }

  // "//" authority path-abempty, or a path without authority.
  if (text.substr(0, 2) == "//") {
    text.remove_prefix(2);
    const size_t slash = text.find('/');
    if (!parseAuthority(text.substr(0, slash), parts)) {
      return std::nullopt;
    }
    text = slash == std::string_view::npos ? std::string_view()
                                           : text.substr(slash);
  } else if (!parts.scheme) {
    // path-noscheme: a relative path's first segment holds no ":", or it
    // would read as a scheme.
    const std::string_view first = text.substr(0, text.find('/'));
    if (first.find(':') != std::string_view::npos) {
      return std::nullopt;
    }
  }
  if (!matchesWithPercent(text, isPathChar)) {
    return std::nullopt;
  }
  parts.path = std::string(text);
  return parts;
}

bool isValidControlUrl(std::string_view text) {
  const std::optional<UrlParts> parts = parseUrl(text);
  return parts && parts->scheme == "https" && parts->host &&
         !parts->host->empty() && !parts->userinfo && !parts->query &&
         !parts->fragment;
}

}  // namespace movaro::platform
