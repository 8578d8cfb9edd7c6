#include "OutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <system_error>

#include "ToolError.h"

namespace brevant::tool {

namespace {

constexpr size_t kReadPiece = 65536;
// As the kernel counts: more links than this in a row make a loop.
constexpr int kMaxLinks = 40;

std::string Shown(const std::string& path, const char* standard) {
  return path == "-" ? standard : path;
}

// The directory part of `path` with its slash, empty for a bare name.
std::string Directory(const std::string& path) {
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? "" : path.substr(0, slash + 1);
}

std::string Name(const std::string& path) {
  return path.substr(Directory(path).size());
}

// `path` with symbolic links in its last part followed, to a file that need
// not exist yet (a dangling link names the file to create). The result is no
// link, or errno is ELOOP.
std::string FollowLinks(std::string path) {
  for (int hops = 0; hops < kMaxLinks; ++hops) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0 || !S_ISLNK(status.st_mode)) return path;
    std::string link(PATH_MAX, '\0');
    const ssize_t length = readlink(path.c_str(), link.data(), link.size());
    if (length < 0) return path;
    link.resize(static_cast<size_t>(length));
    path = link.starts_with('/') ? link : Directory(path) + link;
  }
  errno = ELOOP;
  return {};
}

// What a new file gets from open(..., 0666): the process's umask applied.
mode_t NewFileMode() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

}  // namespace

std::vector<uint8_t> ReadInput(const std::string& path, uint64_t most) {
  const std::string shown = Shown(path, "stdin");
  const int fd = path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) throw ToolError("cannot read " + shown + ": " + std::strerror(errno));
  std::vector<uint8_t> bytes;
  int error = 0;
  // One byte beyond `most` tells a file that is too large from one that just fits.
  while (bytes.size() <= most) {
    const size_t had = bytes.size();
    const size_t piece = std::min<uint64_t>(kReadPiece, most + 1 - had);
    bytes.resize(had + piece);
    const ssize_t got = read(fd, bytes.data() + had, piece);
    bytes.resize(had + static_cast<size_t>(std::max<ssize_t>(got, 0)));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) error = errno;
    if (got <= 0) break;
  }
  if (fd != STDIN_FILENO) close(fd);
  if (error != 0) throw ToolError("cannot read " + shown + ": " + std::strerror(error));
  if (bytes.size() > most) {
    throw ToolError(shown + " holds more than " + std::to_string(most) + " bytes");
  }
  return bytes;
}

std::optional<uint64_t> InputSize(const std::string& path) {
  if (path == "-") return std::nullopt;
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) {
    throw ToolError("cannot read " + path + ": " + std::strerror(errno));
  }
  if (!S_ISREG(status.st_mode)) return std::nullopt;
  return static_cast<uint64_t>(status.st_size);
}

OutputFile::OutputFile(const std::string& path) : path_(path) {
  if (path == "-") {
    // What the command printed before goes out before the data.
    std::fflush(stdout);
    fd_ = STDOUT_FILENO;
    return;
  }
  target_ = FollowLinks(path);
  if (target_.empty()) Fail(errno);
  struct stat status {};
  const bool exists = stat(target_.c_str(), &status) == 0;
  if (!exists && errno != ENOENT) Fail(errno);
  if (exists && S_ISDIR(status.st_mode)) Fail(EISDIR);
  if (exists && !S_ISREG(status.st_mode)) {
    // A device or FIFO is the receiver itself: written as it is, never
    // truncated, replaced or removed.
    fd_ = open(target_.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC);
    if (fd_ < 0) Fail(errno);
    return;
  }
  if (exists && faccessat(AT_FDCWD, target_.c_str(), W_OK, AT_EACCESS) != 0) Fail(errno);
  try {
    temporary_.emplace(Directory(target_), Name(target_));
  } catch (const std::system_error& e) {
    Fail(e.code().value());
  }
  fd_ = temporary_->Descriptor();
  if (fchmod(fd_, exists ? status.st_mode & 0777 : NewFileMode()) != 0) Fail(errno);
  // Only root may give a file away; anyone else keeps the file as theirs.
  if (exists && fchown(fd_, status.st_uid, status.st_gid) != 0 && errno != EPERM) Fail(errno);
}

OutputFile::~OutputFile() {
  if (!temporary_ && fd_ >= 0 && fd_ != STDOUT_FILENO) close(fd_);
}

void OutputFile::Write(std::span<const uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t wrote = write(fd_, bytes.data(), bytes.size());
    if (wrote < 0 && errno == EINTR) continue;
    if (wrote < 0) Fail(errno);
    bytes = bytes.subspan(static_cast<size_t>(wrote));
  }
}

void OutputFile::Close() {
  if (temporary_) {
    try {
      temporary_->RenameTo(target_);
    } catch (const std::system_error& e) {
      Fail(e.code().value());
    }
  } else if (fd_ != STDOUT_FILENO) {
    const int closed = close(fd_);
    fd_ = -1;
    if (closed != 0) Fail(errno);
  }
}

void OutputFile::Fail(int error) const {
  throw ToolError("cannot write " + Shown(path_, "stdout") + ": " + std::strerror(error));
}

}  // namespace brevant::tool
