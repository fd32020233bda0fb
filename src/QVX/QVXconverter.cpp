#include "QVXconverter.h"

#include <cstring>

#include "COLerror.h"
#include "QVMxmlHl7Converter.h"

namespace {

struct QVXalias {
  const char* name;
  const char* canonical;
  QVMxmlHl7Converter* (*make)();
};

template <class T>
QVMxmlHl7Converter* QVXmake() {
  return new T;
}

const QVXalias Aliases[] = {
    {"STANDARD", "STANDARD", QVXmake<QVMxmlHl7ConverterStandard>},
    {"EXPANDED", "EXPANDED", QVXmake<QVMxmlHl7ConverterOracle>},
    {"Full Tree Validation", "Full Tree Validation", QVXmake<QVMxmlX12Converter>},
    {"X12", "Full Tree Validation", QVXmake<QVMxmlX12Converter>},
    {"TABLE - Short Tags", "TABLE - Short Tags", QVXmake<QVMxmlTableConverter>},
    {"TABLE - Long Tags", "TABLE - Long Tags", QVXmake<QVMxmlTableConverterLong>},
    {"EXPANDED 2.4", "EXPANDED 2.4", QVXmake<QVMxmlHl7ConverterStandard24>},
    {"STANDARD 2.4", "EXPANDED 2.4", QVXmake<QVMxmlHl7ConverterStandard24>},
    {"STANDARD VER 2", "STANDARD VER 2", QVXmake<QVMxmlHl7ConverterStandard2>},
};

const char* const Listed[] = {"STANDARD",          "EXPANDED",          "Full Tree Validation",
                              "TABLE - Short Tags", "TABLE - Long Tags", "STANDARD VER 2"};

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
