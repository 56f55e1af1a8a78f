/* The least an invocation on one signal can do: open the 216-byte state
   file, read it, write it back, close it. The emulator's start-up and
   single-signal runs are measured against this. */
#include <stdio.h>
#include <unistd.h>
int main(void) {
  unsigned char state[216];
  FILE* file = fopen("Vantelo.dat", "rb+");
  if (!file) return 1;
  size_t n = fread(state, 1, sizeof state, file);
  rewind(file);
  fwrite(state, 1, n, file);
#ifdef SYNC
  fflush(file);
  fsync(fileno(file));
#endif
  return fclose(file) != 0;
}
