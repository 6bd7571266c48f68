/* Links the installed library and calls it: a missing file gives -1 and leaves the count alone. */
#include <stdio.h>

#include <TimeKernel.h>

int main(void) {
  int32_t count = 3;
  if (TimeKernelElementID("no-such-file.kernel", NULL, &count) != -1 || count != 3) return 1;
  printf("consumer ok\n");
  return 0;
}
