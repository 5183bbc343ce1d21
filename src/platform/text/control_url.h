// URI references (RFC 3986 section 4.1) split into their components, and
// the rule that a mesh control server's address must meet.
//
// The parser is strict: it accepts exactly the RFC 3986 grammar over ASCII
// and keeps every component as written (no percent-decoding, no case
// folding, no normalisation). Where the platform's own URL parser judges an
// input differently, docs/url-parsing.md lists the case and our choice.
#ifndef MOVARO_PLATFORM_TEXT_CONTROL_URL_H_
#define MOVARO_PLATFORM_TEXT_CONTROL_URL_H_

#include <optional>
#include <string>
#include <string_view>

namespace movaro::platform {

struct UrlParts {
  // Absent for a relative reference.
  std::optional<std::string> scheme;
  // Present when the reference has an authority ("//" after the scheme);
  // then `host` is set too, possibly empty.
  std::optional<std::string> userinfo;  // Before "@"; may hold ":password".
  std::optional<std::string> host;      // IP literals keep their brackets.
  std::optional<std::string> port;      // After ":"; may be empty.
  std::string path;
  std::optional<std::string> query;     // After "?", possibly empty.
  std::optional<std::string> fragment;  // After "#", possibly empty.

  friend bool operator==(const UrlParts&, const UrlParts&) = default;
};

// The components of a URI reference; nothing when the text does not match
// the grammar.
std::optional<UrlParts> parseUrl(std::string_view text);

// True when the text is a URL with the scheme "https" (exactly, in lower
// case), a non-empty host, and no user information (not even an empty one
// before "@"), no query and no fragment. Port and path may be anything
// that the grammar allows.
bool isValidControlUrl(std::string_view text);

}  // namespace movaro::platform

#endif  // MOVARO_PLATFORM_TEXT_CONTROL_URL_H_
