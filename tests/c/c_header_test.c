/* The public header compiles as C, and a C program can link the shared library and call it. */
#include <stdio.h>

#include "TimeKernel.h"

int main(void) {
  int32_t ids[4] = {7, 7, 7, 7};
  int32_t count = 4;
  /* No such file: the call fails with -1, leaves *count as it was and writes no ID. */
  int32_t rc = TimeKernelElementID("no-such-kernel-file.bin", ids, &count);
  if (rc != -1 || count != 4 || ids[0] != 7) {
    printf("unexpected: rc=%d count=%d ids[0]=%d\n", (int)rc, (int)count, (int)ids[0]);
    return 1;
  }
  printf("ok\n");
  return 0;
}
