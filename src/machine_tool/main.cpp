// Process entry of cvdiag-machine: the command line goes to the command.
#include "argument_parser/main.h"
#include "machine_tool/cvdiag_machine.h"

int main(int argc, char** argv) { return ArgumentParser::main<CVDiagMachine>(argc, argv); }
