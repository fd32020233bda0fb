#include "LAGenvironment.h"

#include "COLerror.h"
#include "QVMengineInternal.h"
#include "QVMuntypedMessageTree.h"
#include "SGMsegmentList.h"
#include "SGMstringPool.h"

const QVMconfig& LAGenvironment::config() const {
  COL_PRECONDITION_TEXT(m_Engine != nullptr, "Environment.engine() != NULL");
  return m_Engine->config();
}

// --- the field under a field equation

namespace {

void LAGrequireFieldContext(const LAGenvironment& environment, const char* what) {
  if (environment.context() != LAGsegmentEquation)
    throw COLerror(COLstring(what) + " can only be invoked in the context of a segment equation",
                   COL_ERROR_PRECONDITION);
  COL_PRECONDITION_TEXT(environment.field() != nullptr || environment.treeField() != nullptr,
                        "Environment.field() != NULL");
}

// A bare value counts as the one sub field it would be on the current parser's road.
unsigned LAGcountOfSubfield(const QVMuntypedMessageTree& field) {
  if (field.countOfSubNode() > 0) return field.countOfSubNode();
  return field.isNull() ? 0 : 1;
}

}  // namespace

unsigned LAGenvironment::countOfSubfield() const {
  LAGrequireFieldContext(*this, "count_of_subfield");
  if (m_TreeField) return LAGcountOfSubfield(*m_TreeField);
  if (m_Field->countOfFieldRepeat() == 0) return 0;
  return m_Field->fieldRepeat(0).countOfSubField();
}

unsigned LAGenvironment::countOfRepeat() const {
  LAGrequireFieldContext(*this, "count_of_repeat");
  if (m_TreeField) return m_TreeField->countOfRepeat();
  return m_Field->countOfFieldRepeat();
}

COLstring LAGenvironment::subfield(unsigned index, unsigned repeat) const {
  LAGrequireFieldContext(*this, "subfield");
  if (m_TreeField) {
    const QVMuntypedMessageTree& Field = *m_TreeField;
    if (repeat >= Field.countOfRepeat()) return COLstring();
    const QVMuntypedMessageTree& Repeat = *Field.getRepeatedNode(repeat);
    if (index == 0) return Repeat.getFirstValue();
    if (index >= Repeat.countOfSubNode()) return COLstring();
    const QVMuntypedMessageTree& Sub = *Repeat.node(index, 0);
    return Sub.isNull() && Sub.countOfSubNode() == 0 ? COLstring() : COLstring(Sub.getFirstValue());
  }
  if (repeat >= m_Field->countOfFieldRepeat()) return COLstring();
  const SGMfield& Field = m_Field->fieldRepeat(repeat);
  if (index >= Field.countOfSubField() || Field.countOfSubSubField(index) == 0) return COLstring();
  return Field.value(index, 0).asString();
}

void LAGenvironment::setSubField(unsigned index, unsigned repeat, const COLstring& text) {
  LAGrequireFieldContext(*this, "setsubfield");
  if (index == 0 && repeat == 0)
    throw COLerror(
        "The setsubfield function cannot be used to set the first field of a segment.  Use the value variable "
        "instead.",
        COL_ERROR_PRECONDITION);
  if (m_TreeField) {
    QVMuntypedMessageTree& Repeat = *m_TreeField->getRepeatedNode(repeat);
    // A bare value becomes sub field 0, as it is on the current parser's road.
    if (Repeat.countOfSubNode() == 0 && !Repeat.isNull() && index > 0) {
      const COLstring Bare = Repeat.getValue();
      Repeat.setNull();
      Repeat.node(0, 0)->setStringValue(Bare);
    }
    Repeat.node(index, 0)->setFirstValue(text);
    return;
  }
  COL_PRECONDITION_TEXT(m_StringPool != nullptr, "Environment.stringPool() != NULL");
  if (m_Field->countOfFieldRepeat() <= repeat) m_Field->setCountOfFieldRepeat(repeat + 1);
  SGMfield& Field = m_Field->fieldRepeat(repeat);
  if (Field.countOfSubField() <= index) Field.setCountOfSubField(index + 1);
  SGMstringPoolSetValue(Field.value(index, 0), *m_StringPool, text.data(), static_cast<uint32_t>(text.size()));
}

void LAGenvironment::clearField() {
  LAGrequireFieldContext(*this, "clearfield");
  if (m_TreeField) {
    m_TreeField->clear();
    return;
  }
  m_Field->setCountOfFieldRepeat(1);
  m_Field->fieldRepeat(0).clear();
  m_Field->fieldRepeat(0).setCountOfSubField(1);
}

// --- separators

namespace {

QVMconfig& LAGwritableConfig(QVMengineInternal* engine) {
  COL_PRECONDITION_TEXT(engine != nullptr, "Environment.engine() != NULL");
  return engine->config();
}

}  // namespace

char LAGenvironment::separatorChar(unsigned level) const {
  COL_PRECONDITION(level < config().countOfLevel());
  return config().sepCharInfo(level).sepCharDefault();
}

void LAGenvironment::setSeparatorChar(unsigned level, char c) {
  QVMconfig& Config = LAGwritableConfig(m_Engine);
  COL_PRECONDITION(level < Config.countOfLevel());
  Config.sepCharInfo(level).setSepCharDefault(c);
}

char LAGenvironment::escapeChar() const { return config().escapeDefault(); }

void LAGenvironment::setEscapeChar(char c) { LAGwritableConfig(m_Engine).setEscapeDefault(c); }

char LAGenvironment::repeatChar() const {
  COL_PRECONDITION(config().countOfLevel() >= 2);
  return config().sepCharInfo(1).repeatCharDefault();
}

void LAGenvironment::setRepeatChar(char c) {
  QVMconfig& Config = LAGwritableConfig(m_Engine);
  COL_PRECONDITION(Config.countOfLevel() >= 2);
  Config.sepCharInfo(1).setRepeatCharDefault(c);
}
