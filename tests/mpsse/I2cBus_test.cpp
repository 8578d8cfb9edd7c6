// I2cBus on bench I2C buses of the three kinds of MPSSE part: the open-drain
// way (drive-zero on the FT232H, switched directions elsewhere), three-phase
// clocking or not. What goes over the wire is read back by a probe on the pins
// and decoded here from SCL and SDA alone, not from the library's own tables.
#include "brevant/I2cBus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "support/BenchTest.h"
#include "support/Raised.h"
#include "virtual/mpsse/I2cEeprom.h"
#include "virtual/mpsse/MpsseBench.h"
#include "virtual/mpsse/TemperatureSensor.h"

namespace brevant::testing {
namespace {

// Every level of SCL (ADBUS0) and SDA (as ADBUS2 reads it), with its time.
class Probe : public virt::PinDevice {
 public:
  void Sense(uint16_t levels, int64_t nowUs) override {
    const uint16_t lines = levels & 0x05;
    if (samples.empty() || samples.back().lines != lines) samples.push_back({lines, nowUs});
  }
  uint16_t DrivenPins() const override { return 0; }
  uint16_t DrivenLevels() const override { return 0; }

  // "S" for a start, "P" for a stop, each byte in hex with "A" or "N" for its
  // ninth bit: SDA falling or rising while SCL is high, bits taken on SCL rising.
  std::string Decoded() const {
    std::string text;
    bool scl = true, sda = true;
    int bits = 0;
    unsigned byte = 0;
    for (const auto& [lines, at] : samples) {
      const bool c = lines & 0x01, d = lines & 0x04;
      if (c && scl && d != sda) {
        text += d ? "P " : "S ";
        bits = 0;
        byte = 0;
      } else if (c && !scl) {
        if (bits++ < 8) {
          byte = byte << 1 | d;
        } else {
          char hex[8];
          std::snprintf(hex, sizeof hex, "%02X %c ", byte, d ? 'N' : 'A');
          text += hex;
          bits = 0;
          byte = 0;
        }
      }
      scl = c;
      sda = d;
    }
    return text.empty() ? text : text.substr(0, text.size() - 1);
  }

  // When SCL rose.
  std::vector<int64_t> Rises() const {
    std::vector<int64_t> rises;
    bool scl = true;
    for (const auto& [lines, at] : samples) {
      if ((lines & 1) && !scl) rises.push_back(at);
      scl = lines & 1;
    }
    return rises;
  }

  struct Sample {
    uint16_t lines;
    int64_t at;
  };
  std::vector<Sample> samples;
};

// Counts the driver's writes and reads: a USB round trip is one of each.
class CountingDriver : public virt::VirtualDriver {
 public:
  using VirtualDriver::VirtualDriver;
  FtStatus FT_Write(FtHandle handle, const void* buffer, uint32_t count,
                    uint32_t* written) override {
    ++writes;
    return VirtualDriver::FT_Write(handle, buffer, count, written);
  }
  FtStatus FT_Read(FtHandle handle, void* buffer, uint32_t count, uint32_t* read) override {
    ++reads;
    return VirtualDriver::FT_Read(handle, buffer, count, read);
  }
  int writes = 0, reads = 0;
};

struct Part {
  const char* name;
  virt::PartKind kind;
};

const Part kParts[] = {{"FT4232H", virt::PartKind::kFT4232H},
                       {"FT232H", virt::PartKind::kFT232H},
                       {"FT2232D", virt::PartKind::kFT2232D}};

// Channel A of one part with an EEPROM (24C32) at 0x50 and a sensor at 0x48.
class I2cBusTest : public ::testing::TestWithParam<Part> {
 protected:
  void SetUp() override {
    bench->AddPart(GetParam().kind, "I2C", 0x0100);
    virt::I2cPins& pins = virt::I2cOn(bench->Device(0));
    pins.Add(eeprom);
    pins.Add(sensor);
    virt::MpsseOf(bench->Device(0)).Attach(probe);
    driver = std::make_shared<CountingDriver>(bench);
    SetDriver(driver);
    // The channel takes the process's driver when it is made.
    channel = std::make_unique<clsFTDIMPSSE>();
    channel->Initialize(0);
  }
  void TearDown() override { SetDriver(nullptr); }

  // What the wire carried from now on.
  void Watch() { probe->samples.clear(); }

  std::shared_ptr<virt::Bench> bench = std::make_shared<virt::Bench>();
  std::shared_ptr<virt::I2cEeprom> eeprom = std::make_shared<virt::I2cEeprom>(0x50, 4096, 32);
  std::shared_ptr<virt::TemperatureSensor> sensor =
      std::make_shared<virt::TemperatureSensor>(0x48, 23.5);
  std::shared_ptr<Probe> probe = std::make_shared<Probe>();
  std::shared_ptr<CountingDriver> driver;
  std::unique_ptr<clsFTDIMPSSE> channel;
  clsFTDIMPSSE& mpsse() { return *channel; }
};

TEST_P(I2cBusTest, TransactionsOnTheWire) {
  I2cBus bus(mpsse(), 400e3);
  struct Case {
    const char* name;
    std::function<void()> run;
    const char* wire;
  };
  const Case cases[] = {
      {"register read", [&] { bus.ReadRegister(0x48, 0x00, 2); }, "S 90 A 00 A S 91 A 17 A 80 N P"},
      {"register write",
       [&] {
         bus.WriteRegister(0x48, 0x03, ByteArray{0x12, 0x34});
       },
       "S 90 A 03 A 12 A 34 A P"},
      {"read", [&] { bus.Read(0x48, 3); }, "S 91 A 12 A 34 A 12 N P"},
      {"quick write", [&] { bus.Write(0x50, ByteArray()); }, "S A0 A P"},
      {"nobody there", [&] { Raised([&] { bus.Read(0x21, 1); }); }, "S 43 N FF N P"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Watch();
    driver->writes = driver->reads = 0;
    c.run();
    EXPECT_EQ(probe->Decoded(), c.wire);
    // Each transaction is one USB round trip.
    EXPECT_EQ(driver->writes, 1);
    EXPECT_EQ(driver->reads, 1);
  }
}

TEST_P(I2cBusTest, ScanFindsExactlyTheWiredAddresses) {
  // The ends of the range, and an address probed by reading among those that
  // are probed by writing.
  virt::I2cPins& pins = virt::I2cOn(bench->Device(0));
  for (uint8_t address : {0x08, 0x37, 0x38, 0x77}) {
    pins.Add(std::make_shared<virt::TemperatureSensor>(address, 0.0));
  }
  I2cBus bus(mpsse());
  EXPECT_EQ(bus.Scan(), (ByteArray{0x08, 0x37, 0x38, 0x48, 0x50, 0x77}));
  EXPECT_TRUE(bus.Probe(0x50));
  EXPECT_FALSE(bus.Probe(0x51));
}

TEST_P(I2cBusTest, EepromPagesWrapAndTheWriteCycleRefusesItsAddress) {
  I2cBus bus(mpsse(), 1e6);
  // 40 bytes from 0x0010 into a 32-byte page: 0x10-0x1F, then 0x00-0x0F, then
  // 0x10-0x17 again.
  ByteArray data(0, 42);
  data[0] = 0x00;
  data[1] = 0x10;
  for (int i = 0; i < 40; ++i) data[i + 2] = static_cast<uint8_t>(0x80 + i);
  bus.Write(0x50, data);

  const Error busy = Raised([&] { bus.ReadRegister(0x50, 0, 1); });
  EXPECT_EQ(busy.Number(), kErrI2cNoAnswer);
  EXPECT_EQ(busy.Description(), "No answer from I2C address 0x50");
  EXPECT_EQ(busy.Source(), "I2cBus");

  bench->Clock().Advance(5000);
  const ByteArray page = bus.WriteRead(0x50, ByteArray{0x00, 0x00}, 34);
  for (int at = 0; at < 34; ++at) {
    SCOPED_TRACE(at);
    const int last = at < 0x10 ? 16 + at : (at < 0x18 ? 32 + at - 0x10 : at - 0x10);
    const uint8_t expected = at < 32 ? static_cast<uint8_t>(0x80 + last) : 0xFF;
    EXPECT_EQ(page[at], expected);
  }
}

TEST_P(I2cBusTest, RefusalsNameTheAddressOrTheByte) {
  I2cBus bus(mpsse());
  struct Case {
    const char* name;
    std::function<void()> run;
    int32_t number;
    const char* text;
  };
  const Case cases[] = {
      {"no target", [&] { bus.ReadRegister(0x49, 0, 2); }, kErrI2cNoAnswer,
       "No answer from I2C address 0x49"},
      {"bad pointer", [&] { bus.WriteRegister(0x48, 0x07, ByteArray()); }, kErrI2cRefused,
       "I2C address 0x48 refused byte 1 of 1 (0x07)"},
      {"read-only register",
       [&] {
         bus.WriteRegister(0x48, 0x00, ByteArray{0x01, 0x02});
       },
       kErrI2cRefused, "I2C address 0x48 refused byte 2 of 3 (0x01)"},
      {"address past 7 bits", [&] { bus.Read(0x80, 1); }, kErrI2cParameter, "Invalid I2C address"},
      {"nothing to read", [&] { bus.Read(0x48, 0); }, kErrI2cParameter, "Invalid data length"},
      {"too fast", [&] { I2cBus(mpsse(), 1.1e6); }, kErrI2cParameter, "Invalid frequency"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const Error e = Raised(c.run);
    EXPECT_EQ(e.Number(), c.number);
    EXPECT_EQ(e.Description(), c.text);
  }
  // The sensor's registers are as they were.
  EXPECT_EQ(bus.ReadRegister(0x48, 0x00, 2), (ByteArray{0x17, 0x80}));
}

TEST_P(I2cBusTest, ABusLeftInTheMiddleOfAByteIsFreed) {
  I2cBus bus(mpsse());
  eeprom->Memory()[0] = 0x00;
  bus.Write(0x50, ByteArray{0x00, 0x00});
  // A read stopped after three bits of its first byte: the EEPROM holds SDA low
  // for the fourth.
  mpsse().SetPortLow(0x01, 0x03);
  mpsse().SetPortLow(0x00, 0x03);  // start
  ByteArray address{0xA1};
  mpsse().DataBytesOut(address, 1, embMSBfirst, emcNegEdge);
  mpsse().SetPortLow(0x00, 0x01);
  ByteArray bits(0, 3);
  mpsse().DataBytesIn(bits, 1, embMSBfirst, emcPosEdge);  // acknowledge and 7 bits
  Watch();
  EXPECT_EQ(bus.ReadRegister(0x48, 0x00, 2), (ByteArray{0x17, 0x80}));
  EXPECT_THAT(probe->Decoded(), ::testing::EndsWith("P S 90 A 00 A S 91 A 17 A 80 N P"));
}

TEST_P(I2cBusTest, ABusHeldLowIsReported) {
  I2cBus bus(mpsse());
  bench->Device(0).Board().Drive(2, false);
  const Error e = Raised([&] { bus.Read(0x48, 1); });
  EXPECT_EQ(e.Number(), kErrI2cBusStuck);
  EXPECT_EQ(e.Description(), "I2C bus stuck: SDA held low");
}

TEST_P(I2cBusTest, TheClockRunsAtTheAskedRate) {
  for (const double hz : {100e3, 400e3, 1e6}) {
    SCOPED_TRACE(hz);
    I2cBus bus(mpsse(), hz);
    EXPECT_DOUBLE_EQ(bus.Frequency(), hz);
    Watch();
    // Small enough for one round trip even through the FT2232D's buffer.
    bus.Read(0x50, 20);
    // Nine clocks a byte, back to back, between the rises of the start and the
    // stop.
    const std::vector<int64_t> rises = probe->Rises();
    ASSERT_EQ(rises.size(), 2u + 9 * 21);
    EXPECT_NEAR(static_cast<double>(rises[rises.size() - 2] - rises[1]), (9 * 21 - 1) * 1e6 / hz,
                1.0);
  }
}

INSTANTIATE_TEST_SUITE_P(Parts, I2cBusTest, ::testing::ValuesIn(kParts),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace brevant::testing
