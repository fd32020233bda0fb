// QVTclasses: the definition model's classes that are bound objects (TREcppClass) rather
// than read through QVTobject handles.  Each registers its reflected type from its member
// list, under the name a reflected binary file uses, with the members optional as files
// have always declared them.
#pragma once

#include "TREcppMember.h"

// One level of separators of a configuration ("SepInfo").
class QVTsepInfoClass : public TREcppClass {
public:
  TREcppMemberSimple<int8_t> SepCharDefault;
  TREcppMemberSimple<int8_t> RepeatCharDefault;
  TREcppMemberSimple<int8_t> SepCharEscape;
  TREcppMemberSimple<int8_t> RepeatCharEscape;
  TREcppMemberSimple<int32_t> SepCharPosition;
  TREcppMemberSimple<int32_t> RepeatCharPosition;

  TREtypeComplex& _initializeType(TREinstanceComplex*) override { return registerType(*this, "SepInfo", nullptr); }
  uint16_t _initializeMembers(TREinstanceComplex* node, TREtypeComplex* type, uint16_t index) override;
};

// A database connection of a configuration ("DbInfo").
class QVTdbInfoClass : public TREcppClass {
public:
  TREcppMemberSimple<COLstring> Label;
  TREcppMemberSimple<COLstring> ApiName;
  TREcppMemberSimple<COLstring> DatabaseName;
  TREcppMemberSimple<COLstring> UserName;
  TREcppMemberSimple<COLstring> Password;

  TREtypeComplex& _initializeType(TREinstanceComplex*) override { return registerType(*this, "DbInfo", nullptr); }
  uint16_t _initializeMembers(TREinstanceComplex* node, TREtypeComplex* type, uint16_t index) override;
};
