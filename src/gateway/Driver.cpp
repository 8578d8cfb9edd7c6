#include "gateway/Driver.h"

#include <cstdlib>
#include <mutex>

#include "brevant/Driver.h"
#include "factory/DriverFactory.h"

namespace brevant {

namespace {

std::mutex driver_mutex;
std::shared_ptr<Ftd2xx> current_driver;

// The factory's reason becomes the library's error for a driver choice.
std::shared_ptr<Ftd2xx> Make(std::string_view choice) {
  try {
    return MakeDriver(choice);
  } catch (const DriverUnavailable& e) {
    throw Error(kErrDriverChoice, kDriverSource, e.what());
  }
}

}  // namespace

std::shared_ptr<Ftd2xx> CurrentDriver() {
  std::lock_guard lock(driver_mutex);
  if (!current_driver) {
    const char* choice = std::getenv("BREVANT_DRIVER");
    current_driver = Make(choice ? choice : "");
  }
  return current_driver;
}

void SetDriver(std::shared_ptr<Ftd2xx> driver) {
  std::lock_guard lock(driver_mutex);
  current_driver = std::move(driver);
}

void UseDriver(std::string_view choice) {
  SetDriver(Make(choice));
}

}  // namespace brevant
