// brevant: the library from the command line.
//
//   brevant list                  devices and modules on the machine
//   brevant list --json           the same for programs
//   brevant --driver virtual:lab.json list
//   brevant list --driver libftdi   the chips on this machine, through libftdi
//
// A failure prints one line on stderr and exits with 1.
#include <CLI/CLI.hpp>
#include <iostream>
#include <string>

#include "ListCommand.h"
#include "brevant/Driver.h"
#include "brevant/Error.h"

int main(int argc, char** argv) {
  CLI::App app{"Brevant: FTDI devices from the command line"};
  app.require_subcommand(1);
  std::string driver;
  app.add_option("--driver", driver,
                 "driver to use: d2xx, libftdi, virtual, virtual:BENCH.json (default: "
                 "$BREVANT_DRIVER, else d2xx where it loads, else libftdi)");
  bool asJson = false;
  CLI::App* list = app.add_subcommand("list", "list the devices and the modules they form");
  list->add_flag("--json", asJson, "print JSON instead of tables");
  // `brevant list --driver libftdi` reads as naturally as the option first.
  list->fallthrough();

  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp& e) {
    return app.exit(e);
  } catch (const CLI::ParseError& e) {
    std::cerr << "brevant: " << e.what() << '\n';
    return 1;
  }
  try {
    if (!driver.empty()) brevant::UseDriver(driver);
    if (list->parsed()) brevant::tool::ListDevices(std::cout, asJson);
  } catch (const brevant::Error& e) {
    std::cerr << "brevant: " << e.Description() << '\n';
    return 1;
  }
  return 0;
}
