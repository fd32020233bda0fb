// QVMlanguage: the one place where the definition model reaches the script host. The model
// stores script bodies (LANfunction) and shared modules, owns one interpreter (LANengine)
// and hands that interpreter to every script it creates.
#pragma once

#include "LANembeddedPythonModule.h"
#include "LANengine.h"
#include "LANfunction.h"
