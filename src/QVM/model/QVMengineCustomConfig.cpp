// Schema name spaces from "custom.cfg", and the host's character set functions.
#include <clocale>
#include <cstdlib>
#include <fstream>
#include <string>

#include "COLerror.h"
#include "QVMengineInternal.h"

bool QVMengineReadCustomConfigFile(QVMengineInternal& engine, const COLstring& path) {
  std::ifstream file(path.c_str(), std::ios::binary);
  if (!file) return false;
  QVMconfig& config = engine.config();
  QVMxmlSchemaProperties properties = config.xmlSchemaProperties();
  std::string line;
  while (std::getline(file, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    size_t equals = line.find('=');
    if (equals == std::string::npos) continue;
    COLstring key(line.substr(0, equals));
    COLstring value(line.substr(equals + 1));
    if (key == "XmlNameSpace") {
      if (!value.empty()) properties.xmlNamespace = value + config.stubFilePrefix();
    } else if (key == "TargetNameSpace") {
      if (!value.empty()) properties.targetNamespace = value + config.stubFilePrefix();
    } else if (key == "ElementFormDefault") {
      properties.elementFormDefault = value;
    }
  }
  config.xmlSchemaProperties() = properties;
  return true;
}

void QVMengineReadCustomConfig(QVMengineInternal& engine) { QVMengineReadCustomConfigFile(engine, "./custom.cfg"); }

// --- QVMcharacterSetFunctions

unsigned QVMcharacterSetFunctions::getLocale() {
  const char* locale = std::setlocale(LC_ALL, nullptr);
  if (!locale) return 0;
  const char* dot = std::strchr(locale, '.');
  return dot ? static_cast<unsigned>(std::strtoul(dot + 1, nullptr, 10)) : 0;
}

COLstring QVMcharacterSetFunctions::currentTranslationLocale() {
  std::setlocale(LC_ALL, "");
  return COLstring();
}

unsigned QVMcharacterSetFunctions::characterSetCount() {
  throw COLerror("Invalid Function called: QVMcharacterSetFunctions::characterSetCount", COL_ERROR_PRECONDITION);
}

COLstring QVMcharacterSetFunctions::characterSet(unsigned) {
  throw COLerror("Invalid Function called: QVMcharacterSetFunctions::characterSet", COL_ERROR_PRECONDITION);
}
