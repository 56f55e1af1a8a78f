/* The I/O floor of a whole run: reads the input file in 64 KiB blocks and
   writes a report of the given size to standard output, doing nothing else.
   Usage: io_floor INPUT REPORT_BYTES > report */
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>
int main(int argc, char** argv) {
  static char block[1 << 16];
  int in = open(argv[1], O_RDONLY);
  long long out_size = atoll(argv[2]);
  for (ssize_t got; (got = read(in, block, sizeof block)) > 0;) {
  }
  memset(block, ' ', sizeof block);
  for (long long left = out_size; left > 0;) {
    ssize_t part = left < (long long)sizeof block ? (ssize_t)left : (ssize_t)sizeof block;
    if (write(1, block, part) != part) return 1;
    left -= part;
  }
  return 0;
}
