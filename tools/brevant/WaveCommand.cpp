#include "WaveCommand.h"

#include <vector>

#include "HelperProgram.h"

namespace brevant::tool {

WaveCommand::WaveCommand(CLI::App& app) {
  command_ = app.add_subcommand("wave", "draw a recorded pin trace (VCD) as a PNG picture");
  command_->footer(
      "Signals are rows, time runs left to right with its axis below. Times take a unit: "
      "ns, us, ms or s (120us, 1.5ms). Record a trace with --vcd; see docs/virtual-bench.md.");
  command_->add_option("file", vcd_, "the Value Change Dump to draw")->required()->type_name("VCD");
  command_->add_option("--png", png_, "the picture to write")->required()->type_name("FILE");
  command_->add_option("--from", from_, "where the picture starts (default: the first change)")
      ->type_name("TIME");
  command_->add_option("--to", to_, "where it ends (default: the last change)")->type_name("TIME");
  command_->add_option("--signals", signals_,
                       "the signals to draw, in order, e.g. CS,SK,DO,DI (default: every "
                       "signal that changes in the picture)")
      ->type_name("LIST");
  command_->add_flag("--spi", spi_,
                     "write the bytes on DO and DI under them: CS low, SK rising, MSB first "
                     "(SPI modes 0 and 3)");
  command_->add_option("--width", width_, "the picture's width in pixels")
      ->check(CLI::Range(400, 20000));
}

void WaveCommand::Run() const {
  std::vector<std::string> words{HelperProgram("brevant-wave", "it is built where Qt 6 is"), vcd_,
                                 "--png", png_, "--width", std::to_string(width_)};
  if (!from_.empty()) words.insert(words.end(), {"--from", from_});
  if (!to_.empty()) words.insert(words.end(), {"--to", to_});
  if (!signals_.empty()) words.insert(words.end(), {"--signals", signals_});
  if (spi_) words.push_back("--spi");
  RunHelper(std::move(words));
}

}  // namespace brevant::tool
