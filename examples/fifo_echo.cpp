// Finds a two-channel part by its description, opens channel A as a 245 FIFO
// channel with a log sink that prints every driver call, sends a message and
// reads the answer, then shows what a failure looks like. On the built-in
// virtual bench the peer on the far side of the FIFO echoes what it is sent.
#include <cstdio>
#include <memory>
#include <string>

#include "brevant/Error.h"
#include "brevant/clsDeviceList.h"
#include "brevant/clsFTDI245FIFO.h"
#include "brevant/icLog.h"

namespace {

// The library calls LogEntry inside each of our calls, once per driver call,
// and once more at Level 1 when that call failed.
class PrintingLog : public brevant::icLog {
 public:
  void LogEntry(int32_t Level, const std::string& Entry) override {
    std::printf("  log %d | %s\n", Level, Entry.c_str());
  }
};

}  // namespace

int main() {
  try {
    brevant::clsDeviceList list;
    brevant::Array<int16_t> channels;
    if (list.FindModule(2, "Dual RS232-HS", channels) == 0) {
      std::printf("No Dual RS232-HS part found.\n");
      return 1;
    }
    std::printf("Channel A of the first Dual RS232-HS is device %d.\n", channels[0]);

    brevant::clsFTDI245FIFO fifo;
    fifo.Log(std::make_shared<PrintingLog>());  // before Initialize, to see the open too
    fifo.Initialize(channels[0]);

    const std::string message = "Hello, bench";
    brevant::ByteArray out(0, static_cast<int32_t>(message.size()));
    for (int32_t i = 0; i < out.Count(); ++i) out[i] = static_cast<uint8_t>(message[i]);
    fifo.DataWrite(out, out.Count());

    brevant::ByteArray in(0, out.Count());
    int32_t got = 0;
    fifo.DataRead(in, in.Count(), got);  // a short read is no error: `got` tells
    std::string answer;
    for (int32_t i = 0; i < got; ++i) answer += static_cast<char>(in[i]);
    std::printf("Sent \"%s\", read back %d bytes: \"%s\"\n", message.c_str(), got, answer.c_str());
    fifo.Terminate();

    // Every failure is a brevant::Error with a number, a source and a text.
    try {
      fifo.DataWrite(out, out.Count());
    } catch (const brevant::Error& e) {
      std::printf("After Terminate: Number %d, Source %s, \"%s\"\n", e.Number(), e.Source().c_str(),
                  e.Description().c_str());
    }
  } catch (const brevant::Error& e) {
    std::fprintf(stderr, "%s (%s)\n", e.what(), e.Source().c_str());
    return 1;
  }
  return 0;
}
