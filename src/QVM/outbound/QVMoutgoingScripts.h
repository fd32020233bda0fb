// The configuration's global outbound scripts: the one run before a message is generated and the
// one that may change the finished text.  Each does nothing when its script is not set.
#pragma once

#include "COLstring.h"

class LAGenvironment;
class QVMconfig;

void QVMconfigPreProcessOutgoingMessage(QVMconfig& config, LAGenvironment& environment);
void QVMconfigPostProcessOutgoingMessage(QVMconfig& config, COLstring& text, LAGenvironment& environment);
