#include "QVTclasses.h"

uint16_t QVTsepInfoClass::_initializeMembers(TREinstanceComplex* node, TREtypeComplex* type, uint16_t index) {
  index = initializeMember(node, type, index, "SepCharDefault", SepCharDefault, Identity | Optional);
  index = initializeMember(node, type, index, "RepeatCharDefault", RepeatCharDefault, Optional);
  index = initializeMember(node, type, index, "SepCharEscape", SepCharEscape, Optional);
  index = initializeMember(node, type, index, "RepeatCharEscape", RepeatCharEscape, Optional);
  index = initializeMember(node, type, index, "SepCharPosition", SepCharPosition, Optional);
  return initializeMember(node, type, index, "RepeatCharPosition", RepeatCharPosition, Optional);
}

uint16_t QVTdbInfoClass::_initializeMembers(TREinstanceComplex* node, TREtypeComplex* type, uint16_t index) {
  index = initializeMember(node, type, index, "Label", Label, Identity | Optional);
  index = initializeMember(node, type, index, "ApiName", ApiName, Optional);
  index = initializeMember(node, type, index, "DatabaseName", DatabaseName, Optional);
  index = initializeMember(node, type, index, "UserName", UserName, Optional);
  return initializeMember(node, type, index, "Password", Password, Optional);
}
