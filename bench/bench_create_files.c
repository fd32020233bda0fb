/* The floor under --toxml: what making one file per message costs on its own, on the file
 * system of DIRECTORY.  Makes COUNT files named as --toxml names them (00001m.xml, ...), each
 * opened, given BYTES bytes (default none) and closed, as --toxml does with its XML.
 * DIRECTORY must not exist; it is made, and its files stay for the caller to remove.
 * Prints "files seconds" for the loop alone on standard output.
 * Usage: bench_create_files DIRECTORY COUNT [BYTES] */
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

static double now(void) {
  struct timespec t;
  clock_gettime(CLOCK_MONOTONIC, &t);
  return (double)t.tv_sec + (double)t.tv_nsec / 1e9;
}

int main(int argc, char** argv) {
  char path[4096];
  char* data;
  size_t count, bytes, index;
  double start;

  if (argc < 3) {
    fprintf(stderr, "usage: bench_create_files DIRECTORY COUNT [BYTES]\n");
    return 2;
  }
  count = strtoul(argv[2], NULL, 10);
  bytes = argc > 3 ? strtoul(argv[3], NULL, 10) : 0;
  if (mkdir(argv[1], 0777) != 0) {
    perror(argv[1]);
    return 1;
  }
  data = malloc(bytes + 1);
  if (!data) return 1;
  memset(data, 'x', bytes);

  start = now();
  for (index = 1; index <= count; ++index) {
    int file;
    snprintf(path, sizeof path, "%s/%05zum.xml", argv[1], index);
    file = open(path, O_RDWR | O_CREAT | O_TRUNC, 0666);
    if (file < 0 || (bytes && write(file, data, bytes) != (ssize_t)bytes) || close(file) != 0) {
      perror(path);
      return 1;
    }
  }
  printf("%zu %.6f\n", count, now() - start);
  free(data);
  return 0;
}
