// Sections whose subsystems (the registry, the settings documents and the
// diskutil catalogue) are not built yet: they print nothing.
#include "app/sections.h"

void diskutilEntityReport(std::ostream&) {}
