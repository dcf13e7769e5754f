#include <gtest/gtest.h>

#include "perf/battery_perf_info.h"
#include "perf/gpu_perf_info.h"
#include "perf/io_registry.h"
#include "perf/thermal_perf_info.h"
#include "test_support/log_capture.h"
#include "test_support/temp_folder.h"

namespace sondrel {
namespace {

class SysfsTree : public ::testing::Test {
 protected:
  void add(const std::string& path, const std::string& content) { folder.write("sys/class/" + path, content); }
  std::shared_ptr<IORegistry> registry() { return std::make_shared<IORegistry>(folder.path()); }
  testing::TempFolder folder;
  testing::LogCapture logs;
};

TEST_F(SysfsTree, EntriesCarryTheWantedAttributesTrimmed) {
  add("drm/card0/device/vendor", "0x10de\n");
  add("drm/card0/device/device", "0x2484\n");
  add("drm/card0-DP-1/status", "connected\n");
  const std::string_view keys[] = {"device/vendor", "device/device", "device/missing"};
  const auto entries = registry()->entries("drm", keys);
  ASSERT_TRUE(entries);
  ASSERT_EQ(entries->size(), 2U);
  EXPECT_EQ((*entries)[0].name, "card0");
  ASSERT_EQ((*entries)[0].properties.size(), 2U);
  EXPECT_EQ(*(*entries)[0].findString("device/vendor"), "0x10de");
  EXPECT_TRUE((*entries)[1].properties.empty());
  EXPECT_FALSE(registry()->entries("nothing", keys));

  const auto cards = registry()->entries("drm", keys, isDrmCardName);
  ASSERT_TRUE(cards);
  ASSERT_EQ(cards->size(), 1U);
  EXPECT_EQ((*cards)[0].name, "card0");
}

TEST_F(SysfsTree, GraphicsProvidersListsCardsNotConnectors) {
  add("drm/card0/device/vendor", "0x1002\n");
  add("drm/card0/device/device", "0x73bf\n");
  add("drm/card0/device/uevent", "DRIVER=amdgpu\nPCI_SLOT_NAME=0000:0b:00.0\n");
  add("drm/card0/device/gpu_busy_percent", "7\n");
  add("drm/card0-HDMI-A-1/status", "connected\n");
  GPUPerfInfoProvider provider(registry(), nullptr);
  const auto gpus = provider.tryGetGPU();
  ASSERT_TRUE(gpus);
  ASSERT_EQ(gpus->size(), 1U);
  EXPECT_EQ((*gpus)[0].utilization, 7U);
  EXPECT_EQ((*gpus)[0].modelName, "amdgpu [1002:73bf]");
}

TEST_F(SysfsTree, NoDrmClassMeansNoGraphicsFigures) {
  GPUPerfInfoProvider provider(registry(), nullptr);
  EXPECT_FALSE(provider.tryGetGPU());
}

TEST_F(SysfsTree, BatteriesAmongPowerSupplies) {
  add("power_supply/AC/type", "Mains\n");
  add("power_supply/AC/online", "1\n");
  add("power_supply/BAT0/type", "Battery\n");
  add("power_supply/BAT0/status", "Charging\n");
  add("power_supply/BAT0/capacity", "81\n");
  add("power_supply/BAT0/power_now", "15250000\n");
  add("power_supply/BAT0/serial_number", "SN42\n");
  BatteryPerfInfoProvider provider(registry());
  const auto batteries = provider.tryGetPerfInfo();
  ASSERT_TRUE(batteries);
  ASSERT_EQ(batteries->size(), 1U);
  EXPECT_EQ((*batteries)[0].serialNumber, "SN42");
  EXPECT_EQ((*batteries)[0].capacityRemaining, 81U);
  EXPECT_FLOAT_EQ((*batteries)[0].chargeRate, 15.25F);
}

TEST_F(SysfsTree, MainsOnlyMeansNoBatteryFigures) {
  add("power_supply/AC/type", "Mains\n");
  BatteryPerfInfoProvider provider(registry());
  EXPECT_FALSE(provider.tryGetPerfInfo());
}

TEST_F(SysfsTree, TemperatureFromHwmonGlobbedInputs) {
  add("thermal/cooling_device0/type", "Processor\n");
  add("hwmon/hwmon0/name", "acpitz\n");
  add("hwmon/hwmon0/temp1_input", "90000\n");
  add("hwmon/hwmon3/name", "coretemp\n");
  add("hwmon/hwmon3/temp1_input", "55000\n");
  add("hwmon/hwmon3/temp1_label", "Package id 0\n");
  add("hwmon/hwmon3/temp2_input", "58000\n");
  add("hwmon/hwmon3/temp2_label", "Core 0\n");
  add("hwmon/hwmon3/temp2_max", "100000\n");
  TemperatureSensor sensor(nullptr, folder.path());
  EXPECT_DOUBLE_EQ(*sensor.tryGetCPUTemperature(), 55.0);
}

TEST_F(SysfsTree, ProcessorZoneWinsOverHwmon) {
  add("thermal/thermal_zone0/type", "x86_pkg_temp\n");
  add("thermal/thermal_zone0/temp", "52000\n");
  add("hwmon/hwmon3/name", "coretemp\n");
  add("hwmon/hwmon3/temp1_input", "61000\n");
  TemperatureSensor sensor(nullptr, folder.path());
  EXPECT_DOUBLE_EQ(*sensor.tryGetCPUTemperature(), 52.0);
}

TEST_F(SysfsTree, NoSensorsMeansNoTemperature) {
  TemperatureSensor sensor(nullptr, folder.path());
  EXPECT_FALSE(sensor.tryGetCPUTemperature());
  EXPECT_TRUE(logs.containsPrefix("No thermal perf info"));
}

}  // namespace
}  // namespace sondrel
