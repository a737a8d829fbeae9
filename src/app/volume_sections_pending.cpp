// Placeholders until the volume model lands; it replaces this file with the
// catalogue report, the duplicate UUID report and the root volume's macOS text.
#include "app/Sections.h"

void catalogueReport(std::ostream&) {}
void duplicateUUIDReport(std::ostream&) {}
std::optional<std::string> rootOperatingSystemText() { return std::nullopt; }
