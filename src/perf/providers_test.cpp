#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "perf/battery_perf_info.h"
#include "perf/disk_perf_info.h"
#include "perf/gpu_perf_info.h"
#include "perf/system_profiler.h"
#include "perf/thermal_perf_info.h"
#include "test_support/log_capture.h"

namespace sondrel {
namespace {

PlistValue text(const char* value) { return PlistValue{std::string(value)}; }
PlistValue number(int64_t value) { return PlistValue{value}; }
PlistValue data(std::initializer_list<uint8_t> bytes) { return PlistValue{PlistData(bytes)}; }

TEST(GpuFromAccelerator, ReadsPciIdsModelMemoryAndLoad) {
  RegistryEntry entry{"AMDRadeonX4000_AMDBaffinGraphicsAccelerator",
                      {{"PerformanceStatistics", PlistValue{PlistDictionary{{"Device Utilization %", number(37)}}}},
                       {"vendor-id", data({0x02, 0x10, 0x00, 0x00})},
                       {"device-id", data({0xef, 0x67, 0x00, 0x00})},
                       {"model", data({'R', 'a', 'd', 'e', 'o', 'n', 0})},
                       {"VRAM,totalMB", number(4096)}}};
  const auto gpu = gpuFromAccelerator(entry, {});
  EXPECT_EQ(gpu.modelName, "Radeon");
  EXPECT_EQ(gpu.vendorId, 0x1002U);
  EXPECT_EQ(gpu.deviceId, 0x67efU);
  EXPECT_EQ(gpu.totalMemory, uint64_t{4096} << 20);
  EXPECT_EQ(gpu.utilization, 37U);
  EXPECT_FALSE(gpu.integrated);
}

TEST(GpuFromAccelerator, ProfilerFillsTheNameOfTheSameDevice) {
  RegistryEntry entry{"IntelAccelerator", {{"vendor-id", data({0x86, 0x80})}, {"device-id", data({0xa5, 0x3e})}}};
  const std::vector<DisplayAdapter> adapters{{"Other", 0x1234, 0}, {"Intel Iris Plus Graphics 655", 0x3ea5, 0}};
  const auto gpu = gpuFromAccelerator(entry, adapters);
  EXPECT_EQ(gpu.modelName, "Intel Iris Plus Graphics 655");
  EXPECT_TRUE(gpu.integrated);
  EXPECT_EQ(gpu.utilization, 0U);
}

TEST(GpuFromDrmCard, CardsOnlyWithIdsLoadAndMemory) {
  RegistryEntry card{"card0",
                     {{"device/vendor", text("0x1002")},
                      {"device/device", text("0x73bf")},
                      {"device/uevent", text("DRIVER=amdgpu\nPCI_CLASS=30000\nPCI_SLOT_NAME=0000:03:00.0")},
                      {"device/gpu_busy_percent", text("42")},
                      {"device/mem_info_vram_total", text("17163091968")}}};
  const auto gpu = gpuFromDrmCard(card);
  ASSERT_TRUE(gpu);
  EXPECT_EQ(gpu->modelName, "amdgpu [1002:73bf]");
  EXPECT_EQ(gpu->utilization, 42U);
  EXPECT_EQ(gpu->totalMemory, 17163091968U);
  EXPECT_FALSE(gpu->integrated);

  RegistryEntry intel{"card1",
                      {{"device/vendor", text("0x8086")},
                       {"device/device", text("0x9a49")},
                       {"device/uevent", text("DRIVER=i915\nPCI_SLOT_NAME=0000:00:02.0")}}};
  const auto integrated = gpuFromDrmCard(intel);
  ASSERT_TRUE(integrated);
  EXPECT_TRUE(integrated->integrated);
  EXPECT_EQ(integrated->totalMemory, 0U);

  EXPECT_FALSE(gpuFromDrmCard(RegistryEntry{"card0-HDMI-A-1", card.properties}));
  EXPECT_FALSE(gpuFromDrmCard(RegistryEntry{"renderD128", card.properties}));
  EXPECT_FALSE(gpuFromDrmCard(RegistryEntry{"card2", {{"device/vendor", text("0x1af4")}}}));
}

TEST(SystemProfilerJson, AdaptersWithNamesIdsAndMemory) {
  const auto adapters = parseDisplaysJson(R"({"SPDisplaysDataType":[
    {"sppci_model":"Intel UHD Graphics 630","spdisplays_device-id":"0x3e9b","spdisplays_vram_shared":"1536 MB"},
    {"sppci_model":"AMD Radeon Pro 5500M","spdisplays_device-id":"0x7340","spdisplays_vram":"8 GB"},
    {"_name":"kHW_AppleM1Item"}]})");
  ASSERT_TRUE(adapters);
  ASSERT_EQ(adapters->size(), 3U);
  EXPECT_EQ((*adapters)[0].deviceId, 0x3e9bU);
  EXPECT_EQ((*adapters)[0].memoryBytes, uint64_t{1536} << 20);
  EXPECT_EQ((*adapters)[1].memoryBytes, uint64_t{8} << 30);
  EXPECT_EQ((*adapters)[2].model, "");
  EXPECT_FALSE(parseDisplaysJson("{}"));
  EXPECT_FALSE(parseDisplaysJson("not json"));
  EXPECT_FALSE(parseMemorySize("12 TB"));
}

TEST(BlockStatistics, DriverStatisticsAndWholeMedia) {
  RegistryEntry driver{"IOBlockStorageDriver",
                       {{"Statistics", PlistValue{PlistDictionary{{"Operations (Read)", number(10)},
                                                                  {"Operations (Write)", number(20)},
                                                                  {"Bytes (Read)", number(4096)},
                                                                  {"Bytes (Write)", number(8192)}}}},
                        {"BSD Name", text("disk0")}}};
  const auto statistics = statisticsFromBlockDriver(driver);
  ASSERT_TRUE(statistics);
  EXPECT_EQ(statistics->name, "disk0");
  EXPECT_EQ(statistics->bytesWritten, 8192U);
  EXPECT_FALSE(statisticsFromBlockDriver(RegistryEntry{"IOBlockStorageDriver", {{"BSD Name", text("disk1")}}}));

  EXPECT_EQ(wholeDiskFromMedia(RegistryEntry{"m", {{"Whole", PlistValue{true}}, {"BSD Name", text("disk0")}}}),
            "disk0");
  EXPECT_FALSE(wholeDiskFromMedia(RegistryEntry{"m", {{"Whole", PlistValue{false}}, {"BSD Name", text("disk0s1")}}}));
  EXPECT_EQ(wholeDiskFromBlockClass(RegistryEntry{"nvme0n1", {}}), "nvme0n1");
  EXPECT_FALSE(wholeDiskFromBlockClass(RegistryEntry{"nvme0n1p1", {{"partition", text("1")}}}));
  EXPECT_FALSE(wholeDiskFromBlockClass(RegistryEntry{"loop0", {}}));
  EXPECT_FALSE(wholeDiskFromBlockClass(RegistryEntry{"dm-0", {}}));
}

TEST(FreeSpace, VolumesSharingStorageCountOnce) {
  const std::vector<VolumeSpace> volumes{{"disk1", 100}, {"disk1", 100}, {"disk2", 50}};
  EXPECT_EQ(sumFreeSpace(volumes), 150.0);
}

// The volumes of one APFS container share a key; other containers and other
// file systems keep their own.
TEST(FreeSpace, ApfsVolumesKeyedByTheirContainer) {
  EXPECT_EQ(storageKeyFor("/dev/disk3s1", 1000), "disk3/1000");
  EXPECT_EQ(storageKeyFor("/dev/disk3s5", 1000), "disk3/1000");
  EXPECT_EQ(storageKeyFor("/dev/disk13s2", 1000), "disk13/1000");
  EXPECT_EQ(storageKeyFor("/dev/disk1", 50), "disk1/50");
  EXPECT_EQ(storageKeyFor("devfs", 1), "devfs/1");
}

struct FakeBlock : IBlockDevicePerfInfoProvider {
  std::optional<BlockDeviceReading> reading;
  std::optional<BlockDeviceReading> tryGetStatistics() override { return reading; }
};
struct FakeMedia : IMediaDevicePerfInfoProvider {
  std::optional<std::vector<std::string>> disks = std::vector<std::string>{"sda"};
  std::optional<std::vector<std::string>> tryGetWholeDisks() override { return disks; }
};
struct FakeFileSystem : IFileSystemPerfInfoProvider {
  std::optional<double> free = 1e9;
  std::optional<double> tryGetTotalFreeSpace() override { return free; }
};

TEST(DiskPerfInfoProvider, RatesOverTheIntervalFromABootBaseline) {
  auto block = std::make_shared<FakeBlock>();
  auto media = std::make_shared<FakeMedia>();
  auto fileSystem = std::make_shared<FakeFileSystem>();
  DiskPerfInfoProvider provider(block, media, fileSystem);
  block->reading = BlockDeviceReading{{{"sda", 100, 50, 409600, 204800}, {"sda1", 100, 50, 409600, 204800}}, 100};
  auto first = provider.tryGetPerfInfo();
  ASSERT_TRUE(first);
  EXPECT_EQ(first->readFrequency, 1U);  // since boot, partitions not counted twice
  EXPECT_EQ(first->readSpeed, 4096U);
  EXPECT_EQ(first->totalFreeSpace, 1e9);

  block->reading = BlockDeviceReading{{{"sda", 300, 70, 1228800, 245760}}, 110};
  auto second = provider.tryGetPerfInfo();
  ASSERT_TRUE(second);
  EXPECT_EQ(second->readFrequency, 20U);
  EXPECT_EQ(second->writeFrequency, 2U);
  EXPECT_EQ(second->readSpeed, 81920U);
  EXPECT_EQ(second->writeSpeed, 4096U);

  // A disk gone: its counts vanish from the sum; no wrapped-around rate.
  block->reading = BlockDeviceReading{{{"sda", 10, 70, 4096, 245760}}, 120};
  auto third = provider.tryGetPerfInfo();
  ASSERT_TRUE(third);
  EXPECT_EQ(third->readFrequency, 0U);
}

TEST(DiskPerfInfoProvider, NothingWhenAPartIsMissing) {
  testing::LogCapture logs;
  auto block = std::make_shared<FakeBlock>();
  auto fileSystem = std::make_shared<FakeFileSystem>();
  DiskPerfInfoProvider provider(block, std::make_shared<FakeMedia>(), fileSystem);
  EXPECT_FALSE(provider.tryGetPerfInfo());
  EXPECT_TRUE(logs.containsPrefix("Error: Could not fetch Disk perf info."));
  block->reading = BlockDeviceReading{{}, 5};
  fileSystem->free.reset();
  EXPECT_FALSE(provider.tryGetPerfInfo());
}

TEST(SmcTemperature, FixedPointAndFloatEncodings) {
  const uint8_t sp78[] = {0x3a, 0x80};
  EXPECT_DOUBLE_EQ(*decodeSmcTemperature("sp78", sp78), 58.5);
  const uint8_t negative[] = {0xff, 0x00};
  EXPECT_DOUBLE_EQ(*decodeSmcTemperature("sp78", negative), -1.0);
  uint8_t flt[4];
  const float value = 47.25F;
  std::memcpy(flt, &value, 4);
  EXPECT_DOUBLE_EQ(*decodeSmcTemperature("flt ", flt), 47.25);
  EXPECT_FALSE(decodeSmcTemperature("ui8 ", sp78));
  EXPECT_FALSE(decodeSmcTemperature("sp78", std::span<const uint8_t>(sp78, 1)));
}

// Keys go to the controller big-endian; bytes above 0x7f must not smear into their neighbours.
TEST(SmcTemperature, FourCharacterCodes) {
  EXPECT_EQ(fourCharCode("TC0P"), 0x54433050U);
  EXPECT_EQ(fourCharCode("a\x80" "bc"), 0x61806263U);
  EXPECT_EQ(fourCharText(0x666c7420U), "flt ");
  EXPECT_EQ(fourCharText(fourCharCode("sp78")), "sp78");
}

TEST(HidSensors, HottestProcessorDie) {
  const std::vector<NamedTemperature> sensors{
      {"PMU tdie1", 41.5}, {"PMU tdie3", 47.0}, {"gas gauge battery", 60.0}, {"PMU tdie9", 0.0}};
  EXPECT_DOUBLE_EQ(*cpuTemperatureFromHidSensors(sensors), 47.0);
  EXPECT_FALSE(cpuTemperatureFromHidSensors(std::vector<NamedTemperature>{{"NAND CH0 temp", 40}}));
}

// The prefix and suffix around '*' may not share characters of the name.
TEST(SysfsKeys, StarMatchesAnyRunBetweenPrefixAndSuffix) {
  EXPECT_TRUE(matchesKeyPattern("temp12_input", "temp*_input"));
  EXPECT_TRUE(matchesKeyPattern("temp_input", "temp*_input"));
  EXPECT_FALSE(matchesKeyPattern("temp1_label", "temp*_input"));
  EXPECT_FALSE(matchesKeyPattern("temp_input", "temp*p_input"));
  EXPECT_FALSE(matchesKeyPattern("name0", "name"));
}

TEST(SysfsTemperature, ProcessorZoneThenHwmonPackageLabel) {
  const std::vector<RegistryEntry> zones{{"thermal_zone0", {{"type", text("acpitz")}, {"temp", text("27800")}}},
                                         {"thermal_zone1", {{"type", text("x86_pkg_temp")}, {"temp", text("52000")}}}};
  const std::vector<RegistryEntry> chips{{"hwmon1",
                                          {{"name", text("coretemp")},
                                           {"temp1_input", text("61000")},
                                           {"temp2_input", text("70000")},
                                           {"temp1_label", text("Package id 0")},
                                           {"temp2_label", text("Core 0")}}}};
  EXPECT_DOUBLE_EQ(*cpuTemperatureFromThermalZones(zones), 52.0);
  EXPECT_DOUBLE_EQ(*cpuTemperatureFromHwmonChips(chips), 61.0);
}

TEST(SysfsTemperature, HwmonWithoutLabelsGivesItsHottestInput) {
  const std::vector<RegistryEntry> chips{
      {"hwmon0", {{"name", text("nvme")}, {"temp1_input", text("80000")}}},
      {"hwmon2", {{"name", text("k10temp")}, {"temp1_input", text("45125")}, {"temp3_input", text("48000")}}}};
  EXPECT_DOUBLE_EQ(*cpuTemperatureFromHwmonChips(chips), 48.0);
  // Absent sensors read 0 or nonsense and are ignored.
  const std::vector<RegistryEntry> broken{{"hwmon0", {{"name", text("cpu_thermal")}, {"temp1_input", text("0")}}}};
  EXPECT_FALSE(cpuTemperatureFromHwmonChips(broken));
}

struct FixedSensor : ITemperatureSensor {
  std::optional<double> celsius;
  std::optional<double> tryGetCPUTemperature() override { return celsius; }
};

TEST(ThermalPerfInfoProvider, WholeDegreesOrNothing) {
  auto sensor = std::make_shared<FixedSensor>();
  ThermalPerfInfoProvider provider(sensor);
  EXPECT_FALSE(provider.tryGetPerfInfo());
  sensor->celsius = 58.5;
  EXPECT_EQ(provider.tryGetPerfInfo()->cpuTemperature, 59U);
  sensor->celsius = std::nan("");
  EXPECT_FALSE(provider.tryGetPerfInfo());
}

TEST(SmartBattery, PercentAndWattsFromMilliUnits) {
  RegistryEntry discharging{"AppleSmartBattery",
                            {{"BatterySerialNumber", text("D86123")},
                             {"CurrentCapacity", number(4000)},
                             {"MaxCapacity", number(5000)},
                             {"Voltage", number(12000)},
                             {"Amperage", number(-1500)},
                             {"ExternalConnected", PlistValue{false}}}};
  const auto battery = batteryFromSmartBattery(discharging);
  ASSERT_TRUE(battery);
  EXPECT_EQ(battery->serialNumber, "D86123");
  EXPECT_EQ(battery->capacityRemaining, 80U);
  EXPECT_FLOAT_EQ(battery->dischargeRate, 18.0F);
  EXPECT_EQ(battery->chargeRate, 0.0F);

  RegistryEntry charging{"AppleSmartBattery",
                         {{"Serial", text("F5D")},
                          {"CurrentCapacity", number(57)},
                          {"MaxCapacity", number(100)},
                          {"Voltage", number(11000)},
                          {"Amperage", number(2000)},
                          {"ExternalConnected", PlistValue{true}}}};
  const auto plugged = batteryFromSmartBattery(charging);
  ASSERT_TRUE(plugged);
  EXPECT_EQ(plugged->serialNumber, "F5D");
  EXPECT_EQ(plugged->capacityRemaining, 57U);
  EXPECT_FLOAT_EQ(plugged->chargeRate, 22.0F);
  EXPECT_FALSE(batteryFromSmartBattery(RegistryEntry{"AppleSmartBattery", {{"MaxCapacity", number(0)}}}));
}

TEST(PowerSupply, BatteriesOfTheSystemWithTheirDirection) {
  RegistryEntry bat{"BAT0",
                    {{"type", text("Battery")},
                     {"status", text("Discharging")},
                     {"capacity", text("64")},
                     {"power_now", text("9500000")},
                     {"serial_number", text("  1234")}}};
  const auto battery = batteryFromPowerSupply(bat);
  ASSERT_TRUE(battery);
  EXPECT_EQ(battery->capacityRemaining, 64U);
  EXPECT_FLOAT_EQ(battery->dischargeRate, 9.5F);
  EXPECT_EQ(battery->chargeRate, 0.0F);

  RegistryEntry charging{"BAT1",
                         {{"type", text("Battery")},
                          {"status", text("Charging")},
                          {"capacity", text("20")},
                          {"current_now", text("2000000")},
                          {"voltage_now", text("12000000")}}};
  EXPECT_FLOAT_EQ(batteryFromPowerSupply(charging)->chargeRate, 24.0F);

  EXPECT_FALSE(batteryFromPowerSupply(RegistryEntry{"AC", {{"type", text("Mains")}}}));
  EXPECT_FALSE(batteryFromPowerSupply(
      RegistryEntry{"hidpp_battery_0", {{"type", text("Battery")}, {"scope", text("Device")}, {"capacity", text("90")}}}));
}

}  // namespace
}  // namespace sondrel
