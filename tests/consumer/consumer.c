/* Links the installed library and calls it: a missing file gives -1 and leaves the count alone. Given a kernel
   file, it also prints how many elements the file holds. */
#include <TimeKernel.h>
#include <stdio.h>

int main(int argc, char** argv) {
  int32_t count = 3;
  if (TimeKernelElementID("no-such-file.kernel", NULL, &count) != -1 || count != 3) return 1;
  if (argc > 1) {
    count = 0;
    if (TimeKernelElementID(argv[1], NULL, &count) != 0) return 1;
    printf("%d elements\n", count);
  }
  printf("consumer ok\n");
  return 0;
}
