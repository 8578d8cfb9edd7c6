// The type information beyond the classes: the library's identity, the enums
// with the values of their C++ definitions, and the records with the fields
// that their conversion uses.
#include <array>
#include <vector>

#include "brevant/clsDeviceList.h"
#include "brevant/clsFTDI245FIFO.h"
#include "brevant/clsFTDIOpto.h"
#include "component/Classes.h"
#include "component/Guid.h"

namespace brevant::component {

namespace {

template <class E>
constexpr brevant_enum_member M(const char* name, E value) {
  return {name, static_cast<int32_t>(value)};
}

using Members = std::vector<brevant_enum_member>;

struct EnumRow {
  const char* name;
  Members members;
};

const std::vector<EnumRow>& EnumRows() {
  using Mp = errFTDIMPSSE;
  using Bb = errFTDISyncBitBang;
  static const std::vector<EnumRow> rows{
      {"errFTDIMPSSE",
       {M("_errFTDIMPSSE", Mp::_errFTDIMPSSE), M("errParameter", Mp::errParameter),
        M("errReadError", Mp::errReadError)}},
      {"eFTMPSSEBitOrder", {M("embMSBfirst", embMSBfirst), M("emdLSBfirst", emdLSBfirst)}},
      {"eFTMPSSEClockPolarity", {M("emcPosEdge", emcPosEdge), M("emcNegEdge", emcNegEdge)}},
      {"eFTDIMPSSE",
       {M("eftTCKSK", eftTCKSK), M("eftTDIDO", eftTDIDO), M("eftTDODI", eftTDODI),
        M("eftTMSCS", eftTMSCS)}},
      {"eFTDIGPIOL",
       {M("eftGPIOL0", eftGPIOL0), M("eftGPIOL1", eftGPIOL1), M("eftGPIOL2", eftGPIOL2),
        M("eftGPIOL3", eftGPIOL3)}},
      {"eFTDIGPIOH",
       {M("eftGPIOH0", eftGPIOH0), M("eftGPIOH1", eftGPIOH1), M("eftGPIOH2", eftGPIOH2),
        M("eftGPIOH3", eftGPIOH3)}},
      {"errFTDISyncBitBang",
       {M("_errFTDISyncBitBang", Bb::_errFTDISyncBitBang),
        M("errArgumentInvalid", Bb::errArgumentInvalid), M("errReadError", Bb::errReadError),
        M("errBufferNotInit", Bb::errBufferNotInit), M("errBufferEmpty", Bb::errBufferEmpty)}},
      {"eFTDIChannel",
       {M("eftD0", eftD0), M("eftD1", eftD1), M("eftD2", eftD2), M("eftD3", eftD3),
        M("eftD4", eftD4), M("eftD5", eftD5), M("eftD6", eftD6), M("eftD7", eftD7)}},
      {"eBit", {M("eb0", eb0), M("eb1", eb1)}},
      {"errFTDI245FIFO", {M("_errFTDI245FIFO", _errFTDI245FIFO)}},
      {"errFTDIOpto", {M("_errFTDIOpto", _errFTDIOpto)}},
      {"errDeviceList",
       {M("_errDeviceList", errDeviceList::_errDeviceList),
        M("errParameter", errDeviceList::errParameter),
        M("errDialogCancel", errDeviceList::errDialogCancel)}},
  };
  return rows;
}

const std::vector<brevant_enum_info>& Enums() {
  static const std::vector<brevant_enum_info> infos = [] {
    std::vector<brevant_enum_info> out;
    for (const EnumRow& row : EnumRows()) {
      out.push_back({row.name, static_cast<int32_t>(row.members.size()), row.members.data()});
    }
    return out;
  }();
  return infos;
}

template <class R>
std::vector<brevant_param_info> FieldsOf() {
  std::vector<brevant_param_info> out;
  std::apply(
      [&](auto... field) {
        (out.push_back(ParamOf<std::remove_cvref_t<decltype(R{}.*field.member)>>(field.name)), ...);
      },
      RecordFields<R>::Fields());
  return out;
}

const std::vector<brevant_record_info>& Records() {
  static const std::vector<brevant_param_info> device = FieldsOf<tDeviceInfo>();
  static const std::vector<brevant_param_info> module = FieldsOf<tModuleInfo>();
  static const std::vector<brevant_record_info> infos{
      {RecordFields<tDeviceInfo>::kName, static_cast<int32_t>(device.size()), device.data()},
      {RecordFields<tModuleInfo>::kName, static_cast<int32_t>(module.size()), module.data()}};
  return infos;
}

template <class T>
const T* At(const std::vector<T>& items, int32_t index) {
  return index >= 0 && index < static_cast<int32_t>(items.size()) ? &items[index] : nullptr;
}

}  // namespace

}  // namespace brevant::component

using namespace brevant::component;

extern "C" {

BREVANT_API const brevant_library_info* brevant_library(void) {
  static constexpr brevant_library_info library{
      .name = "Brevant",
      .id = Guid("AFA5ABAF-2CB6-4AB3-AC10-5ED462C3C0C2"),
      .major = 1,
      .minor = 3,
      .description = "Halvorn FTDI Device Library",
      .locale = 0x0409,
      .help_file = "Brevant.chm",
      .help_context = 0,
  };
  return &library;
}

BREVANT_API int32_t brevant_class_count(void) {
  return static_cast<int32_t>(AllClasses().size());
}

BREVANT_API const brevant_class_info* brevant_class_at(int32_t index) {
  if (index < 0 || index >= brevant_class_count()) return nullptr;
  return &AllClasses()[index]->info;
}

BREVANT_API const brevant_member_info* brevant_slot_at(int32_t class_index, int32_t slot) {
  if (!brevant_class_at(class_index)) return nullptr;
  const auto& rows = AllClasses()[class_index]->rows;
  return slot >= 0 && slot < static_cast<int32_t>(rows.size()) ? &rows[slot].info : nullptr;
}

BREVANT_API int32_t brevant_enum_count(void) {
  return static_cast<int32_t>(Enums().size());
}
BREVANT_API const brevant_enum_info* brevant_enum_at(int32_t index) {
  return At(Enums(), index);
}
BREVANT_API int32_t brevant_record_count(void) {
  return static_cast<int32_t>(Records().size());
}
BREVANT_API const brevant_record_info* brevant_record_at(int32_t index) {
  return At(Records(), index);
}
}
