// Property-list text as bundles carry it: the decoding of the bytes
// (UTF-8 or UTF-16) and the old-style (OpenStep) text form of a dictionary,
// the form of most InfoPlist.strings files:
//
//   /* A comment. */
//   "CFBundleDisplayName" = "Éclair";
//   CFBundleName = Eclair;   // unquoted where the text is plain enough
//
// The parser is strict: anything it does not understand rejects the whole
// text, as Foundation rejects the whole file. What it accepts:
//
// - Whitespace (space, tab, CR, LF, VT, FF) and comments (/* */, and //
//   to the end of the line) between tokens. An unterminated comment fails.
// - Strings quoted with " or ', which may span lines, or unquoted strings
//   of the letters, digits and _ $ / : . - only.
// - Escapes in quoted strings: \a \b \f \n \r \t \v, \" \' \\, a backslash
//   before a line break (kept as the line break), \U followed by one to four
//   hex digits (a UTF-16 unit; surrogate pairs are joined, a lone half reads
//   as U+FFFD), and one to three octal digits for a code below 0200. Octal
//   codes from 0200 up name NeXTSTEP characters and are refused. Any other
//   escaped character stands for itself.
// - Values: strings, arrays "( a, b )" (a trailing comma is allowed),
//   dictionaries "{ key = value; }" (every entry ends with ';') and data
//   "<0fbd 77>" (an even number of hex digits). Nesting deeper than 64
//   levels is refused.
// - The top level is a braced dictionary or the brace-less strings-file
//   form: entries "key = value;" up to the end, where "key;" alone maps the
//   key to itself. An empty text is an empty dictionary. A later entry
//   replaces an earlier one with the same key.
#ifndef MOVARO_PLATFORM_SIM_BUNDLES_STRINGS_FILE_H_
#define MOVARO_PLATFORM_SIM_BUNDLES_STRINGS_FILE_H_

#include <optional>
#include <string>
#include <string_view>

#include "bridge/value.h"

namespace movaro::platform {

// The text of property-list bytes as UTF-8: UTF-16 with a byte-order mark
// (either order) or without one (the order guessed from a zero first or
// second byte), else UTF-8 with or without its mark. Absent when the bytes
// are not valid in the encoding found (odd UTF-16 length, unpaired
// surrogates, malformed or overlong UTF-8).
std::optional<std::string> decodePropertyListText(std::string_view bytes);

// The dictionary of old-style text (UTF-8, as decoded above); absent when
// the text is malformed or its top level is not a dictionary.
std::optional<ValueMap> parseOldStyleDictionary(std::string_view text);

}  // namespace movaro::platform

#endif  // MOVARO_PLATFORM_SIM_BUNDLES_STRINGS_FILE_H_
