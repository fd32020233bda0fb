/* Library-level speed: a host in C that loads a definition through the handle interface and
 * translates every message of a log to XML in memory, writing no file.  The log must be in
 * the normal form the readers hand out (CR between segments, CR LF after each message).
 * Prints "messages seconds bytes" for the translation loop alone on standard output.
 * Usage: bench_c_host DEFINITION.vmd LOG */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "QVMhandle.h"

static int failed(void* error, const char* what) {
  const char* text = "";
  if (!error) return 0;
  _QVMerrorGetDescription(error, &text);
  fprintf(stderr, "%s failed: %s\n", what, text);
  _QVMerrorRelease(error);
  return 1;
}

static char* readWhole(const char* path, size_t* size) {
  FILE* file = fopen(path, "rb");
  char* data;
  long length;
  if (!file) return NULL;
  fseek(file, 0, SEEK_END);
  length = ftell(file);
  fseek(file, 0, SEEK_SET);
  data = malloc((size_t)length + 1);
  if (data && fread(data, 1, (size_t)length, file) != (size_t)length) {
    free(data);
    data = NULL;
  }
  fclose(file);
  if (data) data[length] = 0;
  *size = (size_t)length;
  return data;
}

static double now(void) {
  struct timespec t;
  clock_gettime(CLOCK_MONOTONIC, &t);
  return (double)t.tv_sec + (double)t.tv_nsec / 1e9;
}

int main(int argc, char** argv) {
  void* engine = NULL;
  size_t size = 0, count = 0, xmlBytes = 0;
  char *log, *at, *end;
  double start;
  int status = 1;

  if (argc < 3) {
    fprintf(stderr, "usage: bench_c_host DEFINITION.vmd LOG\n");
    return 2;
  }
  log = readWhole(argv[2], &size);
  if (!log) {
    fprintf(stderr, "cannot read %s\n", argv[2]);
    return 1;
  }
  if (failed(_QVMengineCreate(&engine), "Create")) return 1;
  if (failed(_QVMengineLoad(engine, argv[1]), "Load")) goto done;

  start = now();
  for (at = log; at < log + size; at = end) {
    const char* xml = NULL;
    char saved;
    end = strstr(at, "\r\n");
    end = end ? end + 2 : log + size;
    /* The message stays in the log: cut it by a NUL behind its CR LF and put the byte back. */
    saved = *end;
    *end = 0;
    if (failed(_QVMengineTranslateMessageToHl7StandardXml(engine, at, &xml), "Translate")) {
      fprintf(stderr, "message %zu\n", count + 1);
      goto done;
    }
    *end = saved;
    xmlBytes += strlen(xml);
    ++count;
  }
  printf("%zu %.6f %zu\n", count, now() - start, xmlBytes);
  status = 0;

done:
  _QVMengineRelease(engine);
  free(log);
  return status;
}
