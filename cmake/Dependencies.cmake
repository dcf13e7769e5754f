find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)

pkg_check_modules(PLIST REQUIRED IMPORTED_TARGET libplist-2.0)
pkg_check_modules(RE2 REQUIRED IMPORTED_TARGET re2)
pkg_check_modules(SIMDJSON REQUIRED IMPORTED_TARGET simdjson)
find_package(fmt REQUIRED)

if(SONDREL_BUILD_TESTS)
  find_package(GTest REQUIRED)
endif()
if(SONDREL_BUILD_BENCHMARKS)
  find_package(benchmark REQUIRED)
endif()
