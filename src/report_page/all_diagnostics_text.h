#pragma once
// The whole text report, every section, as `CVDiag --all-diagnostics` prints
// it: the same command runs in this process, on the installed platform, in
// the given context, whose stream gets the text. It never prunes. The context
// keeps what the report worked out (the media walk, the resolved references)
// for whatever reads it next.

class ReportContext;

void writeAllDiagnostics(ReportContext& context);
