#pragma once
// Everything a command declaration needs.

#include "ArgumentParser/ArgumentDefinition.h"
#include "ArgumentParser/CommandConfiguration.h"
#include "ArgumentParser/CommandParser.h"
#include "ArgumentParser/Errors.h"
#include "ArgumentParser/ExpressibleByArgument.h"
#include "ArgumentParser/HelpGenerator.h"
#include "ArgumentParser/Main.h"
#include "ArgumentParser/MessageInfo.h"
#include "ArgumentParser/ParsableCommand.h"
#include "ArgumentParser/Properties.h"
#include "ArgumentParser/Tree.h"
