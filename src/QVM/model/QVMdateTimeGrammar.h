// QVMdateTimeGrammar: the mask of a date-time field, an ordered list of parts (year,
// month, ... time zone).  A text is read part by part in that order; unless all fields
// are required, every part from the second on may be left off at the end.
#pragma once

#include <cstdint>
#include <memory>

#include "COLstring.h"
#include "QVMlistedGrammar.h"

class COLostream;
class QVMengineInternal;
struct QVMdateTimeGrammarPrivate;

class QVMdateTimeGrammar : public QVMlistedGrammar {
public:
  enum QVMdateTimeInternalMaskItem : uint32_t {
    MaskYear = 0,       // "YYYY"
    MaskMonth = 2,      // "MM"
    MaskDay = 3,        // "DD"
    MaskHour = 16,      // "HH"
    MaskMinute = 18,    // "mm"
    MaskSecond = 32,    // "SS"
    MaskFraction = 33,  // ".SSSS"
    MaskTimeZone = 48,  // "+/-ZZZZ"
  };

  QVMdateTimeGrammar();
  QVMdateTimeGrammar(const QVMdateTimeGrammar& other);
  QVMdateTimeGrammar& operator=(const QVMdateTimeGrammar& other);
  virtual ~QVMdateTimeGrammar();

  void init(QVMengineInternal* engine);
  QVMengineInternal* rootEngine() const;

  const COLstring& name() const;
  void setName(const COLstring& name);
  const COLstring& description() const;
  void setDescription(const COLstring& description);
  bool fieldsRequired() const;
  void setFieldsRequired(bool value);

  uint32_t countOfMaskItem() const;
  QVMdateTimeInternalMaskItem maskItem(uint32_t itemIndex) const;
  void setMaskItem(uint32_t itemIndex, QVMdateTimeInternalMaskItem item);
  // Inserts a year item at `itemIndex` (up to the count).
  void addMaskItemAt(uint32_t itemIndex);
  void removeMaskItem(uint32_t itemIndex);
  // `to` indexes the list after the removal at `from`.
  void moveField(uint32_t fromIndex, uint32_t toIndex);

private:
  std::unique_ptr<QVMdateTimeGrammarPrivate> pMember;
};

// Appends `item`; returns its index.
uint32_t QVMdateTimeGrammarAddMaskItem(QVMdateTimeGrammar& grammar,
                                       QVMdateTimeGrammar::QVMdateTimeInternalMaskItem item);
// The text of one mask item ("YYYY", ...), "!Unknown!" for any other value.
const char* QVMdateTimeGrammarMaskItemText(uint32_t item);
void QVMdateTimeGrammarOutputElement(COLostream& stream, uint32_t item);
// The mask, e.g. "YYYY[MM[DD]][+/-ZZZZ]" when the fields are not all required.
COLostream& operator<<(COLostream& stream, const QVMdateTimeGrammar& grammar);
