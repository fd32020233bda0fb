#include "QVMversion.h"

#include "COLostream.h"

COLstring QVMversionString() {
  COLstring text;
  COLostream(text) << QVM_MAJOR_VERSION << "." << QVM_MINOR_VERSION << " Build: " << QVM_BUILD_NUMBER;
  return text;
}
