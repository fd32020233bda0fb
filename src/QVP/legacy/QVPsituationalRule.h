// What a situational rule reports when the grammar it made required is missing: its own
// on-error script decides, and a script that lets it pass is itself a fault.
#pragma once

#include <functional>

class LANfunction;
class QVMsegmentValidationRuleSituationalPython;

using QVPruleScriptRunner =
    std::function<void(const LANfunction& Code, const void* Segment, QVMsegmentValidationRuleSituationalPython& Rule)>;

// Always raises: what the on-error script raised, or the rule's error when it raised nothing.
[[noreturn]] void QVPdoSituationalPythonOnError(QVMsegmentValidationRuleSituationalPython& Rule,
                                               const QVPruleScriptRunner& Run);
