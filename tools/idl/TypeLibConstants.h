// What the type library holds beyond the C ABI's tables: the identifiers that
// records need for automation (VT_RECORD) but that no client ever published.
// Fixed once; changing one breaks clients that stored it.
#pragma once

#include <array>
#include <string_view>

namespace brevant::idl {

struct RecordId {
  std::string_view name;
  std::string_view guid;
};

inline constexpr std::array<RecordId, 2> kRecordIds{{
    {"tDeviceInfo", "7C2BFBC4-FDC8-4FAA-9FF7-DB9860D62B57"},
    {"tModuleInfo", "51CFBCA6-6FB4-458C-8196-688BDC7D7BAF"},
}};

}  // namespace brevant::idl
