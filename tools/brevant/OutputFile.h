// Files the commands read and write, where "-" stands for stdin or stdout.
#pragma once

#include <cstdint>
#include <cstdio>
#include <span>
#include <string>
#include <vector>

namespace brevant::tool {

// The whole of `path`; a ToolError naming the file and the reason if it cannot
// be read.
std::vector<uint8_t> ReadInput(const std::string& path);

// A file opened for writing on construction, so that a bad path fails before
// any device is touched. One that is never closed is removed again: a failed
// run leaves no partial file to be taken for a good one.
class OutputFile {
 public:
  explicit OutputFile(const std::string& path);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  void Write(std::span<const uint8_t> bytes);
  // Flushes; a ToolError if what was written did not all reach the file.
  void Close();

 private:
  std::string path_;
  std::FILE* file_;
};

}  // namespace brevant::tool
