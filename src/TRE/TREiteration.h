// TREiteration: visitors over an instance tree.  A task says what to do at each kind of node;
// an iteration decides the order.  Depth first walks what the current version reads; the
// "default" walk goes through all stored data of all versions, as the stream writes it.
#pragma once

#include <cstddef>

#include "TREinstance.h"

class TREinstanceIteration;

struct TREinstanceIterationParameters {
  ptrdiff_t childIndex = -1;  // -1 where it doesn't apply (the start, a complex's own slot)
  const COLstring* memberName = nullptr;
  TREinstanceIteration* iteration = nullptr;
  const TREinstanceIterationParameters* parent = nullptr;
};

// Each apply returns false to stop the walk.  `apply` and `applyEnd` pick the hook by the
// node's class.
class TREinstanceTask {
public:
  virtual ~TREinstanceTask() = default;
  bool apply(TREinstance& instance, const TREinstanceIterationParameters& parameters);
  bool applyEnd(TREinstance& instance, const TREinstanceIterationParameters& parameters);
  virtual bool applySimple(TREinstanceSimple&, const TREinstanceIterationParameters&) { return true; }
  virtual bool applyComplex(TREinstanceComplex&, const TREinstanceIterationParameters&) { return true; }
  virtual bool applyComplexEnd(TREinstanceComplex&, const TREinstanceIterationParameters&) { return true; }
  virtual bool applyVector(TREinstanceVector&, const TREinstanceIterationParameters&) { return true; }
  virtual bool applyVectorEnd(TREinstanceVector&, const TREinstanceIterationParameters&) { return true; }
};

class TREinstanceIteration {
public:
  virtual ~TREinstanceIteration() = default;
  // `instance` is a complex, a collection or a simple value, not a slot that holds one.
  // False when a task or abort() stopped the walk.
  bool iterate(TREinstance& instance, TREinstanceTask& task,
               const TREinstanceIterationParameters* parameters = nullptr);
  // Stops the walk at the next node.
  void abort() { m_Abort = true; }
  bool aborted() const { return m_Abort; }

protected:
  virtual bool walk(TREinstance& instance, TREinstanceTask& task, const TREinstanceIterationParameters& p) = 0;
  // A slot is walked as what it holds.
  bool walkSlot(TREinstanceSimple& slot, TREinstanceTask& task, const TREinstanceIterationParameters& p) {
    return walk(TREinstance::toInstance(slot), task, p);
  }
  bool m_Abort = false;
};

// The members of a complex in index order, as the current version sees them.
class TREinstanceComplexIterator {
public:
  explicit TREinstanceComplexIterator(TREinstanceComplex& complex) : m_Complex(complex) {}
  // Moves to the next member; false past the last.
  bool iterateNext() { return ++m_Position <= m_Complex.countOfMember(); }
  const COLstring& key() const { return m_Complex.type()->member(index()).name; }
  TREinstanceSimple& value() const { return m_Complex.member(index()); }
  uint16_t index() const { return uint16_t(m_Position - 1); }

private:
  TREinstanceComplex& m_Complex;
  unsigned m_Position = 0;
};

class TREinstanceIterationDepthFirst : public TREinstanceIteration {
protected:
  bool walk(TREinstance& instance, TREinstanceTask& task, const TREinstanceIterationParameters& p) override;
};

// Every stored slot: all type entries of a complex and the whole pool of a collection.
// Without include-empty a node with nothing to store is skipped whole.
class TREinstanceIterationDepthFirstDefault : public TREinstanceIteration {
public:
  explicit TREinstanceIterationDepthFirstDefault(bool includeEmpty = false) : m_IncludeEmpty(includeEmpty) {}

protected:
  bool walk(TREinstance& instance, TREinstanceTask& task, const TREinstanceIterationParameters& p) override;

private:
  bool m_IncludeEmpty;
};

// Nothing to store: no value that isn't a default, no object id, in any version.
bool TREisEmpty(TREinstance& instance);
