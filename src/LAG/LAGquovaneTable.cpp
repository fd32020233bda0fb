// The table objects of scripts: the iterator over the table a message fills or is generated
// from, and the definition of a table.
#include "LANpython.h"

#include "LAGquovaneObject.h"
#include "QVMtableDefinitionInternal.h"
#include "QVMtableGrammarInternal.h"
#include "QVMtableInternal.h"

namespace {

struct LAGquovaneTableIteratorObject {
  PyObject_HEAD
  QVMtableInternal* pResultTable;
  PyObject* pOwner;
};

struct LAGquovaneTableDefinitionObject {
  PyObject_HEAD
  QVMtableDefinitionInternal* pTableDefinition;
  PyObject* pOwner;
};

PyObject* LAGtext(const COLstring& text) { return LANstringToPython(text); }

// Text arguments cross as Latin-1 like every other text of a script.
COLstring LAGtextArgument(PyObject* object, const char* function) {
  COLstring text;
  if (!LANstringFromPython(object, text))
    throw COLerror(COLstring("Bad arguments for calling '") + function + "' the name must be a str",
                   COL_ERROR_BAD_ARGUMENT);
  return text;
}

unsigned LAGcolumnOf(const QVMtableInternal& table, const COLstring& name) {
  const unsigned column = table.columnIndex(name);
  if (column >= table.countOfColumn())
    throw COLerror("Cannot find the column " + name + " in the table.", COL_ERROR_RESOURCE);
  return column;
}

unsigned LAGrowOf(long row) {
  LANcheckMin(row, 0, "Row Index (second argument)");
  return static_cast<unsigned>(row);
}

// --- the table iterator

using Iterator = LAGquovaneTableIteratorObject;

PyObject* iteratorSubTable(PyObject* self, PyObject* args) {
  PyObject* name = nullptr;
  long row = 0;
  if (!PyArg_ParseTuple(args, "O|l", &name, &row)) return LANhandleBadArguments("sub_table");
  return LAGmethod<Iterator>(self, [&](Iterator& iterator) {
    QVMtableInternal& table = *iterator.pResultTable;
    COL_PRECONDITION_TEXT(!table.tableGrammar()->isNode(), "!self->pResultTable->tableGrammar()->isNode()");
    const COLstring text = LAGtextArgument(name, "sub_table");
    const unsigned index = table.subTableNameToIndex(text);
    if (index >= table.countOfSubTable())
      throw COLerror("Cannot find " + text + " in table grammar.", COL_ERROR_RESOURCE);
    return LAGnewTableIteratorObject(iterator.pOwner, &table.subTable(LAGrowOf(row), index));
  });
}

PyObject* iteratorAddRow(PyObject* self, PyObject*) {
  return LAGmethod<Iterator>(self, [](Iterator& iterator) {
    return PyLong_FromUnsignedLong(iterator.pResultTable->addRow());
  });
}

PyObject* iteratorTableDefinition(PyObject* self, PyObject*) {
  return LAGmethod<Iterator>(self, [](Iterator& iterator) {
    QVMtableDefinitionInternal* definition = iterator.pResultTable->tableDefinition();
    COL_PRECONDITION_TEXT(definition != nullptr, "TableDefinition->pTableDefinition != NULL");
    return LAGnewTableDefinitionObject(iterator.pOwner, definition);
  });
}

PyObject* iteratorIsNode(PyObject* self, PyObject*) {
  return LAGmethod<Iterator>(self, [](Iterator& iterator) {
    return PyLong_FromLong(iterator.pResultTable->isNode() ? 1 : 0);
  });
}

PyObject* iteratorColumn(PyObject* self, PyObject* args) {
  PyObject* name = nullptr;
  long row = 0;
  if (!PyArg_ParseTuple(args, "Ol", &name, &row)) return LANhandleBadArguments("column");
  return LAGmethod<Iterator>(self, [&](Iterator& iterator) {
    const QVMtableInternal& table = *iterator.pResultTable;
    COL_PRECONDITION_TEXT(table.isNode(), "self->pResultTable->isNode()");
    return LAGtext(table.getStringValue(LAGcolumnOf(table, LAGtextArgument(name, "column")), LAGrowOf(row)));
  });
}

PyObject* iteratorSetColumn(PyObject* self, PyObject* args) {
  PyObject *name = nullptr, *text = nullptr;
  long row = 0;
  if (!PyArg_ParseTuple(args, "OlO", &name, &row, &text)) return LANhandleBadArguments("set_column");
  return LAGmethod<Iterator>(self, [&](Iterator& iterator) {
    QVMtableInternal& table = *iterator.pResultTable;
    COL_PRECONDITION_TEXT(table.isNode(), "self->pResultTable->isNode()");
    const unsigned column = LAGcolumnOf(table, LAGtextArgument(name, "set_column"));
    table.setString(column, LAGrowOf(row), LAGtextArgument(text, "set_column"));
    return PyLong_FromLong(1);
  });
}

PyObject* iteratorCountOfRow(PyObject* self, PyObject*) {
  return LAGmethod<Iterator>(self, [](Iterator& iterator) {
    return PyLong_FromUnsignedLong(iterator.pResultTable->countOfRow());
  });
}

PyMethodDef TableIteratorMethods[] = {
    {"sub_table", iteratorSubTable, METH_VARARGS, nullptr},
    {"add_row", iteratorAddRow, METH_NOARGS, nullptr},
    {"table_definition", iteratorTableDefinition, METH_NOARGS, nullptr},
    {"is_node", iteratorIsNode, METH_NOARGS, nullptr},
    {"column", iteratorColumn, METH_VARARGS, nullptr},
    {"set_column", iteratorSetColumn, METH_VARARGS, nullptr},
    {"count_of_row", iteratorCountOfRow, METH_NOARGS, nullptr},
    {nullptr, nullptr, 0, nullptr},
};

PyTypeObject LAGtableIteratorType = LAGmakeObjectType("TableIterator", sizeof(LAGquovaneTableIteratorObject),
                                                      TableIteratorMethods, LAGdeallocOwned<Iterator>);

// --- the table definition

using Definition = LAGquovaneTableDefinitionObject;

PyObject* tableDefinitionName(PyObject* self, PyObject*) {
  return LAGmethod<Definition>(self, [](Definition& object) { return LAGtext(object.pTableDefinition->tableName()); });
}

PyObject* tableDefinitionDescription(PyObject* self, PyObject*) {
  return LAGmethod<Definition>(self,
                               [](Definition& object) { return LAGtext(object.pTableDefinition->description()); });
}

PyObject* tableDefinitionColumnName(PyObject* self, PyObject* args) {
  long column = 0;
  if (!PyArg_ParseTuple(args, "l", &column)) return LANhandleBadArguments("column_name");
  return LAGmethod<Definition>(self, [&](Definition& object) {
    QVMtableDefinitionInternal& table = *object.pTableDefinition;
    // The first column is 1.
    LANcheckMin(column, 1, "Column Index (first argument)");
    LANcheckMax(column, static_cast<long long>(table.countOfColumn()) + 1, "Column Index (first argument)");
    return LAGtext(table.columnName(static_cast<size_t>(column - 1)));
  });
}

PyObject* tableDefinitionStr(PyObject* self) {
  return LAGmethod<Definition>(self, [](Definition& object) {
    const QVMtableDefinitionInternal& table = *object.pTableDefinition;
    return LAGtext("Name:        " + table.tableName() + "\r\nDescription: " + table.description());
  });
}

PyMethodDef TableDefinitionMethods[] = {
    {"name", tableDefinitionName, METH_NOARGS, nullptr},
    {"description", tableDefinitionDescription, METH_NOARGS, nullptr},
    {"column_name", tableDefinitionColumnName, METH_VARARGS, nullptr},
    {nullptr, nullptr, 0, nullptr},
};

PyTypeObject LAGtableDefinitionType =
    LAGmakeObjectType("TableDefinition", sizeof(LAGquovaneTableDefinitionObject), TableDefinitionMethods,
                      LAGdeallocOwned<Definition>, tableDefinitionStr);

}  // namespace

PyObject* LAGnewTableIteratorObject(PyObject* owner, QVMtableInternal* table) {
  COL_PRECONDITION(table != nullptr);
  auto* object = LAGnewOwned<Iterator>(LAGtableIteratorType, owner);
  if (object != nullptr) object->pResultTable = table;
  return reinterpret_cast<PyObject*>(object);
}

PyObject* LAGnewTableDefinitionObject(PyObject* owner, QVMtableDefinitionInternal* definition) {
  COL_PRECONDITION(definition != nullptr);
  auto* object = LAGnewOwned<Definition>(LAGtableDefinitionType, owner);
  if (object != nullptr) object->pTableDefinition = definition;
  return reinterpret_cast<PyObject*>(object);
}
