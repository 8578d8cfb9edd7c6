#include "I2cCommand.h"

#include <cstdio>
#include <vector>

#include "Number.h"
#include "ToolError.h"
#include "brevant/I2cBus.h"
#include "brevant/clsFTDIMPSSE.h"

namespace brevant::tool {

namespace {

uint8_t Byte(const std::string& text, const std::string& what, uint32_t high = 0xFF) {
  const uint32_t value = ParseNumber(text, what);
  if (value > high) {
    throw ToolError(what + " " + text + " is above " + std::to_string(high), ExitStatus::kUsage);
  }
  return static_cast<uint8_t>(value);
}

uint8_t Address(const std::string& text) {
  return Byte(text, "address", 0x7F);
}

// The grid i2cdetect prints: rows of 16 addresses, "--" where none answers,
// blank where none was asked.
void PrintGrid(const ByteArray& found) {
  std::vector<bool> answers(0x80, false);
  for (const uint8_t address : found.Elements()) answers[address] = true;
  std::printf("     0  1  2  3  4  5  6  7  8  9  a  b  c  d  e  f\n");
  for (int row = 0; row < 0x80; row += 16) {
    std::printf("%02x:", row);
    for (int address = row; address < row + 16; ++address) {
      if (address < 0x08 || address > 0x77) {
        std::printf("   ");
      } else if (answers[static_cast<size_t>(address)]) {
        std::printf(" %02x", address);
      } else {
        std::printf(" --");
      }
    }
    std::printf("\n");
  }
}

void PrintBytes(const ByteArray& bytes) {
  const auto all = bytes.Elements();
  for (size_t i = 0; i < all.size(); ++i) {
    std::printf(i % 16 == 15 || i + 1 == all.size() ? "%02X\n" : "%02X ", all[i]);
  }
}

}  // namespace

I2cCommand::I2cCommand(CLI::App& app)
    : command_(app.add_subcommand("i2c", "an I2C bus on an MPSSE channel")), device_(*command_) {
  command_
      ->add_option("-f,--frequency", frequency_,
                   "SCL in Hz, at most, up to 1 MHz (default 100e3; 400e3 and 1e6 are the fast "
                   "modes)")
      ->check(Frequency());
  command_->require_subcommand(1);
  scan_ = command_->add_subcommand("scan", "list the addresses that answer, as a grid");
  read_ = command_->add_subcommand(
      "read", "read COUNT bytes; BYTEs given (a register, a memory address) are written first");
  read_->add_option("words", words_, "ADDRESS [BYTE...] COUNT (decimal or 0x...)")
      ->required()
      ->expected(2, -1);
  write_ = command_->add_subcommand("write", "write bytes (a register's pointer first)");
  write_->add_option("words", words_, "ADDRESS BYTE... (decimal or 0x...)")
      ->required()
      ->expected(1, -1);
}

void I2cCommand::Run(const std::shared_ptr<icLog>& log) const {
  // Every argument first: a mistake there touches no device.
  uint8_t address = 0;
  std::vector<uint8_t> bytes;
  int32_t count = 0;
  if (!scan_->parsed()) address = Address(words_[0]);
  if (read_->parsed()) {
    for (size_t i = 1; i + 1 < words_.size(); ++i) bytes.push_back(Byte(words_[i], "byte"));
    count = static_cast<int32_t>(ParseNumber(words_.back(), "count"));
    if (count < 1 || count > 65536) {
      throw ToolError("count " + words_.back() + " is not from 1 to 65536", ExitStatus::kUsage);
    }
  }
  if (write_->parsed()) {
    for (size_t i = 1; i < words_.size(); ++i) bytes.push_back(Byte(words_[i], "byte"));
  }
  if (frequency_ > 1e6)
    throw ToolError("--frequency: I2C runs at 1 MHz at most", ExitStatus::kUsage);

  clsFTDIMPSSE mpsse;
  mpsse.Log(log);
  mpsse.Initialize(device_.Resolve(log));
  I2cBus bus(mpsse, frequency_);
  if (scan_->parsed()) PrintGrid(bus.Scan());
  if (read_->parsed()) PrintBytes(bus.WriteRead(address, ByteArray(std::move(bytes)), count));
  if (write_->parsed()) bus.Write(address, ByteArray(std::move(bytes)));
  mpsse.Terminate();
}

}  // namespace brevant::tool
