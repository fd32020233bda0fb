// The engine's version, as hosts and the tool report it, and as saved files record it.
#pragma once

#include "COLstring.h"

#define QVM_MAJOR_VERSION 5u
#define QVM_MINOR_VERSION 1u
#define QVM_BUILD_NUMBER 12u
#define QVM_SOURCE_TAG "msgbridge-" "5.1.12"
#define QVM_SOURCE_DATE_TIME __DATE__ " " __TIME__

// "5.1 Build: 12".
COLstring QVMversionString();
