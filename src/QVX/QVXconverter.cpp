#include "QVXconverter.h"

#include <cstring>

#include "COLerror.h"
#include "QVMconfig.h"
#include "QVMxmlHl7Converter.h"

namespace {

struct QVXalias {
  const char* name;
  const char* canonical;
  QVMxmlHl7Converter* (*make)();
};

// The dialects a configuration can name are spelled once, in the model.
const char* Name(QVMxmlFormatType Type) { return QVMconfigXmlFormatTypeAsString(Type); }

template <class T>
QVMxmlHl7Converter* QVXmake() {
  return new T;
}

const QVXalias Aliases[] = {
    {Name(QVMxmlStandard), Name(QVMxmlStandard), QVXmake<QVMxmlHl7ConverterStandard>},
    {Name(QVMxmlExpanded), Name(QVMxmlExpanded), QVXmake<QVMxmlHl7ConverterOracle>},
    {Name(QVMxmlFullTreeValidation), Name(QVMxmlFullTreeValidation), QVXmake<QVMxmlX12Converter>},
    {"X12", Name(QVMxmlFullTreeValidation), QVXmake<QVMxmlX12Converter>},
    {Name(QVMxmlTableShortTags), Name(QVMxmlTableShortTags), QVXmake<QVMxmlTableConverter>},
    {Name(QVMxmlTableLongTags), Name(QVMxmlTableLongTags), QVXmake<QVMxmlTableConverterLong>},
    {"EXPANDED 2.4", "EXPANDED 2.4", QVXmake<QVMxmlHl7ConverterStandard24>},
    {"STANDARD 2.4", "EXPANDED 2.4", QVXmake<QVMxmlHl7ConverterStandard24>},
    {Name(QVMxmlStandardVer2), Name(QVMxmlStandardVer2), QVXmake<QVMxmlHl7ConverterStandard2>},
};

const char* const Listed[] = {Name(QVMxmlStandard),       Name(QVMxmlExpanded),      Name(QVMxmlFullTreeValidation),
                              Name(QVMxmlTableShortTags), Name(QVMxmlTableLongTags), Name(QVMxmlStandardVer2)};

const QVXalias* QVXfind(const char* Name) {
  if (!Name) return nullptr;
  for (const QVXalias& Alias : Aliases)
    if (std::strcmp(Alias.name, Name) == 0) return &Alias;
  return nullptr;
}

}  // namespace

unsigned QVXcountOfConverter() { return 6; }

const char* QVXconverterName(unsigned ConverterIndex) {
  COL_PRECONDITION(ConverterIndex < QVXcountOfConverter());
  return Listed[ConverterIndex];
}

const char* QVXconverterNameFromAlias(const char* Name) {
  const QVXalias* Alias = QVXfind(Name);
  return Alias ? Alias->canonical : nullptr;
}

QVMxmlHl7Converter* QVXgetConvertor(const COLstring& Name) {
  const QVXalias* Alias = QVXfind(Name.c_str());
  return Alias ? Alias->make() : nullptr;
}
