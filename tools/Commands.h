#pragma once

#include "tools/Command.h"

// The sub-commands, each in a file of its name.
namespace Zeq {

Command info();
Command check();
Command convert();
Command sheet();
Command thumbnail();
Command doctor();
Command load();
Command man();
Command completion();

}
