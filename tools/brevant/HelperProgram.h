// Programs that `brevant` hands a command over to (brevant-emulate,
// brevant-wave): they need libraries the command line itself does without.
#pragma once

#include <string>
#include <vector>

namespace brevant::tool {

// The path of helper `name`: beside this program in a build tree, else where
// it is installed. Throws ToolError naming where it looked; `why` says what
// the helper needs to be built ("it is built where umockdev is").
std::string HelperProgram(const std::string& name, const std::string& why);

// Replaces this process with `words` (the program's path first). Throws
// ToolError when it cannot be started.
[[noreturn]] void RunHelper(std::vector<std::string> words);

}  // namespace brevant::tool
