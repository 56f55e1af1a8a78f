#pragma once
// Signal and knowledge files of one invocation.

#include <cstdint>

namespace vtl {

// A file opened for reading, positioned at its start, closed when it goes out
// of scope. Anything that cannot be read twice (a pipe, a FIFO, a process
// substitution, a terminal) is first copied once into an anonymous temporary
// file, so that it can be measured, counted and read like a regular file.
class InputFile {
 public:
  InputFile() = default;
  ~InputFile();
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  // Opens `name` (`what`: "file" or "knowledge file" for the messages). A file
  // that cannot be opened, or is empty, gets its error lines and false. A
  // directory counts as a file that cannot be opened.
  bool open(const char* name, const char* what);
  int fd() const { return fd_; }
  std::int64_t size() const { return size_; }
  // Back to the start.
  void rewind() const;

 private:
  bool spool(int source);

  int fd_ = -1;
  std::int64_t size_ = 0;
};

}  // namespace vtl
