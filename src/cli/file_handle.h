#pragma once
// Files of one invocation, closed when they go out of scope.

#include <sys/stat.h>

#include <cstdio>
#include <memory>

namespace vtl {

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using FileHandle = std::unique_ptr<std::FILE, FileCloser>;

// Opens a signal or knowledge file for reading ("rb"). A directory opens on
// Linux but holds no bytes to read, so it counts as a file that cannot be opened.
inline FileHandle open_input_file(const char* name) {
  FileHandle file(std::fopen(name, "rb"));
  struct stat info;
  if (file && fstat(fileno(file.get()), &info) == 0 && S_ISDIR(info.st_mode)) file.reset();
  return file;
}

}  // namespace vtl
