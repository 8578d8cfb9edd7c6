#include "OutputFile.h"

#include <cerrno>
#include <cstring>

#include "ToolError.h"

namespace brevant::tool {

namespace {

[[noreturn]] void Fail(const std::string& what, const std::string& path) {
  throw ToolError("cannot " + what + " " + path + ": " + std::strerror(errno));
}

}  // namespace

std::vector<uint8_t> ReadInput(const std::string& path) {
  std::FILE* file = path == "-" ? stdin : std::fopen(path.c_str(), "rb");
  if (file == nullptr) Fail("read", path);
  std::vector<uint8_t> bytes;
  uint8_t chunk[65536];
  size_t got = 0;
  while ((got = std::fread(chunk, 1, sizeof chunk, file)) > 0)
    bytes.insert(bytes.end(), chunk, chunk + got);
  const bool failed = std::ferror(file) != 0;
  if (file != stdin) std::fclose(file);
  if (failed) Fail("read", path);
  return bytes;
}

OutputFile::OutputFile(const std::string& path)
    : path_(path), file_(path == "-" ? stdout : std::fopen(path.c_str(), "wb")) {
  if (file_ == nullptr) Fail("write", path);
}

OutputFile::~OutputFile() {
  if (file_ == nullptr || file_ == stdout) return;
  std::fclose(file_);
  std::remove(path_.c_str());
}

void OutputFile::Write(std::span<const uint8_t> bytes) {
  if (std::fwrite(bytes.data(), 1, bytes.size(), file_) != bytes.size()) Fail("write", path_);
}

void OutputFile::Close() {
  bool failed = std::fflush(file_) != 0;
  if (file_ != stdout) {
    failed = std::fclose(file_) != 0 || failed;
    file_ = nullptr;
  }
  if (failed) Fail("write", path_);
}

}  // namespace brevant::tool
