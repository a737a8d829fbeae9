#pragma once
// cvdiag-machine: makes, checks, summarises and maps machine folders. Four
// subcommands; help, completions and the manual page come from the
// command-line framework.

#include <optional>
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

struct CVDiagMachineReport : ArgumentParser::ParsableCommand {
  ArgumentParser::Argument<std::string> folder{
      {.help = {"The machine folder.", {}, "folder"}, .completion = ArgumentParser::CompletionKind::directory()}};
  ArgumentParser::Option<std::optional<std::string>> output{
      {.name = ArgumentParser::NameSpecification::shortAndLong(),
       .help = {"Where to write the page; - for standard output. Default: <folder name>.html here.", {}, "file"},
       .completion = ArgumentParser::CompletionKind::file({"html"})}};

  static ArgumentParser::CommandConfiguration configuration();
  static void declare(ArgumentParser::Declarations<CVDiagMachineReport>& d);
  void run() override;
};
