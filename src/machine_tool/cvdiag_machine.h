#pragma once
// cvdiag-machine: makes, checks and summarises machine folders. Three
// subcommands; help, completions and the manual page come from the
// command-line framework.

#include <string>

#include "argument_parser/argument_parser.h"

struct CVDiagMachine : ArgumentParser::ParsableCommand {
  static ArgumentParser::CommandConfiguration configuration();
};

struct CVDiagMachineImport : ArgumentParser::ParsableCommand {
  ArgumentParser::Argument<std::string> recording{
      {.help = {"The archive that cvdiag-record wrote, or its unpacked folder.", {}, "recording"},
       .completion = ArgumentParser::CompletionKind::file({"gz"})}};
  ArgumentParser::Argument<std::string> folder{
      {.help = {"The machine folder to make; it must not exist yet, or be empty.", {}, "folder"},
       .completion = ArgumentParser::CompletionKind::directory()}};

  static ArgumentParser::CommandConfiguration configuration();
  static void declare(ArgumentParser::Declarations<CVDiagMachineImport>& d);
  void run() override;
};

struct CVDiagMachineCheck : ArgumentParser::ParsableCommand {
  ArgumentParser::Argument<std::string> folder{
      {.help = {"The machine folder.", {}, "folder"}, .completion = ArgumentParser::CompletionKind::directory()}};

  static ArgumentParser::CommandConfiguration configuration();
  static void declare(ArgumentParser::Declarations<CVDiagMachineCheck>& d);
  void run() override;
};

struct CVDiagMachineDescribe : ArgumentParser::ParsableCommand {
  ArgumentParser::Argument<std::string> folder{
      {.help = {"The machine folder.", {}, "folder"}, .completion = ArgumentParser::CompletionKind::directory()}};

  static ArgumentParser::CommandConfiguration configuration();
  static void declare(ArgumentParser::Declarations<CVDiagMachineDescribe>& d);
  void run() override;
};
