// Files the commands read and write, where "-" stands for stdin or stdout.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "TemporaryFile.h"

namespace brevant::tool {

// The bytes of `path`, at most `most` of them: a ToolError naming the file if
// it holds more ("FILE holds more than N bytes") or cannot be read. Never reads
// more than most + 1 bytes, so an endless input such as /dev/zero is refused.
std::vector<uint8_t> ReadInput(const std::string& path, uint64_t most);

// The size of `path` if it is a regular file (symbolic links followed); none
// for "-", pipes and devices, whose size shows only by reading them. A
// ToolError if it cannot be looked at.
std::optional<uint64_t> InputSize(const std::string& path);

// A file that a run writes, and that a failed run leaves exactly as it was.
//
// A regular file (existing or new) is written to a temporary file beside it and
// renamed over it only by Close, so that it holds either its old bytes or all
// the new ones. The temporary file gets the permissions (and, where allowed,
// the owner) that the file has, or that a new file would get; it is removed if
// the run fails or is ended by SIGINT, SIGTERM or SIGHUP. A symbolic link stays
// a link: the file it points to is the one replaced, in that file's directory.
// A hard link's other names keep the old bytes.
//
// "-" (stdout), character devices and FIFOs are written directly, never
// truncated and never removed. Every error names the file.
class OutputFile {
 public:
  // Opens or prepares the file, so that a path that cannot be written fails
  // before any device is touched. A file the user may not write is refused,
  // even though its directory would allow the rename.
  explicit OutputFile(const std::string& path);
  // Without Close, the temporary file is removed and the target stays as it was.
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  void Write(std::span<const uint8_t> bytes);
  // Commits: afterwards the file holds what was written. A ToolError if that
  // could not be done; the target is then as it was.
  void Close();

 private:
  [[noreturn]] void Fail(int error) const;

  std::string path_;
  // The regular file that Close replaces: path_ with its links followed.
  std::string target_;
  std::optional<TemporaryFile> temporary_;
  int fd_ = -1;
};

}  // namespace brevant::tool
