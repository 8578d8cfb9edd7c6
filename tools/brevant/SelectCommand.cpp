#include "SelectCommand.h"

#include <cstdio>

#include "brevant/clsDeviceList.h"

namespace brevant::tool {

SelectCommand::SelectCommand(CLI::App& app)
    : command_(
          app.add_subcommand("select", "pick a device or module in a dialog; print its numbers")) {
  command_->add_option("what", what_, "device or module")
      ->required()
      ->check(CLI::IsMember({"device", "module"}));
  command_->add_option("-c,--channels", channels_, "channels of the module (default 2)");
  command_->add_option("--prompt", prompt_, "the dialog's bold first line");
  command_->add_option("--instruction", instruction_, "the dialog's second line");
}

void SelectCommand::Run(const std::shared_ptr<icLog>& log) const {
  clsDeviceList list;
  list.Log(log);
  if (what_ == "device") {
    const std::string prompt = prompt_.empty() ? "Choose a device" : prompt_;
    std::printf("%d\n", list.DialogSelectDevice(prompt, instruction_));
    return;
  }
  const std::string prompt = prompt_.empty() ? "Choose a module" : prompt_;
  const Array<int16_t> devices = list.DialogSelectModule(channels_, prompt, instruction_);
  // One line, channel A first, as a script passes them on.
  for (int32_t i = 0; i < devices.Count(); ++i) std::printf(i ? " %d" : "%d", devices[i]);
  std::printf("\n");
}

}  // namespace brevant::tool
