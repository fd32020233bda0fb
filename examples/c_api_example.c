/* A host written in C: loads a message definition through the handle interface and prints
 * what it holds.  Usage: c_api_example DEFINITION.vmd
 * Exit status 0 on success, 1 on an engine error, 77 when no definition is given. */
#include <stdio.h>

#include "QVMhandle.h"

/* Prints an error handle's text and code, frees it, and says whether there was one. */
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

int main(int argc, char** argv) {
  void* engine = NULL;
  const char* version = NULL;
  const char* name = NULL;
  unsigned kind = 0, count = 0, configs = 0, i;
  int status = 1;

  if (argc < 2) {
    fprintf(stderr, "No definition file given; nothing to load.\n");
    return 77;
  }
  if (failed(_QVMengineGetVersionString(&version), "Version")) return 1;
  printf("Engine version: %s\n", version);
  if (failed(_QVMengineCreate(&engine), "Create")) return 1;

  if (failed(_QVMengineLoad2(engine, argv[1], &kind), "Load")) goto done;
  if (failed(_QVMengineCountOfConfig(engine, &configs), "CountOfConfig")) goto done;
  if (failed(_QVMengineConfigName(engine, 0, &name), "ConfigName")) goto done;
  printf("Kind %u, %u configuration(s), the first is \"%s\"\n", kind, configs, name);
  if (failed(_QVMengineCountOfMessage(engine, &count), "CountOfMessage")) goto done;
  printf("%u message(s):", count);
  for (i = 0; i < count; ++i) {
    if (failed(_QVMengineMessageName(engine, i, &name), "MessageName")) goto done;
    printf(" %s", name);
  }
  printf("\n");
  /* A bad index is an error handle, never a crash. */
  if (!failed(_QVMengineMessageName(engine, count, &name), "MessageName past the end")) goto done;
  status = count > 0 ? 0 : 1;

done:
  _QVMengineRelease(engine);
  return status;
}
