#include "report_page/all_diagnostics_text.h"

#include <memory>

#include "app/cv_diag.h"
#include "app/report_context.h"

void writeAllDiagnostics(ReportContext& context) {
  auto command = std::dynamic_pointer_cast<CVDiag>(ArgumentParser::parseAsRoot<CVDiag>({"--all-diagnostics"}));
  command->run(context);
}
