// A file that exists only until it is renamed into place. If the run ends
// first, by a failure (the destructor) or by SIGINT, SIGTERM or SIGHUP (a
// handler that removes every such file and then lets the signal end the process
// as it would have), the file goes and leaves nothing to be taken for output.
#pragma once

#include <string>

namespace brevant::tool {

class TemporaryFile {
 public:
  // A new, empty file `directory` + "." + `name` + ".brevant-XXXXXX" with
  // permissions 0600. Signals are held off from its creation until it is known
  // to the handler. Throws std::system_error.
  TemporaryFile(const std::string& directory, const std::string& name);
  // Removes the file unless it was renamed.
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  int Descriptor() const { return fd_; }
  // Flushes the file to the disk, closes it and renames it to `target` (in the
  // same directory, so the rename is atomic): readers see the old file or the
  // whole new one, never a part. Throws std::system_error; the file then stays
  // temporary.
  void RenameTo(const std::string& target);

 private:
  std::string path_;
  int fd_ = -1;
  bool renamed_ = false;
};

}  // namespace brevant::tool
