#include "component/Binding.h"

namespace brevant::component {

ClassBinding MakeClass(brevant_class_info identity, std::vector<brevant_alias_info> aliases,
                       std::vector<MemberRow> rows, std::shared_ptr<void> (*create)()) {
  ClassBinding binding{identity, std::move(aliases), std::move(rows), create};
  for (MemberRow& row : binding.rows) {
    row.info.param_count = static_cast<int32_t>(row.params.size());
    row.info.params = row.params.data();
  }
  binding.info.slot_count = static_cast<int32_t>(binding.rows.size());
  binding.info.alias_count = static_cast<int32_t>(binding.aliases.size());
  binding.info.aliases = binding.aliases.data();
  binding.info.creatable = binding.create ? 1 : 0;
  return binding;
}

void CheckArguments(const MemberRow& row, int32_t argc, const brevant_variant* args) {
  int32_t required = 0;
  for (const brevant_param_info& param : row.params) required += param.optional ? 0 : 1;
  const auto total = static_cast<int32_t>(row.params.size());
  if (argc < required || argc > total) {
    Fail(BREVANT_E_BADPARAMCOUNT,
         std::string(row.info.name) + " takes " +
             (required == total ? std::to_string(total)
                                : std::to_string(required) + " to " + std::to_string(total)) +
             " arguments, not " + std::to_string(argc));
  }
  if (argc > 0 && !args)
    Fail(BREVANT_E_POINTER, std::string(row.info.name) + ": no arguments given");
}

MemberRow Optional(MemberRow row, int32_t count, int32_t value) {
  for (size_t i = row.params.size() - static_cast<size_t>(count); i < row.params.size(); ++i) {
    row.params[i].optional = 1;
    row.params[i].default_value = value;
  }
  return row;
}

}  // namespace brevant::component
