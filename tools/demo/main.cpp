// make demo: a first look at Brevant on the built-in virtual bench, no hardware.
//
// It lists the bench's devices, opens a 245 FIFO channel with a log sink that
// prints every driver call, sends a message through the bench's echo peer and
// reads it back, then shows what a failure looks like.
#include <cstdio>
#include <memory>
#include <string>

#include "brevant/ByteArray.h"
#include "brevant/Driver.h"
#include "brevant/Error.h"
#include "brevant/clsDeviceList.h"
#include "brevant/clsFTDI245FIFO.h"
#include "brevant/icLog.h"
#include "gateway/Formating.h"

namespace {

class TerminalLog : public brevant::icLog {
 public:
  void LogEntry(int32_t Level, const std::string& Entry) override {
    std::printf("    log %d | %s\n", Level, Entry.c_str());
  }
};

void ListDevices() {
  std::printf("1. The devices on the bench, usable ones by location:\n\n");
  brevant::clsDeviceList list;
  int32_t count = 0;
  brevant::Array<brevant::tDeviceInfo> devices;
  list.ScanDevices(count, devices);
  std::printf("    %-6s %-12s %-20s %s\n", "device", "serial", "description", "location");
  for (int32_t i = 0; i < count; ++i) {
    const brevant::tDeviceInfo& d = devices[i];
    std::printf("    %-6d %-12s %-20s 0x%s\n", d.Device, d.SerialNumber.c_str(),
                d.Description.c_str(), brevant::HexText(d.LocationID, 8).c_str());
  }
}

void EchoMessage() {
  std::printf("\n2. Device 0 as a 245 FIFO channel. Each driver call reaches the log sink:\n\n");
  brevant::clsFTDI245FIFO fifo;
  fifo.Log(std::make_shared<TerminalLog>());
  fifo.Initialize(0);

  const std::string message = "Hello, bench";
  brevant::ByteArray out(0, static_cast<int32_t>(message.size()));
  for (int32_t i = 0; i < out.Count(); ++i) out[i] = static_cast<uint8_t>(message[i]);
  std::printf("\n    writing \"%s\"\n", message.c_str());
  fifo.DataWrite(out, out.Count());

  brevant::ByteArray in(0, out.Count());
  int32_t got = 0;
  fifo.DataRead(in, in.Count(), got);
  std::string echoed;
  for (int32_t i = 0; i < got; ++i) echoed += static_cast<char>(in[i]);
  std::printf("    read back %d bytes: \"%s\"\n\n", got, echoed.c_str());
  fifo.Terminate();

  std::printf("\n3. A call after Terminate fails with a numbered error:\n\n");
  try {
    fifo.DataWrite(out, out.Count());
  } catch (const brevant::Error& e) {
    std::printf("    Number %d, Source \"%s\", Description \"%s\"\n", e.Number(),
                e.Source().c_str(), e.Description().c_str());
    std::printf("    shown to a person as: %s\n", e.what());
  }
}

}  // namespace

int main() {
  try {
    brevant::UseDriver("virtual");
    ListDevices();
    EchoMessage();
  } catch (const brevant::Error& e) {
    std::fprintf(stderr, "%s (source %s)\n", e.what(), e.Source().c_str());
    return 1;
  }
  std::printf("\nDone. make test runs every test; docs/ tells the rest.\n");
  return 0;
}
