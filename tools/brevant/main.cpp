// brevant: the library from the command line, on any driver.
//
//   brevant list [--json]                     devices and modules
//   brevant gpio -d 2 GPIOL0=1 GPIOH3=1       pins by name (--bitbang: D0-D7)
//   brevant spi -d 0 jedec | read ADDR LEN -o FILE | write ADDR FILE
//   brevant jtag -d 1                         the TAPs of a JTAG chain
//   brevant fifo -d 0 --send FILE --receive FILE
//   brevant version
//   brevant select device | module -c 2         a person picks in a dialog
//   brevant --bench benches/default.json --trace gpio -d 2 --read
//   brevant list --driver libftdi             the chips on this machine, through libftdi
//
// A library error prints as the library shows it to a person ("ERROR !6102:
// Device not opened") and exits with 1, as does a failure of the tool's own;
// a usage error exits with 2.
#include <CLI/CLI.hpp>
#include <iostream>
#include <string>

#include "FifoCommand.h"
#include "GpioCommand.h"
#include "JtagCommand.h"
#include "ListCommand.h"
#include "SelectCommand.h"
#include "SpiCommand.h"
#include "ToolError.h"
#include "TraceLog.h"
#include "VersionCommand.h"
#include "brevant/Driver.h"
#include "brevant/Error.h"
#include "gateway/Formating.h"

namespace {

constexpr int kFailed = 1;
constexpr int kUsage = 2;

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{"Brevant: FTDI devices from the command line"};
  app.require_subcommand(1);
  std::string driver;
  std::string bench;
  bool tracing = false;
  auto* driverOption =
      app.add_option("--driver", driver,
                     "d2xx, libftdi, virtual, virtual:BENCH.json (default: $BREVANT_DRIVER, "
                     "else d2xx where it loads, else libftdi)");
  app.add_option("--bench", bench, "a virtual bench file: short for --driver virtual:FILE")
      ->excludes(driverOption);
  app.add_flag("--trace", tracing, "print every driver call's log line on stderr");
  bool asJson = false;
  CLI::App* list = app.add_subcommand("list", "list the devices and the modules they form");
  list->add_flag("--json", asJson, "print JSON instead of tables");
  const brevant::tool::GpioCommand gpio(app);
  const brevant::tool::SpiCommand spi(app);
  const brevant::tool::JtagCommand jtag(app);
  const brevant::tool::FifoCommand fifo(app);
  const brevant::tool::VersionCommand version(app);
  const brevant::tool::SelectCommand select(app);
  // `brevant list --driver libftdi` reads as naturally as the option first.
  for (CLI::App* command : app.get_subcommands({})) command->fallthrough();

  try {
    app.parse(argc, argv);
    if (!bench.empty()) driver = "virtual:" + bench;
    if (!driver.empty()) brevant::UseDriver(driver);
    const auto log = brevant::tool::TraceLog::When(tracing);
    if (list->parsed()) brevant::tool::ListDevices(std::cout, asJson, log);
    if (gpio.Chosen()) gpio.Run(log);
    if (spi.Chosen()) spi.Run(log);
    if (jtag.Chosen()) jtag.Run(log);
    if (fifo.Chosen()) fifo.Run(log);
    if (version.Chosen()) version.Run(driver);
    if (select.Chosen()) select.Run(log);
  } catch (const CLI::ParseError& e) {
    return app.exit(e) == 0 ? 0 : kUsage;
  } catch (const brevant::Error& e) {
    std::cerr << brevant::ErrorText(e.Number(), e.Description()) << '\n';
    return kFailed;
  } catch (const brevant::tool::ToolError& e) {
    std::cerr << "brevant: " << e.what() << '\n';
    return kFailed;
  }
  return 0;
}
