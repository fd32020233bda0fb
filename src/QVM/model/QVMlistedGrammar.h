// QVMlistedGrammar: what the segment, composite, enumeration and date-time grammars share as
// members of a configuration's lists: the configuration that lists them, which is told when
// a name changes so that its name lookups stay exact. Like every object a host gets a handle
// to, it derives from COLreference, so that the handle interface can tell its kind; the
// configuration owns it and never counts it.
#pragma once

#include "COLreference.h"

class QVMengineConfig;

class QVMlistedGrammar : public COLreference {
public:
  // Null for a grammar that stands alone.
  QVMengineConfig* ownerConfig() const { return m_OwnerConfig; }
  void setOwnerConfig(QVMengineConfig* config) { m_OwnerConfig = config; }

protected:
  QVMlistedGrammar() = default;
  // A copy stands alone until a configuration takes it; an assigned grammar stays where it is.
  QVMlistedGrammar(const QVMlistedGrammar&) : COLreference() {}
  QVMlistedGrammar& operator=(const QVMlistedGrammar&) { return *this; }
  ~QVMlistedGrammar() override = default;

private:
  QVMengineConfig* m_OwnerConfig = nullptr;
};
