#include "EmulateCommand.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "ToolError.h"

namespace brevant::tool {

namespace {

constexpr char kVirtualFile[] = "virtual:";

// Beside this program in a build tree, else where it is installed.
std::string Emulator() {
  std::error_code error;
  const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
  const std::filesystem::path here = error ? std::filesystem::path(".") : self.parent_path();
  for (const std::filesystem::path& candidate :
       {here / "brevant-emulate", here / BREVANT_EMULATOR_FROM_BIN}) {
    if (access(candidate.c_str(), X_OK) == 0) return candidate.lexically_normal().string();
  }
  throw ToolError("the emulator is not installed (looked for " +
                  (here / BREVANT_EMULATOR_FROM_BIN).lexically_normal().string() +
                  "); it is built where umockdev is");
}

}  // namespace

EmulateCommand::EmulateCommand(CLI::App& app) {
  command_ = app.add_subcommand(
      "emulate", "run a program with the virtual bench's parts plugged in as USB devices");
  command_->footer(
      "Tools that use libusb (flashrom, OpenOCD, libftdi programs) find the parts and their "
      "peripherals as on a real bench. --bench and --state choose the bench and keep its "
      "memories. The exit status is the program's. Without PROGRAM, prints the environment "
      "to export and serves until interrupted. See docs/emulate.md.");
  command_->add_option("program", program_, "the program to run, then its own arguments")
      ->type_name("PROGRAM ARGS...");
  // Everything from the program's name on is the program's, options included.
  command_->prefix_command();
}

void EmulateCommand::Run(const std::string& driver, const std::string& state,
                         const std::string& vcd) const {
  if (!driver.empty() && driver != "virtual" && !driver.starts_with(kVirtualFile)) {
    throw ToolError("emulate serves the virtual bench; --driver " + driver + " cannot be emulated",
                    ExitStatus::kUsage);
  }
  const std::string emulator = Emulator();
  std::vector<std::string> words{emulator};
  if (driver.starts_with(kVirtualFile)) {
    words.insert(words.end(), {"--bench", driver.substr(sizeof kVirtualFile - 1)});
  }
  if (!state.empty()) words.insert(words.end(), {"--state", state});
  if (!vcd.empty()) words.insert(words.end(), {"--vcd", vcd});
  words.push_back("--");
  words.insert(words.end(), program_.begin(), program_.end());
  for (const std::string& extra : command_->remaining()) words.push_back(extra);
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  execv(emulator.c_str(), argv.data());
  throw ToolError("cannot run " + emulator + ": " + std::strerror(errno));
}

}  // namespace brevant::tool
