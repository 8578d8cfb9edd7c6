// brevant: the library from the command line, on any driver.
//
//   brevant list [--json]                     devices and modules
//   brevant gpio -d 2 GPIOL0=1 GPIOH3=1       pins by name (--bitbang: D0-D7)
//   brevant spi -d serial=BV22H001A jedec | read ADDR LEN FILE | write ADDR FILE
//   brevant jtag -d 1                         the TAPs of a JTAG chain
//   brevant fifo -d 0 --send FILE --receive FILE
//   brevant version                           (or --version)
//   brevant select device | module -c 2       a person picks in a dialog
//   brevant --bench benches/default.json --trace gpio -d 2 --read
//   brevant list --driver libftdi             the chips on this machine, through libftdi
//   brevant emulate -- flashrom -p ft2232_spi:type=2232H,port=A
//                                             the bench as USB devices for other tools
//   brevant --vcd t.vcd spi -d 0 jedec        every pin change of the bench, recorded
//   brevant wave t.vcd --png t.png            and drawn
//
// Exit status: 0 done; 1 a library error (printed as the library shows it to a
// person, "ERROR !6102: Device not opened"), or a failure of the tool's own; 2
// a usage error; 3 a verify mismatch or nothing answering. Whatever fails, the
// error is one message on stderr.
#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <new>
#include <string>
#include <vector>

#include "EepromCommand.h"
#include "EmulateCommand.h"
#include "FifoCommand.h"
#include "GpioCommand.h"
#include "I2cCommand.h"
#include "JtagCommand.h"
#include "ListCommand.h"
#include "SelectCommand.h"
#include "SpiCommand.h"
#include "ToolError.h"
#include "TraceLog.h"
#include "VersionCommand.h"
#include "WaveCommand.h"
#include "brevant/Driver.h"
#include "brevant/Error.h"

namespace {

using brevant::tool::ExitStatus;
using brevant::tool::ToolError;

int Code(ExitStatus status) {
  return static_cast<int>(status);
}

// The driver a run uses: --driver or --bench, else the environment's.
std::string DriverInUse(const std::string& chosen) {
  if (!chosen.empty()) return chosen;
  const char* environment = std::getenv("BREVANT_DRIVER");
  return environment == nullptr ? "" : environment;
}

// --state and --vcd only mean something to the virtual bench; the library reads
// them from the environment when it makes the driver, so they go there first.
// `what` says what the option does: "--state keeps the virtual bench's ...".
void SetForBench(const char* variable, const std::string& value, const std::string& what,
                 const std::string& chosen) {
  const std::string driver = DriverInUse(chosen);
  if (driver != "virtual" && !driver.starts_with("virtual:")) {
    throw ToolError(what + ", and this run's driver is " +
                        (driver.empty() ? std::string("the default (d2xx, else libftdi)") : driver),
                    ExitStatus::kUsage);
  }
  setenv(variable, value.c_str(), 1);
}

// Output that never reached stdout (a full disk, a closed pipe) is a failure
// like any other, not a silent loss.
void FinishStdout() {
  errno = 0;
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return;
  throw ToolError(std::string("cannot write stdout: ") +
                  (errno != 0 ? std::strerror(errno) : "an earlier write failed"));
}

int Run(int argc, char** argv) {
  CLI::App app{"Brevant: FTDI devices from the command line"};
  // Inherited by every command and theirs: an option of an outer command, the
  // global ones included, may follow an inner one (`spi jedec -d 0 --trace`).
  app.fallthrough();
  app.require_subcommand(1);
  std::string driver;
  std::string state;
  std::string vcd;
  bool tracing = false;
  auto* driverOption =
      app.add_option("--driver", driver,
                     "d2xx, libftdi, virtual, virtual:BENCH.json (default: $BREVANT_DRIVER, "
                     "else d2xx where it loads, else libftdi)");
  app.add_option_function<std::string>(
         "--bench", [&](const std::string& file) { driver = "virtual:" + file; },
         "a virtual bench file: short for --driver virtual:FILE")
      ->excludes(driverOption);
  app.add_option("--state", state,
                 "keep the virtual bench's flash memories in DIR across runs (virtual drivers)")
      ->type_name("DIR");
  app.add_option("--vcd", vcd,
                 "record every pin change of the virtual bench's channels in FILE, a Value "
                 "Change Dump (virtual drivers)")
      ->type_name("FILE");
  app.add_flag("--trace", tracing, "print every driver call's log line on stderr");
  bool asJson = false;
  CLI::App* list = app.add_subcommand("list", "list the devices and the modules they form");
  list->add_flag("--json", asJson, "print JSON instead of tables");
  const brevant::tool::GpioCommand gpio(app);
  const brevant::tool::SpiCommand spi(app);
  const brevant::tool::JtagCommand jtag(app);
  const brevant::tool::I2cCommand i2c(app);
  const brevant::tool::FifoCommand fifo(app);
  const brevant::tool::EepromCommand eeprom(app);
  const brevant::tool::VersionCommand version(app);
  const brevant::tool::SelectCommand select(app);
  const brevant::tool::EmulateCommand emulate(app);
  const brevant::tool::WaveCommand wave(app);
  // Added last, so that its callback sees --driver and --bench already set.
  app.set_version_flag(
      "--version", [&] { return version.Text(driver); },
      "show the library version and the driver, as `version` does");

  try {
    app.parse(argc, argv);
    // The emulator keeps the state itself, in its own process.
    if (emulate.Chosen()) emulate.Run(driver, state, vcd);
    if (wave.Chosen()) wave.Run();
    if (!state.empty()) SetForBench("BREVANT_BENCH_STATE", state,
                                  "--state keeps the virtual bench's flash memories", driver);
    if (!vcd.empty()) SetForBench("BREVANT_BENCH_VCD", vcd, "--vcd records the virtual bench's pins", driver);
    if (!driver.empty()) brevant::UseDriver(driver);
    const auto log = brevant::tool::TraceLog::When(tracing);
    if (list->parsed()) brevant::tool::ListDevices(std::cout, asJson, log);
    if (gpio.Chosen()) gpio.Run(log);
    if (spi.Chosen()) spi.Run(log);
    if (jtag.Chosen()) jtag.Run(log);
    if (i2c.Chosen()) i2c.Run(log);
    if (fifo.Chosen()) fifo.Run(log);
    if (eeprom.Chosen()) eeprom.Run(log, std::cin, std::cout);
    if (version.Chosen()) std::cout << version.Text(driver) << '\n';
    if (select.Chosen()) select.Run(log);
  } catch (const CLI::RequiredError& e) {
    // CLI11 checks what is missing before what is left over: `brevant
    // frobnicate` is told about the word it does not know, not that a command
    // is required.
    const std::vector<std::string> unknown = app.remaining(true);
    if (unknown.empty()) {
      app.exit(e);
    } else {
      app.exit(CLI::ExtrasError(unknown));
    }
    return Code(ExitStatus::kUsage);
  } catch (const CLI::ParseError& e) {
    // Help and --version end here too, with status 0.
    if (app.exit(e) != 0) return Code(ExitStatus::kUsage);
  } catch (const brevant::Error& e) {
    std::cerr << e.what() << '\n';
    return Code(ExitStatus::kFailed);
  } catch (const ToolError& e) {
    std::cerr << "brevant: " << e.what() << '\n';
    return Code(e.Status());
  }
  FinishStdout();
  return Code(ExitStatus::kDone);
}

}  // namespace

int main(int argc, char** argv) {
  // Whatever escapes a command still ends as one line and status 1, never as
  // an abort.
  try {
    return Run(argc, argv);
  } catch (const std::bad_alloc&) {
    std::cerr << "brevant: out of memory\n";
  } catch (const std::exception& e) {
    std::cerr << "brevant: " << e.what() << '\n';
  }
  return Code(ExitStatus::kFailed);
}
