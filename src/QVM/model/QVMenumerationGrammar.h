// QVMenumerationGrammar: the list of texts that a field of enumeration type accepts.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "COLstring.h"
#include "QVMlistedGrammar.h"

struct QVMenumerationGrammarPrivate;

class QVMenumerationGrammar : public QVMlistedGrammar {
public:
  QVMenumerationGrammar();
  QVMenumerationGrammar(const QVMenumerationGrammar& other);
  QVMenumerationGrammar& operator=(const QVMenumerationGrammar& other);
  virtual ~QVMenumerationGrammar();

  const COLstring& name() const;
  void setName(const COLstring& name);
  const COLstring& description() const;
  void setDescription(const COLstring& description);

  uint32_t countOfEnumItem() const;
  const COLstring& enumItem(uint32_t itemIndex) const;
  void setEnumItem(uint32_t itemIndex, const COLstring& text);
  // Inserts an empty item at `itemIndex` (up to the count).
  void setEnumItemAt(uint32_t itemIndex);
  // Appends an empty item.
  void addEnumItem();
  void removeEnumItem(uint32_t itemIndex);
  // `to` indexes the list after the removal at `from`.
  void moveField(uint32_t fromIndex, uint32_t toIndex);

  // True when an item equals the text; runs per field value, so it is a hash look-up.
  bool isValid(const COLstring& text) const;
  bool isValid(const char* text) const;
  // For a value read in place from a message: no copy, no terminating NUL needed.
  bool isValid(std::string_view text) const;

private:
  std::unique_ptr<QVMenumerationGrammarPrivate> pMember;
};
