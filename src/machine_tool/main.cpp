// Process entry of cvdiag-machine: the command line goes to the command.
#include "argument_parser/main.h"
#include "machine_tool/cvdiag_machine.h"
#include "registry/cv_disk_manager.h"

int main(int argc, char** argv) {
  const int status = ArgumentParser::main<CVDiagMachine>(argc, argv);
  // The report subcommand starts the registry; its saves end before the
  // process's objects do.
  CVDiskManager::finishSharedInstance();
  return status;
}
