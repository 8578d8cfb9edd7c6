// Fixture base: every test gets a fresh bench of its own, put in place as the
// process's driver before the objects under test are created.
#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "gateway/Driver.h"
#include "virtual/Bench.h"
#include "virtual/VirtualDriver.h"

namespace brevant::testing {

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
  std::shared_ptr<virt::VirtualDriver> driver;
};

}  // namespace brevant::testing
