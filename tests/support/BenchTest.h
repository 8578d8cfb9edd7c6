// Fixture base: every test gets a fresh bench of its own, put in place as the
// process's driver before the objects under test are created. Every backend
// keeps the same driver contract (tests/conformance), so the scenarios run on
// the virtual driver alone.
#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <memory>

#include "d2xx/D2xxDriver.h"
#include "gateway/Driver.h"
#include "virtual/Bench.h"
#include "virtual/VirtualDriver.h"

namespace brevant::testing {

// The d2xx backend on the virtual D2XX library, serving `bench`.
inline std::shared_ptr<Ftd2xx> D2xxOver(std::shared_ptr<virt::Bench> bench) {
  auto driver = std::make_shared<D2xxDriver>(BREVANT_VIRTUAL_D2XX);
  void* library = dlopen(BREVANT_VIRTUAL_D2XX, RTLD_NOW | RTLD_NOLOAD);
  using UseBench = void (*)(void*);
  reinterpret_cast<UseBench>(dlsym(library, "BrevantVirtualD2xxUseBench"))(&bench);
  dlclose(library);
  return driver;
}

class BenchTest : public ::testing::Test {
 protected:
  // The default bench unless a test fills `bench` differently in its constructor.
  BenchTest() : bench(virt::MakeDefaultBench()) {}

  void SetUp() override {
    driver = std::make_shared<virt::VirtualDriver>(bench);
    SetDriver(driver);
  }
  void TearDown() override { SetDriver(nullptr); }

  std::shared_ptr<virt::Bench> bench;
  std::shared_ptr<Ftd2xx> driver;
};

}  // namespace brevant::testing
