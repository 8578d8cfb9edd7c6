#include "gateway/Driver.h"

#include <cstdlib>
#include <mutex>

#include "brevant/Driver.h"

namespace brevant {

namespace {

std::mutex driver_mutex;
std::shared_ptr<Ftd2xx> current_driver;

}  // namespace

std::shared_ptr<Ftd2xx> CurrentDriver() {
  std::lock_guard lock(driver_mutex);
  if (!current_driver) {
    const char* choice = std::getenv("BREVANT_DRIVER");
    current_driver = MakeDriver(choice ? choice : "");
  }
  return current_driver;
}

void SetDriver(std::shared_ptr<Ftd2xx> driver) {
  std::lock_guard lock(driver_mutex);
  current_driver = std::move(driver);
}

void UseDriver(std::string_view choice) {
  SetDriver(MakeDriver(choice));
}

}  // namespace brevant
