// Values of a message that its segment grammars have no place for: a field past a segment's last,
// a repeat of a field that does not repeat (or past its limit), a component past the last of the
// field's type, a sub-component of a component that has none.  The tables are filled by the
// grammar, so such a value reaches no cell; a host that listens hears of each one.
#pragma once

#include "COLstring.h"
#include "COLthreadListener.h"

class QVMconfig;
class QVMsegmentGrammar;
class QVMuntypedMessageTree;
class SGMsegment;

class SGCunplacedValues {
public:
  virtual ~SGCunplacedValues() = default;
  // `Place` is where the value stands, as HL7 people write it ("PID-8 (repeat 2)", "OBX-3.7",
  // "PID-3.2.2"); `Reason` says what the grammar allows there ("PID-8 does not repeat").
  virtual void unplacedValue(const COLstring& Message, const COLstring& Place, const COLstring& Text,
                             const COLstring& Reason) = 0;
};

// Installs a listener for the current thread while it lives.
using SGCunplacedValuesScope = COLthreadListenerScope<SGCunplacedValues>;

// Whether anyone listens; the scan costs nothing when no one does.
inline bool SGCunplacedValuesHeard() { return SGCunplacedValuesScope::current() != nullptr; }

// Tells the listener of every non-empty value of `Segment` that `Grammar` has no place for.
void SGCreportUnplacedValues(const COLstring& Message, const SGMsegment& Segment, const QVMsegmentGrammar& Grammar);
// The same for a segment of the legacy road's raw tree, under configuration `Config`: its tree
// dialects keep every repeat, so there only components, parts and fields can be without a place.
void SGCreportUnplacedValues(const COLstring& Message, const QVMuntypedMessageTree& Segment,
                             const QVMsegmentGrammar& Grammar, const QVMconfig& Config);
