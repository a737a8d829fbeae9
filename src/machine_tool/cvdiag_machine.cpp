#include "machine_tool/cvdiag_machine.h"

#include <iostream>
#include <variant>

#include "machine_tool/machine_check.h"
#include "machine_tool/machine_report.h"
#include "machine_tool/recording_import.h"

using ArgumentParser::CommandConfiguration;
using ArgumentParser::Declarations;
using ArgumentParser::ExitCode;
using ArgumentParser::typeOf;

CommandConfiguration CVDiagMachine::configuration() {
  return {.commandName = "cvdiag-machine",
          .abstract = "Make, check, describe and map the machine folders that CVDiag reports on",
          .discussion = "A machine folder stands for a Mac: CVDIAG_MACHINE=FOLDER CVDiag --all-diagnostics "
                        "reports on it. cvdiag-record records a real Mac into one archive; import turns "
                        "that archive into a machine folder; report draws one as an HTML page.",
          .ungroupedSubcommands = {typeOf<CVDiagMachineImport>(), typeOf<CVDiagMachineCheck>(),
                                   typeOf<CVDiagMachineDescribe>(), typeOf<CVDiagMachineReport>()}};
}

CommandConfiguration CVDiagMachineImport::configuration() {
  return {.commandName = "import",
          .abstract = "Make a machine folder from a recording of cvdiag-record",
          .discussion = "Prints one line for each fact that could not be derived from the recording."};
}

void CVDiagMachineImport::declare(Declarations<CVDiagMachineImport>& d) {
  d("recording", &CVDiagMachineImport::recording)("folder", &CVDiagMachineImport::folder);
}

void CVDiagMachineImport::run() {
  auto result = machine_tool::importRecording(*recording, *folder);
  if (auto* error = std::get_if<std::string>(&result)) {
    std::cerr << "cvdiag-machine: " << *error << "\n";
    throw ExitCode::failure();
  }
  for (const auto& line : std::get<std::vector<std::string>>(result)) std::cout << line << "\n";
}

CommandConfiguration CVDiagMachineCheck::configuration() {
  return {.commandName = "check",
          .abstract = "Check a machine folder",
          .discussion = "Prints one line for each fault of a damaged folder, naming the file and the key, "
                        "then a line \"note: …\" for each answer that the recorded Mac did not have; the "
                        "status is 1 when there is a fault."};
}

void CVDiagMachineCheck::declare(Declarations<CVDiagMachineCheck>& d) { d("folder", &CVDiagMachineCheck::folder); }

void CVDiagMachineCheck::run() {
  auto found = machine_tool::checkMachineFolder(*folder);
  for (const auto& line : found.faults) std::cout << line << "\n";
  for (const auto& line : found.notes) std::cout << "note: " << line << "\n";
  if (!found.faults.empty()) throw ExitCode::failure();
}

CommandConfiguration CVDiagMachineDescribe::configuration() {
  return {.commandName = "describe",
          .abstract = "Summarise a machine folder: disks, volumes, registry entries, settings documents"};
}

void CVDiagMachineDescribe::declare(Declarations<CVDiagMachineDescribe>& d) {
  d("folder", &CVDiagMachineDescribe::folder);
}

void CVDiagMachineDescribe::run() {
  if (auto error = machine_tool::describeMachineFolder(*folder, std::cout)) {
    std::cerr << "cvdiag-machine: " << *error << "\n";
    throw ExitCode::failure();
  }
}

CommandConfiguration CVDiagMachineReport::configuration() {
  return {.commandName = "report",
          .abstract = "Write one HTML page that maps a machine folder's disks, registry and settings",
          .discussion = "The page shows each disk with its partitions and volumes, the registry GUIDs that stand "
                        "for each volume (several flagged as duplicates), the registry entries of volumes that are "
                        "not attached, each settings reference drawn to the volume it resolves to, the entries "
                        "--prune-orphans would remove, and the whole text of CVDiag --all-diagnostics. It needs "
                        "no network and reads fully with scripts off."};
}

void CVDiagMachineReport::declare(Declarations<CVDiagMachineReport>& d) {
  d("folder", &CVDiagMachineReport::folder)("output", &CVDiagMachineReport::output);
}

void CVDiagMachineReport::run() {
  if (auto error = machine_tool::writeMachineReport(*folder, output->value_or(""))) {
    std::cerr << "cvdiag-machine: " << *error << "\n";
    throw ExitCode::failure();
  }
}
