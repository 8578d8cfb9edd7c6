#include "virtual/StateFile.h"

#include <filesystem>
#include <fstream>
#include <system_error>

namespace brevant::virt {

bool ReplaceFile(const std::string& path, const std::function<void(std::ostream&)>& fill) {
  const std::string temporary = path + ".new";
  std::error_code error;
  {
    std::ofstream file(temporary, std::ios::binary | std::ios::trunc);
    if (file) fill(file);
    file.close();
    if (!file) {
      std::filesystem::remove(temporary, error);
      return false;
    }
  }
  std::filesystem::rename(temporary, path, error);
  if (error) {
    std::filesystem::remove(temporary, error);
    return false;
  }
  return true;
}

}  // namespace brevant::virt
