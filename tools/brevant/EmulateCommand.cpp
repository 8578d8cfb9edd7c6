#include "EmulateCommand.h"

#include "HelperProgram.h"
#include "ToolError.h"

namespace brevant::tool {

namespace {

constexpr char kVirtualFile[] = "virtual:";

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
  std::vector<std::string> words{
      HelperProgram("brevant-emulate", "it is built where umockdev is")};
  if (driver.starts_with(kVirtualFile)) {
    words.insert(words.end(), {"--bench", driver.substr(sizeof kVirtualFile - 1)});
  }
  if (!state.empty()) words.insert(words.end(), {"--state", state});
  if (!vcd.empty()) words.insert(words.end(), {"--vcd", vcd});
  words.push_back("--");
  words.insert(words.end(), program_.begin(), program_.end());
  for (const std::string& extra : command_->remaining()) words.push_back(extra);
  RunHelper(std::move(words));
}

}  // namespace brevant::tool
