// Benches read from JSON: the parts and odd devices of a machine in the driver's
// list order, and the faults planned for it. docs/bench-files.md has the format.
//
//   auto bench = virt::LoadBenchFile("benches/default.json");
//   brevant::SetDriver(std::make_shared<virt::VirtualDriver>(bench));
//
// A bad file is refused whole with a BenchFileError whose text names the file,
// the place in it and the problem:
//   lab.json: devices[2].location: expected a number or a "0x..." text
#pragma once

#include <memory>
#include <stdexcept>
#include <string>

#include "virtual/Bench.h"

namespace brevant::virt {

class BenchFileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

std::shared_ptr<Bench> LoadBenchFile(const std::string& path);
// The same from text already in memory; `name` stands for the file in errors.
std::shared_ptr<Bench> LoadBenchText(const std::string& text, const std::string& name);

}  // namespace brevant::virt
