/* Runs a command with its standard output sent to a file and prints its wall
   time in seconds and its peak resident memory in KiB. Being small itself, it
   adds next to nothing to the peak memory the kernel reports for the child.
   Usage: run_measured OUTPUT_FILE COMMAND [ARG...] */
#include <fcntl.h>
#include <stdio.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

int main(int argc, char** argv) {
  if (argc < 3) return 2;
  struct timespec start, end;
  clock_gettime(CLOCK_MONOTONIC, &start);
  const pid_t pid = fork();
  if (pid == 0) {
    const int out = open(argv[1], O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (out < 0 || dup2(out, 1) < 0) _exit(126);
    execv(argv[2], argv + 2);
    _exit(127);
  }
  int status = 0;
  struct rusage usage;
  if (wait4(pid, &status, 0, &usage) != pid) return 2;
  clock_gettime(CLOCK_MONOTONIC, &end);
  printf("%.6f %ld\n",
         (double)(end.tv_sec - start.tv_sec) + (double)(end.tv_nsec - start.tv_nsec) * 1e-9,
         usage.ru_maxrss);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? 0 : 1;
}
