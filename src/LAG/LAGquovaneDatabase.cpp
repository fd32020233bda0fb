// The database objects of scripts: a connection from `environment.get_database` or
// `environment.get_default_database`, the result sets its statements give, and their rows.
// Every call that waits on a server gives the interpreter lock up, so that other threads run
// their scripts meanwhile.
#include "LANpython.h"

#include "COLostream.h"
#include "DBdatabaseFactory.h"
#include "LAGquovaneObject.h"
#include "LANengine.h"
#include "QVMconfig.h"

namespace {

struct LAGquovaneDatabaseObject {
  PyObject_HEAD
  LAGenvironment* pEnvironment;
  COLreferencePtr<DBdatabase> pHeld;  // the connection; null when the configuration has databases off
  PyObject* pOwner;
};

struct LAGquovaneDatabaseResultSetObject {
  PyObject_HEAD
  COLreferencePtr<DBresultSet> pHeld;  // the result set
  PyObject* pOwner;
};

// A row is its result set and its index: the set stays alive while a row object does.
struct LAGquovaneDatabaseResultSetRowObject {
  PyObject_HEAD
  COLreferencePtr<DBresultSet> pHeld;  // the result set
  size_t pResultSetRow;
  PyObject* pOwner;
};

using Database = LAGquovaneDatabaseObject;
using ResultSet = LAGquovaneDatabaseResultSetObject;
using ResultRow = LAGquovaneDatabaseResultSetRowObject;

// The wrappers hold references, taken when they are made and dropped with them.
template <class Object>
void LAGdeallocHolding(PyObject* self) {
  auto* object = reinterpret_cast<Object*>(self);
  object->pHeld.~COLreferencePtr();
  LAGdeallocOwned<Object>(self);
}

template <class Object, class Held>
Object* LAGnewHolding(PyTypeObject& type, PyObject* owner, Held* held) {
  Object* object = LAGnewOwned<Object>(type, owner);
  if (object != nullptr) new (&object->pHeld) COLreferencePtr<Held>(held);
  return object;
}

extern PyTypeObject LAGdatabaseType, LAGresultSetType, LAGresultSetRowType;

PyObject* LAGnewDatabaseResultSetObject(PyObject* owner, const DBresultSetPtr& resultSet) {
  return reinterpret_cast<PyObject*>(LAGnewHolding<ResultSet>(LAGresultSetType, owner, resultSet.get()));
}

PyObject* LAGnewDatabaseResultSetRowObject(PyObject* owner, const DBresultSetPtr& resultSet, size_t row) {
  ResultRow* object = LAGnewHolding<ResultRow>(LAGresultSetRowType, owner, resultSet.get());
  if (object != nullptr) object->pResultSetRow = row;
  return reinterpret_cast<PyObject*>(object);
}

PyObject* LAGnewDatabaseObject(PyObject* owner, LAGenvironment* environment, DBdatabase* database) {
  Database* object = LAGnewHolding<Database>(LAGdatabaseType, owner, database);
  if (object != nullptr) object->pEnvironment = environment;
  return reinterpret_cast<PyObject*>(object);
}

// --- the database object

// execute and execute_select: a result set object, None, or 1 without a connection.
PyObject* databaseExecute(PyObject* self, PyObject* args) {
  const char* sql = nullptr;
  if (!PyArg_ParseTuple(args, "s", &sql)) {
    PyErr_Clear();
    return PyLong_FromLong(1);
  }
  return LAGmethod<Database>(self, [&](Database& database) -> PyObject* {
    if (!database.pHeld) return PyLong_FromLong(1);
    DBresultSetPtr result;
    {
      LANengineUnlock unlock;
      result = database.pHeld->executeSqlString(sql, 0, 0);
    }
    if (!result) Py_RETURN_NONE;
    return LAGnewDatabaseResultSetObject(database.pOwner, result);
  });
}

PyObject* databaseEscapeString(PyObject* self, PyObject* args) {
  PyObject* text = nullptr;
  COLstring value;
  if (!PyArg_ParseTuple(args, "O", &text) || !LANstringFromPython(text, value))
    return LANhandleBadArguments("escape_string");
  return LAGmethod<Database>(self, [&](Database& database) -> PyObject* {
    if (!database.pHeld) throw COLerror("The database object holds no connection.", COL_ERROR_RESOURCE);
    COLstring escaped;
    {
      COLostream stream(escaped);
      database.pHeld->addEscapedStringToStream(stream, value);
    }
    return LANstringToPython(escaped);
  });
}

// The columns the statement names, and no rows.
PyObject* databaseEmptyDefaultResultSet(PyObject* self, PyObject* args) {
  const char* sql = nullptr;
  if (!PyArg_ParseTuple(args, "s", &sql)) return LANhandleBadArguments("get_empty_default_result_set");
  return LAGmethod<Database>(self, [&](Database& database) -> PyObject* {
    if (!database.pHeld) throw COLerror("The database object holds no connection.", COL_ERROR_RESOURCE);
    DBresultSetPtr columns;
    {
      LANengineUnlock unlock;
      columns = database.pHeld->executeSqlString(sql, 0, 1);
    }
    DBresultSetPtr empty(new DBresultSet);
    if (columns)
      for (size_t column = 0; column < columns->countOfColumn(); ++column) empty->addColumn(columns->columnName(column));
    return LAGnewDatabaseResultSetObject(database.pOwner, empty);
  });
}

PyMethodDef DatabaseMethods[] = {
    {"execute", databaseExecute, METH_VARARGS, nullptr},
    {"execute_select", databaseExecute, METH_VARARGS, nullptr},
    {"escape_string", databaseEscapeString, METH_VARARGS, nullptr},
    {"get_empty_default_result_set", databaseEmptyDefaultResultSet, METH_VARARGS, nullptr},
    {nullptr, nullptr, 0, nullptr},
};

// --- the result set object

PyObject* resultSetAddRow(PyObject* self, PyObject*) {
  return LAGmethod<ResultSet>(self, [](ResultSet& set) {
    const size_t row = set.pHeld->addRow();
    return LAGnewDatabaseResultSetRowObject(set.pOwner, set.pHeld, row);
  });
}

PyObject* resultSetCountOfRow(PyObject* self, PyObject*) {
  return LAGmethod<ResultSet>(self, [](ResultSet& set) { return PyLong_FromSize_t(set.pHeld->countOfRow()); });
}

PyObject* LAGvariantToPython(const DBvariant& value) {
  switch (value.type()) {
    case DB_NULL: Py_RETURN_NONE;
    case DB_STRING: return LANstringToPython(value.string());
    case DB_INTEGER: return PyLong_FromLong(value.integer32());
    case DB_LARGE_INTEGER: return PyLong_FromLongLong(value.integer64());
    case DB_FLOAT: return PyFloat_FromDouble(value.float32());
    case DB_DOUBLE: return PyFloat_FromDouble(value.float64());
    case DB_DATETIME: return PyFloat_FromDouble(static_cast<double>(value.dateTime()));
    case DB_BOOLEAN: return PyLong_FromLong(value.boolean() ? 1 : 0);
    case DB_TEXT: break;
  }
  throw COLerror("A value of an unknown type came from the database.", COL_ERROR_RESOURCE);
}

PyObject* resultSetValue(PyObject* self, PyObject* args) {
  long RowIndex = 0;
  PyObject* name = nullptr;
  COLstring column;
  if (!PyArg_ParseTuple(args, "lO", &RowIndex, &name) || !LANstringFromPython(name, column))
    return LANhandleBadArguments("value");
  return LAGmethod<ResultSet>(self, [&](ResultSet& set) {
    COL_PRECONDITION_TEXT(RowIndex >= 0, "RowIndex >= 0");
    COL_PRECONDITION_TEXT(RowIndex < static_cast<long>(set.pHeld->countOfRow()),
                          "RowIndex < (long)self->pResultSet->countOfRow()");
    return LAGvariantToPython(set.pHeld->value(static_cast<size_t>(RowIndex), column));
  });
}

PyMethodDef ResultSetMethods[] = {
    {"add_row", resultSetAddRow, METH_NOARGS, nullptr},
    {"count_of_row", resultSetCountOfRow, METH_NOARGS, nullptr},
    {"value", resultSetValue, METH_VARARGS, nullptr},
    {nullptr, nullptr, 0, nullptr},
};

// --- the row object

template <class Value>
PyObject* rowSet(PyObject* self, long column, const Value& value) {
  return LAGmethod<ResultRow>(self, [&](ResultRow& row) {
    COL_PRECONDITION_TEXT(column >= 0 && column < static_cast<long>(row.pHeld->countOfColumn()),
                          "ColumnIndex < countOfColumn()");
    row.pHeld->setValue(row.pResultSetRow, static_cast<size_t>(column), DBvariant(value));
    Py_RETURN_NONE;
  });
}

PyObject* rowSetStringValue(PyObject* self, PyObject* args) {
  long column = 0;
  PyObject* text = nullptr;
  COLstring value;
  if (!PyArg_ParseTuple(args, "lO", &column, &text) || !LANstringFromPython(text, value))
    return LANhandleBadArguments("set_string_value");
  return rowSet(self, column, value);
}

PyObject* rowSetIntegerValue(PyObject* self, PyObject* args) {
  long column = 0;
  int value = 0;
  if (!PyArg_ParseTuple(args, "li", &column, &value)) return LANhandleBadArguments("set_integer_value");
  return rowSet(self, column, value);
}

PyObject* rowSetDoubleValue(PyObject* self, PyObject* args) {
  long column = 0;
  double value = 0;
  if (!PyArg_ParseTuple(args, "ld", &column, &value)) return LANhandleBadArguments("set_double_value");
  return rowSet(self, column, value);
}

PyObject* rowSetTimeValue(PyObject* self, PyObject* args) {
  long column = 0;
  double value = 0;
  if (!PyArg_ParseTuple(args, "ld", &column, &value)) return LANhandleBadArguments("set_time_value");
  return rowSet(self, column, COLdateTime(value));
}

PyMethodDef ResultSetRowMethods[] = {
    {"set_string_value", rowSetStringValue, METH_VARARGS, nullptr},
    {"set_integer_value", rowSetIntegerValue, METH_VARARGS, nullptr},
    {"set_double_value", rowSetDoubleValue, METH_VARARGS, nullptr},
    {"set_time_value", rowSetTimeValue, METH_VARARGS, nullptr},
    {nullptr, nullptr, 0, nullptr},
};

PyTypeObject LAGdatabaseType =
    LAGmakeObjectType("Database", sizeof(Database), DatabaseMethods, LAGdeallocHolding<Database>);
PyTypeObject LAGresultSetType =
    LAGmakeObjectType("DatabaseResultSet", sizeof(ResultSet), ResultSetMethods, LAGdeallocHolding<ResultSet>);
PyTypeObject LAGresultSetRowType = LAGmakeObjectType("DatabaseResultSetRow", sizeof(ResultRow), ResultSetRowMethods,
                                                     LAGdeallocHolding<ResultRow>);

// The connection for the four texts: the host's, or the environment's own.
PyObject* LAGdatabaseFor(PyObject* self, LAGenvironment& environment, COLstring type, const COLstring& name,
                         const COLstring& user, const COLstring& password) {
  if (type == "OCI - Oracle 9i+") type = "OCI - Oracle";
  const QVMconfig& config = environment.config();
  DBdatabase* database = nullptr;
  if (config.isDatabaseFunctionOn()) {
    if (config.createDbConnectionFp()) {
      QVMdbInfo info;
      info.setAll("", type, name, user, password);
      LANengineUnlock unlock;
      database = static_cast<DBdatabase*>(config.createDbConnectionFp()(config.createDbConnectionFpContext(), info));
    } else {
      database = environment.getDatabaseObject(type, name, user, password);
    }
  }
  return LAGnewDatabaseObject(self, &environment, database);
}

}  // namespace

PyObject* LAGgetDatabase(PyObject* self, PyObject* args) {
  const char *type = nullptr, *name = nullptr, *user = nullptr, *password = nullptr;
  const bool parsed = PyArg_ParseTuple(args, "ssss", &type, &name, &user, &password);
  if (!parsed) PyErr_Clear();
  LAGenvironment* environment = LAGenvironmentOf(self);
  if (environment == nullptr) return nullptr;
  return LANguard([&] {
    if (!parsed)
      throw COLerror("Invalid arguments for get_database - get_database(DatabaseType, DatabaseName, UserName, Password)",
                     COL_ERROR_RESOURCE);
    return LAGdatabaseFor(self, *environment, type, name, user, password);
  });
}

PyObject* LAGgetDefaultDatabase(PyObject* self) {
  LAGenvironment* environment = LAGenvironmentOf(self);
  if (environment == nullptr) return nullptr;
  return LANguard([&] {
    const QVMdbInfo* info = environment->defaultDatabase();
    if (info == nullptr)
      throw COLerror("There is no default database specified for the current configuration.", COL_ERROR_RESOURCE);
    return LAGdatabaseFor(self, *environment, info->apiName(), info->databaseName(), info->userName(),
                          info->password());
  });
}

// --- the environment's connections

const QVMdbInfo* LAGenvironment::defaultDatabase() const {
  const QVMconfig& settings = config();
  const uint32_t index = settings.defaultDatabaseConnection();
  return index == QVMconfig::npos ? nullptr : settings.databaseConnection(index);
}

DBdatabase* LAGenvironment::getDatabaseObject(const COLstring& api, const COLstring& databaseName,
                                              const COLstring& userName, const COLstring& password) {
  for (const COLreferencePtr<DBdatabase>& open : m_Databases) {
    if (open->databaseName() != api || open->cachedDataSourceName() != databaseName ||
        open->cachedUserName() != userName || open->cachedPassword() != password)
      continue;
    LANengineUnlock unlock;
    open->connect(databaseName, userName, password);
    return open.get();
  }
  DBdatabaseFactory factory;
  COLstring ignored;
  COLostream log(ignored);
  factory.initialize(log);
  COLreferencePtr<DBdatabase> database = factory.getDatabase(api);
  {
    LANengineUnlock unlock;
    database->connect(databaseName, userName, password);
  }
  m_Databases.push_back(database);
  return database.get();
}
