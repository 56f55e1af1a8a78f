#pragma once

// Descriptor-level file helpers shared by the state store and the front end:
// every call is retried when a signal interrupts it, and every descriptor is
// opened close-on-exec.

#include <sys/types.h>

#include <cstddef>

namespace vtl {

// open(2) with O_CLOEXEC added; the descriptor, or -1 with errno set.
int open_retrying(const char* path, int flags, mode_t mode = 0);

// Writes all of [data, data + size) to fd: 0, or the errno of the failure (EIO
// when the system wrote nothing without saying why).
int write_all(int fd, const void* data, std::size_t size);

// Reads from fd until capacity bytes are in or the file ends or fails; the
// number of bytes read.
std::size_t read_up_to(int fd, void* data, std::size_t capacity);

}  // namespace vtl
