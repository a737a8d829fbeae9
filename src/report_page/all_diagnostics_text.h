#pragma once
// The whole text report, every section, as `CVDiag --all-diagnostics` prints
// it: the same command runs in this process, on the installed platform, into
// a string. It never prunes.

#include <string>

std::string allDiagnosticsText();
