// A virtual driver that shows what the library wrote and answers its reads from
// a script, for byte-exact tests of command streams on a bench whose engine for
// the mode may not answer at all.
//
// Every FT_Write and FT_Read is kept in `trace`, in order: a write as its bytes
// in hex ("80 00 0B"), a read as "read n". Writes then go on to the bench. Reads
// take up to n bytes from `answers`; what is missing makes a short read, and what
// is left over is the start of the next one, like a late answer in the driver's
// queue. The bench still judges the handle and its planned faults first.
#pragma once

#include <algorithm>
#include <deque>
#include <initializer_list>
#include <string>
#include <vector>

#include "gateway/Formating.h"
#include "virtual/VirtualDriver.h"

namespace brevant::testing {

class RecordingDriver : public virt::VirtualDriver {
 public:
  using VirtualDriver::VirtualDriver;

  void Answer(std::initializer_list<uint8_t> bytes) {
    answers.insert(answers.end(), bytes.begin(), bytes.end());
  }

  FtStatus FT_Write(FtHandle handle, const void* buffer, uint32_t count,
                    uint32_t* written) override {
    trace.push_back(FTBufferText({static_cast<const uint8_t*>(buffer), count}));
    return VirtualDriver::FT_Write(handle, buffer, count, written);
  }

  FtStatus FT_Read(FtHandle handle, void* buffer, uint32_t count, uint32_t* read) override {
    trace.push_back("read " + std::to_string(count));
    uint32_t none = 0;
    if (const FtStatus status = VirtualDriver::FT_Read(handle, buffer, 0, &none);
        status != ft::kOk) {
      return status;
    }
    *read = std::min<uint32_t>(count, static_cast<uint32_t>(answers.size()));
    std::copy_n(answers.begin(), *read, static_cast<uint8_t*>(buffer));
    answers.erase(answers.begin(), answers.begin() + *read);
    return ft::kOk;
  }

  std::vector<std::string> trace;
  std::deque<uint8_t> answers;
};

}  // namespace brevant::testing
