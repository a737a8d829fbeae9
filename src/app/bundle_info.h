#pragma once
// The information dictionary that the build embeds in CVDiag (the version
// values of the version line), for the executables that install a platform:
// CVDiag itself, and cvdiag-machine, whose page embeds CVDiag's report.

#include "bundle_info.inc"
#include "platform/value.h"

inline platform::Dictionary cvdiagInfoDictionary() {
  return {{"CFBundleShortVersionString", CVDIAG_SHORT_VERSION},
          {"CurrentProjectVersion", CVDIAG_PROJECT_VERSION},
          {"SourceVersion", CVDIAG_SOURCE_VERSION},
          {"LSMinimumSystemVersion", CVDIAG_MINIMUM_SYSTEM_VERSION}};
}
