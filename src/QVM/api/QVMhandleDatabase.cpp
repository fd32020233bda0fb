// A host's own factory of database connections: scripts' get_database and get_default_database
// call it, with its context, instead of opening connections themselves.  The function takes the
// context and the connection's four texts (a QVMdbInfo) and returns a new DBdatabase, of which
// the engine takes a reference.
#include "QVMconfig.h"
#include "QVMhandleSupport.h"

extern "C" {

void* _QVMengineSetCreateDatabaseFp(void* engine, void* function) {
  return QVMhandleGuard([&] {
    QVMconfig& config = QVMhandleEngine(engine).config();
    config.setCreateDbConnectionFp(reinterpret_cast<QVMcreateDbConnectionFp>(function),
                                   config.createDbConnectionFpContext());
  });
}

void* _QVMengineSetCreateDatabaseFpContext(void* engine, void* context) {
  return QVMhandleGuard([&] {
    QVMconfig& config = QVMhandleEngine(engine).config();
    config.setCreateDbConnectionFp(config.createDbConnectionFp(), context);
  });
}

}  // extern "C"
