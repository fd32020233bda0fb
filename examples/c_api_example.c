/* A host written in C: loads a message definition through the handle interface and prints
 * what it holds; given a message file too, answers the message with its acknowledgement.
 * Usage: c_api_example DEFINITION.vmd [MESSAGE_FILE]
 * Exit status 0 on success, 1 on an engine error, 77 when no definition is given. */
#include <stdio.h>
#include <stdlib.h>

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

/* The whole file as one NUL-terminated text, or NULL; the caller frees it. */
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

/* Answers the first message of the file: only its header is read, and the reply is the
 * definition's acknowledgement message. Segments end in CR; they are printed a line each. */
static int acknowledge(void* engine, const char* path) {
  const char* ack = NULL;
  const char* at;
  char* message = readFile(path);
  int failure;
  if (!message) {
    fprintf(stderr, "Cannot read %s\n", path);
    return 1;
  }
  failure = failed(_QVMengineGenerateAckFromMessage(engine, message, &ack), "GenerateAckFromMessage");
  free(message);
  if (failure) return 1;
  printf("Acknowledgement:\n");
  for (at = ack; *at; ++at) putchar(*at == '\r' ? '\n' : *at);
  return 0;
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
  if (status == 0 && argc > 2) status = acknowledge(engine, argv[2]);

done:
  _QVMengineRelease(engine);
  return status;
}
