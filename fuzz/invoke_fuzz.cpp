// Arbitrary late-bound calls through the C ABI on a fresh bench: an object of
// any class, then dispatch ids (mostly real members, some raw), call kinds and
// argument vectors of any type, each freed as a client would.
//
// The bench is one two-channel high-speed part with nothing on its pins: every
// class finds a device it can open, and transfers of any length take the
// engines' byte paths. Building the whole default bench for each input cost
// more than most inputs' calls, and its SPI flash clocked long transfers bit by
// bit; the MPSSE engine target covers those pin-level paths.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "brevant/brevant.h"
#include "component/Objects.h"
#include "gateway/Driver.h"
#include "virtual/Bench.h"
#include "virtual/VirtualDriver.h"

namespace {

// Reads the input front to back; past its end every value is 0.
struct Input {
  const uint8_t* data;
  size_t size;
  uint8_t Byte() { return size ? (--size, *data++) : 0; }
  int32_t Word() {
    int32_t v = 0;
    for (int i = 0; i < 4; ++i) v = (v << 8) | Byte();
    return v;
  }
};

constexpr int32_t kNumberLimit = 1 << 17;

constexpr int32_t kTypes[] = {BREVANT_EMPTY,
                              BREVANT_I2,
                              BREVANT_I4,
                              BREVANT_R8,
                              BREVANT_STRING,
                              BREVANT_OBJECT,
                              BREVANT_BOOL,
                              BREVANT_UI1,
                              BREVANT_ARRAY | BREVANT_UI1,
                              BREVANT_ARRAY | BREVANT_I2};

void Fill(brevant_variant& v, Input& in, brevant_object self) {
  v.type = kTypes[in.Byte() % std::size(kTypes)];
  switch (v.type) {
    case BREVANT_I2:
      v.value.i2 = static_cast<int16_t>(in.Word());
      break;
    // Numbers stay under 2^17: a larger buffer is a client's right, not a defect,
    // and 2^17 is past every 16-bit limit. Each buffer costs its size in time.
    case BREVANT_I4:
      v.value.i4 = in.Word() % kNumberLimit;
      break;
    case BREVANT_R8:
      v.value.r8 = (in.Word() % kNumberLimit) / 16.0;
      break;
    case BREVANT_BOOL:
      v.value.boolean = in.Byte() & 1;
      break;
    case BREVANT_UI1:
      v.value.ui1 = in.Byte();
      break;
    case BREVANT_OBJECT:
      v.value.object = in.Byte() & 1 ? self : 0;
      break;
    case BREVANT_STRING: {
      v.type = BREVANT_EMPTY;
      const std::string text(in.Byte() % 8, static_cast<char>('A' + in.Byte() % 26));
      brevant_variant_set_string(&v, text.c_str());
      break;
    }
    case BREVANT_ARRAY | BREVANT_UI1:
    case BREVANT_ARRAY | BREVANT_I2: {
      const int32_t element = v.type & ~BREVANT_ARRAY;
      v.type = BREVANT_EMPTY;
      std::vector<int16_t> items(in.Byte() % 16, static_cast<int16_t>(in.Byte()));
      brevant_variant_set_array(&v, element, items.data(), static_cast<int32_t>(items.size()),
                                static_cast<int8_t>(in.Byte()));
      break;
    }
    default:
      break;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input in{data, size};
  auto bench = std::make_shared<brevant::virt::Bench>();
  bench->AddPart(brevant::virt::PartKind::kFT2232H, "FUZZ", 0x0100);
  brevant::SetDriver(std::make_shared<brevant::virt::VirtualDriver>(bench));
  const int32_t cls = in.Byte() % brevant_class_count();
  brevant_object object = 0;
  if (brevant_create(&brevant_class_at(cls)->class_id, &object) == 0) {
    const int32_t slots = brevant_class_at(cls)->slot_count;
    while (in.size) {
      const uint8_t pick = in.Byte();
      const brevant_member_info* member = brevant_slot_at(cls, pick % slots);
      int32_t dispid = member->dispid, kind = member->kind;
      if (pick & 0x80) {
        dispid = in.Word();
        kind = in.Byte();
      }
      brevant_variant args[4] = {}, result = {};
      const int32_t count = in.Byte() % 5;
      for (int32_t i = 0; i < count; ++i) Fill(args[i], in, object);
      brevant_invoke(object, dispid, kind, count, args, in.Byte() & 1 ? &result : nullptr);
      for (brevant_variant& v : args) brevant_variant_clear(&v);
      // An object in a result is a reference of the caller's own.
      if (result.type == BREVANT_OBJECT && result.value.object)
        brevant_release(result.value.object);
      brevant_variant_clear(&result);
    }
    brevant_release(object);
  }
  // With every reference released, no object may live on: the object table
  // keeps them reachable, so the leak checker would not see one.
  if (brevant::component::Objects::Count() != 0) __builtin_trap();
  brevant::SetDriver(nullptr);
  return 0;
}
