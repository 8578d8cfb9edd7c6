#include "HelperProgram.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "ToolError.h"

namespace brevant::tool {

std::string HelperProgram(const std::string& name, const std::string& why) {
  std::error_code error;
  const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
  const std::filesystem::path here = error ? std::filesystem::path(".") : self.parent_path();
  const std::filesystem::path installed = here / BREVANT_HELPERS_FROM_BIN / name;
  for (const std::filesystem::path& candidate : {here / name, installed}) {
    if (access(candidate.c_str(), X_OK) == 0) return candidate.lexically_normal().string();
  }
  throw ToolError(name + " is not installed (looked for " +
                  installed.lexically_normal().string() + "); " + why);
}

void RunHelper(std::vector<std::string> words) {
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  execv(argv[0], argv.data());
  throw ToolError("cannot run " + words[0] + ": " + std::strerror(errno));
}

}  // namespace brevant::tool
