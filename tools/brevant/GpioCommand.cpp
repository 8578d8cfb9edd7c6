#include "GpioCommand.h"

#include <algorithm>
#include <iostream>

#include "brevant/clsFTDIMPSSE.h"
#include "brevant/clsFTDIMPSSEPortIO.h"
#include "brevant/clsFTDISyncBitBang.h"

namespace brevant::tool {

namespace {

enum class Group { kGPIOL, kGPIOH, kData };

struct Pin {
  std::string name;
  Group group;
  uint8_t bit;
};

struct Setting {
  Pin pin;
  eBit level;
};

std::vector<Pin> PinsOf(bool bitbang) {
  std::vector<Pin> pins;
  const auto add = [&](const std::string& prefix, Group group, int count) {
    for (int i = 0; i < count; ++i)
      pins.push_back({prefix + std::to_string(i), group, static_cast<uint8_t>(1 << i)});
  };
  if (bitbang) {
    add("D", Group::kData, 8);
  } else {
    add("GPIOL", Group::kGPIOL, 4);
    add("GPIOH", Group::kGPIOH, 4);
  }
  return pins;
}

// NAME=0 or NAME=1, with a name of the pin set in use. Checked before the device
// is opened, so a typing error changes no pin.
std::vector<Setting> ParseSettings(const std::vector<std::string>& texts, bool bitbang) {
  const std::vector<Pin> pins = PinsOf(bitbang);
  std::vector<Setting> settings;
  for (const std::string& text : texts) {
    const size_t equals = text.find('=');
    const std::string name = text.substr(0, equals);
    const std::string level = equals == std::string::npos ? "" : text.substr(equals + 1);
    const auto pin =
        std::find_if(pins.begin(), pins.end(), [&](const Pin& p) { return p.name == name; });
    if (pin == pins.end()) {
      throw CLI::ValidationError("PIN=LEVEL", "unknown pin \"" + name + "\"; the pins are " +
                                                  (bitbang ? "D0-D7" : "GPIOL0-3 and GPIOH0-3"));
    }
    if (level != "0" && level != "1") {
      throw CLI::ValidationError("PIN=LEVEL", "\"" + text + "\" sets no level 0 or 1");
    }
    settings.push_back({*pin, level == "1" ? eb1 : eb0});
  }
  return settings;
}

void PrintLevels(const std::vector<Pin>& pins, uint8_t low, uint8_t high) {
  std::string line;
  for (const Pin& pin : pins) {
    const uint8_t port = pin.group == Group::kGPIOH ? high : low;
    line += (line.empty() ? "" : " ") + pin.name + "=" + ((port & pin.bit) ? "1" : "0");
  }
  std::cout << line << '\n';
}

void RunMpsse(int16_t device, const std::vector<Setting>& settings, bool read,
              const std::shared_ptr<icLog>& log) {
  clsFTDIMPSSE mpsse;
  mpsse.Log(log);
  mpsse.Initialize(device);
  const auto pins = mpsse.MPSSEPortIO();
  if (settings.empty()) {
    // Reading alone leaves every pin as it is.
    pins->GPIOLPortInput();
    pins->GPIOHPortInput();
  } else {
    for (const Setting& s : settings) {
      if (s.pin.group == Group::kGPIOL) {
        pins->GPIOLSignalDirection0(static_cast<eFTDIGPIOL>(s.pin.bit), eb1);
        pins->GPIOLSignalOutput0(static_cast<eFTDIGPIOL>(s.pin.bit), s.level);
      } else {
        pins->GPIOHSignalDirection0(static_cast<eFTDIGPIOH>(s.pin.bit), eb1);
        pins->GPIOHSignalOutput0(static_cast<eFTDIGPIOH>(s.pin.bit), s.level);
      }
    }
    // Both ports out and read back in one go; a channel that cannot do MPSSE
    // fails here rather than seeming to work.
    pins->Syncronize();
  }
  if (read) PrintLevels(PinsOf(false), pins->GPIOLPortInput0(), pins->GPIOHPortInput0());
  mpsse.Terminate();
}

void RunBitBang(int16_t device, const std::vector<Setting>& settings, bool read,
                const std::shared_ptr<icLog>& log) {
  clsFTDISyncBitBang port;
  port.Log(log);
  port.Initialize(device);
  for (const Setting& s : settings) {
    port.SignalDirection0(static_cast<eFTDIChannel>(s.pin.bit), eb1);
    port.SignalOutput0(static_cast<eFTDIChannel>(s.pin.bit), s.level);
  }
  port.SyncDirection();
  port.SyncValue();
  if (read) PrintLevels(PinsOf(true), port.PortInput0(), 0);
  port.Terminate();
}

}  // namespace

GpioCommand::GpioCommand(CLI::App& app)
    : command_(app.add_subcommand("gpio", "set and read pins by name")), device_(*command_) {
  command_->add_flag("--bitbang", bitbang_, "pins D0-D7 in synchronous bit-bang mode");
  command_->add_flag("--read", read_, "print every pin's level (after setting any)");
  command_->add_option("settings", settings_, "PIN=0 or PIN=1, e.g. GPIOL0=1 GPIOH3=0");
}

void GpioCommand::Run(const std::shared_ptr<icLog>& log) const {
  const std::vector<Setting> settings = ParseSettings(settings_, bitbang_);
  // With nothing to set, there is only reading left to do.
  const bool read = read_ || settings.empty();
  const int16_t device = device_.Resolve(log);
  if (bitbang_) {
    RunBitBang(device, settings, read, log);
  } else {
    RunMpsse(device, settings, read, log);
  }
}

}  // namespace brevant::tool
