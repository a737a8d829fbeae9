#include "report_page/all_diagnostics_text.h"

#include <memory>
#include <sstream>

#include "app/cv_diag.h"

std::string allDiagnosticsText() {
  auto command = std::dynamic_pointer_cast<CVDiag>(ArgumentParser::parseAsRoot<CVDiag>({"--all-diagnostics"}));
  std::ostringstream out;
  command->run(out);
  return out.str();
}
