#pragma once
// Everything a command declaration needs.

#include "argument_parser/argument_definition.h"
#include "argument_parser/command_configuration.h"
#include "argument_parser/command_parser.h"
#include "argument_parser/errors.h"
#include "argument_parser/expressible_by_argument.h"
#include "argument_parser/help_generator.h"
#include "argument_parser/main.h"
#include "argument_parser/message_info.h"
#include "argument_parser/parsable_command.h"
#include "argument_parser/properties.h"
#include "argument_parser/tree.h"
