#pragma once
// Files of one invocation, closed when they go out of scope.

#include <sys/stat.h>

#include <cstdio>
#include <memory>

#include "cli/messages.h"

namespace vtl {

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using FileHandle = std::unique_ptr<std::FILE, FileCloser>;

// Opens a signal or knowledge file (`what`: "file" or "knowledge file") for
// reading, positioned at its start. A file that cannot be opened, or is empty,
// gets its error lines and a null handle. A directory opens on Linux but holds
// no bytes to read, so it counts as a file that cannot be opened.
inline FileHandle open_input_file(const char* name, const char* what) {
  FileHandle file(name != nullptr ? std::fopen(name, "rb") : nullptr);
  struct stat info;
  if (file && fstat(fileno(file.get()), &info) == 0 && S_ISDIR(info.st_mode)) file.reset();
  if (!file) {
    std::printf("Error: could not open %s !\n", what);
    print_line("Check path of file and/or name of file is correct.");
    return file;
  }
  std::fseek(file.get(), 0, SEEK_END);
  if (std::ftell(file.get()) == 0) {
    print_line("Error: file is empty !");
    file.reset();
    return file;
  }
  std::fseek(file.get(), 0, SEEK_SET);
  return file;
}

}  // namespace vtl
