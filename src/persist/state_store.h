#pragma once
// Where the state file lives and how it is replaced, safely against crashes,
// full disks and other invocations running at the same time.
//
// - Serialized: every invocation holds an advisory lock (flock) on the
//   directory that holds the state file from before it loads until after it
//   saved, so that concurrent invocations behave as if run one after another.
//   Readers share the lock; writers hold it alone. Waiting is silent. No lock
//   file is made.
// - Atomic: a save writes the new state into a temporary file in the same
//   directory and renames it over the state file, so the old file is intact
//   until the rename, whatever happens to the process. The temporary file is anonymous while it is
//   written (O_TMPFILE); it gets the name ".<name>.tmp" only for the moment
//   before the rename, and a name left by a killed process is removed by the
//   next save. The new file keeps the old one's permissions and, where
//   allowed, its owner.
// - Durable on request: with VANTELO_SYNC set (to anything but "" or "0") the
//   temporary file is synced before the rename and the directory after it, so
//   that the new state also survives a power cut. Without it the kernel writes
//   the file back in its own time: a sync costs more than the rest of a
//   single-signal invocation, which scripts run once per signal.
// - In place where the directory takes no new file: when the state file is
//   writable but its directory is not, the save writes over the file itself,
//   with one write after the report, as an update handle would (no longer
//   safe against a power cut or an I/O error in that instant).
// - Only regular files: a state file that is a FIFO, a directory, a device or
//   a socket is refused without ever blocking on it.
// - Symbolic links are followed: the linked file is replaced atomically in its
//   own directory (and that directory is the one locked); the link stays.
//
// Nothing is allocated: paths live in fixed buffers.

#include <sys/stat.h>

#include <climits>
#include <cstddef>
#include <cstdint>

namespace vtl {

// Whether the value of VANTELO_SYNC asks for durable saves: set, and neither
// empty nor "0".
bool sync_requested(const char* value);

class StateStore {
 public:
  enum class Lock { shared, exclusive };
  // The largest image a save in place keeps (a state image is 216 bytes).
  static constexpr std::size_t kInPlaceCapacity = 256;

  explicit StateStore(const char* name);
  ~StateStore();
  StateStore(const StateStore&) = delete;
  StateStore& operator=(const StateStore&) = delete;

  // Waits for the directory lock. Without a usable directory (or a link chain
  // that cannot be followed) it goes on unlocked; opening and saving then
  // report the problem.
  void lock(Lock kind);

  // Opens the existing state file for reading (and checks that it could be
  // written, when for_update is set, as an update handle would). False when it
  // is missing, cannot be opened that way, or is not a regular file.
  bool open_existing(bool for_update);
  // Reads up to `capacity` bytes from the start of the opened file; returns
  // how many there were.
  std::size_t read_start(std::uint8_t* image, std::size_t capacity);

  // Writes `size` bytes, and when keep_tail is set every byte of the opened
  // file after the first `size`, into a temporary file (synced when durable
  // saves are asked for). False (nothing
  // left behind) when the state file cannot be replaced: not a regular file,
  // not writable, or a full disk. Where the directory refuses the temporary
  // file but the state file is writable, keeps the image (at most
  // kInPlaceCapacity bytes) for a save in place instead.
  bool prepare(const std::uint8_t* image, std::size_t size, bool keep_tail);
  // Renames the prepared file over the state file (and syncs the directory
  // when durable saves are asked for), or writes the kept image over the
  // file's start and, without keep_tail, cuts the file after it. False if the
  // rename failed (the old file is then untouched and the temporary file
  // removed) or the write in place failed.
  bool commit();
  // Drops a prepared file that will not be committed.
  void abandon();

 private:
  bool resolve(const char* name);
  bool write_tail(int to, std::size_t from) const;
  bool link_prepared();
  bool prepare_in_place(const std::uint8_t* image, std::size_t size, bool keep_tail);
  bool commit_in_place();

  char target_[PATH_MAX] = {};  // the state file, links followed
  char dir_[PATH_MAX] = {};     // its directory
  char temp_[PATH_MAX] = {};    // the temporary name
  bool resolved_ = false;
  int dir_fd_ = -1;
  int file_fd_ = -1;  // the existing state file
  bool opened_for_update_ = false;
  int prepared_fd_ = -1;  // the new content
  bool prepared_named_ = false;
  bool prepared_linked_ = false;
  bool durable_ = false;
  int in_place_fd_ = -1;  // the state file, when it is to be written in place
  bool in_place_keep_tail_ = false;
  std::size_t in_place_size_ = 0;
  std::uint8_t in_place_image_[kInPlaceCapacity] = {};
};

}  // namespace vtl
