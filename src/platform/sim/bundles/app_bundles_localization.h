// Which InfoPlist.strings a bundle reads for its localised information
// entries, searched the way Foundation searches a bundle's resources:
//
// 1. the global (non-localised) InfoPlist.strings in the resources folder,
//    which takes precedence over every localisation;
// 2. the localisation chosen for the user: the first preferred language
//    that the bundle has a ".lproj" folder for (see preferredLocalization);
//    when none matches, the development region (CFBundleDevelopmentRegion);
// 3. "Base.lproj";
// 4. the development region's folder.
//
// The first of these folders that holds an InfoPlist.strings file supplies
// the whole localised table; later folders are not merged in, and a file
// that turns out malformed leaves the bundle without localised entries,
// as in Foundation. Folder and file names are matched exactly (Foundation's
// search is case-sensitive too); language tags are compared without regard
// to case or to "-" versus "_".
//
// Listing the resources folder costs more than the rest of reading a
// bundle, so the common case is settled by looking folders up by name: the
// first preferred language and the development region each with a folder
// of exactly their own name. Anything else falls back to the listing.
#ifndef MOVARO_PLATFORM_SIM_BUNDLES_APP_BUNDLES_LOCALIZATION_H_
#define MOVARO_PLATFORM_SIM_BUNDLES_APP_BUNDLES_LOCALIZATION_H_

#include <optional>
#include <string>
#include <vector>

namespace movaro::platform {

// The first preferred language that one of `available` (localisation
// names, the ".lproj" folders without their extension) matches. A
// preference matches a localisation of the same tag, also in its legacy
// English-name form ("English" for "en", "Japanese" for "ja"), preferring
// the tag form when a bundle has both; a preference with a region or
// script that the bundle lacks matches its shorter forms ("en-GB" matches
// "en", "zh-Hant-TW" matches "zh-Hant"). Absent when nothing matches.
std::optional<std::string> preferredLocalization(
    const std::vector<std::string>& available,
    const std::vector<std::string>& preferredLanguages);

// The bytes of the InfoPlist.strings that a bundle reads, from its
// resources folder at `resourcesPath` relative to the open folder
// `bundle`; absent when it has none or the file cannot be read (a file
// that exists but cannot be read hides the folders after it).
std::optional<std::string> readLocalizedInfo(
    int bundle,
    const std::string& resourcesPath,
    const std::vector<std::string>& preferredLanguages,
    const std::optional<std::string>& developmentRegion);

}  // namespace movaro::platform

#endif  // MOVARO_PLATFORM_SIM_BUNDLES_APP_BUNDLES_LOCALIZATION_H_
