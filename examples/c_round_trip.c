/* A host written in C that takes one message the whole way: parse it into tables, read a few
 * cells with their states, turn it into XML, and turn that XML back into a message.
 * Usage: c_round_trip DEFINITION.vmd MESSAGE_FILE
 * Exit status 0 on success, 1 on an engine error or a bad argument. */
#include <stdio.h>
#include <stdlib.h>

#include "QVMhandle.h"

static int failed(void* error, const char* what) {
  const char* text = "";
  unsigned code = 0;
  if (!error) return 0;
  _QVMerrorGetDescription(error, &text);
  _QVMerrorGetCode(error, &code);
  fprintf(stderr, "%s failed (0x%08X): %s\n", what, code, text);
  _QVMerrorRelease(error);
  return 1;
}

/* The whole file, NUL-terminated; NULL when it cannot be read. */
static char* readFile(const char* path) {
  FILE* file = fopen(path, "rb");
  char* text = NULL;
  long size;
  if (!file) return NULL;
  if (fseek(file, 0, SEEK_END) == 0 && (size = ftell(file)) >= 0 && fseek(file, 0, SEEK_SET) == 0 &&
      (text = malloc((size_t)size + 1)) != NULL) {
    if (fread(text, 1, (size_t)size, file) != (size_t)size) {
      free(text);
      text = NULL;
    } else {
      text[size] = '\0';
    }
  }
  fclose(file);
  return text;
}

/* What a cell holds besides its value. */
static const char* stateName(unsigned state) {
  switch (state) {
    case 0: return "value";
    case 1: return "explicit null";
    case 2: return "nothing there";
    case 3: return "invalid for its type";
    default: return "?";
  }
}

int main(int argc, char** argv) {
  void* engine = NULL;
  void* table = NULL;
  void* patients = NULL;
  char* message = NULL;
  const char* name = NULL;
  const char* xml = NULL;
  const char* back = NULL;
  char* xmlCopy = NULL;
  unsigned messageIndex = 0, patientTable = 0, rows = 0, columns = 0, column, state;
  int status = 1;

  if (argc != 3 || (message = readFile(argv[2])) == NULL) {
    fprintf(stderr, "usage: c_round_trip DEFINITION.vmd MESSAGE_FILE (a readable file of one message)\n");
    return 1;
  }
  if (failed(_QVMengineCreate(&engine), "Create")) goto done;
  if (failed(_QVMengineLoad(engine, argv[1]), "Load")) goto done;

  /* Parse: the message is identified and fills a tree of tables. */
  if (failed(_QVMtableCreate(&table), "TableCreate")) goto done;
  if (failed(_QVMengineParseMessageA(engine, message, &messageIndex, table), "Parse")) goto done;
  if (failed(_QVMengineMessageName(engine, messageIndex, &name), "MessageName")) goto done;
  printf("message: %s\n", name);

  /* The root table has one row per message; its sub-tables hang below that row. */
  if (failed(_QVMtableGetSubTableIndex(table, "Patient", &patientTable), "SubTableIndex")) goto done;
  if (failed(_QVMtableGetSubTable(table, 0, patientTable, &patients), "GetSubTable")) goto done;
  if (failed(_QVMtableCountOfRow(patients, &rows), "CountOfRow")) goto done;
  if (failed(_QVMtableCountOfColumn(patients, &columns), "CountOfColumn")) goto done;
  for (column = 0; rows > 0 && column < columns; ++column) {
    const char* columnName = NULL;
    const char* value = NULL;
    if (failed(_QVMtableColumnName(patients, column, &columnName), "ColumnName")) goto done;
    if (failed(_QVMtableState(patients, column, 0, &state), "State")) goto done;
    if (failed(_QVMtableGetValueAsString(patients, column, 0, &value), "GetValueAsString")) goto done;
    printf("Patient.%s = '%s' (%s)\n", columnName, value, stateName(state));
  }

  /* To XML in the definition's dialect, and back. The XML text belongs to the engine until
   * its next call, so it is copied before the engine is asked again. */
  if (failed(_QVMengineTranslateMessageToXml(engine, message, &xml), "ToXml")) goto done;
  printf("%s", xml);
  {
    size_t length = 0;
    while (xml[length]) ++length;
    if ((xmlCopy = malloc(length + 1)) == NULL) goto done;
    for (size_t i = 0; i <= length; ++i) xmlCopy[i] = xml[i];
  }
  if (failed(_QVMengineTranslateXmlToMessage(engine, xmlCopy, &back), "FromXml")) goto done;
  for (const char* c = back; *c; ++c) putchar(*c == '\r' ? '\n' : *c);
  status = 0;

done:
  free(xmlCopy);
  free(message);
  _QVMtableRelease(table);
  _QVMengineRelease(engine);
  return status;
}
