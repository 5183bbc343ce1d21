// Application bundles on a real file system: the folder walk of Foundation's
// directory enumerator and the reading of a bundle's information entries as
// Foundation's Bundle reads them.
#ifndef MOVARO_PLATFORM_SIM_BUNDLES_APP_BUNDLES_H_
#define MOVARO_PLATFORM_SIM_BUNDLES_APP_BUNDLES_H_

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/foundation.h"

namespace movaro::platform {

// The entries below a folder, as the enumerator yields them with the
// skip-hidden-files and skip-package-descendants options: any depth, never
// into packages, hidden entries left out. Absent when the folder cannot be
// enumerated; errors inside it are passed over.
std::optional<std::vector<std::string>> enumerateFolder(
    const std::string& folder);

// The bundle at a path, reading Contents/Info.plist (XML or binary) and,
// for localised entries, the InfoPlist.strings of the first preferred
// language the bundle has (else its development region). Null when the
// path is not a bundle.
std::unique_ptr<Bundle> openBundleAt(
    const std::string& path,
    const std::vector<std::string>& preferredLanguages);

}  // namespace movaro::platform

#endif  // MOVARO_PLATFORM_SIM_BUNDLES_APP_BUNDLES_H_
