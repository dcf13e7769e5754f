/*
 * sondrel.h: the whole public interface of the Sondrel host-monitoring library.
 *
 * Conventions
 * -----------
 * Threads. Every function may be called from any thread. Records are handed to
 *   callbacks synchronously on the library's own threads (one serial queue per
 *   periodic family, a reader thread per event stream); a callback must return
 *   promptly and must be safe to call from a thread other than the one that
 *   registered it. The log collector may be called from several threads at once.
 *
 * Registration. Each family has one source per process. A second register call
 *   while the family is registered only logs and keeps the first callback and
 *   arguments. When an unregister function returns, that family's callback is
 *   never called again. Unregister may be called from inside the family's own
 *   callback: it then returns at once and the source stops when the callback
 *   returns.
 *
 * Ownership. A record, and every string and array it points to, belongs to the
 *   library and is valid only during the callback: copy what you keep, free
 *   nothing. Fixed char[N] fields are always NUL-terminated UTF-8, cut at N - 1
 *   bytes. Strings passed to the library (cache folders, names) are read only
 *   during the call. Where a function hands out memory it says so and names the
 *   function that frees it.
 *
 * Units. Intervals are unsigned seconds. Time stamps are counts since
 *   1970-01-01 UTC; each record states its unit.
 *
 * Failure. No function reports an error by exception or by aborting the host.
 *   Queries return false and leave their output untouched when the pointer is
 *   null or the data cannot be read; the reason goes to the log.
 */
#ifndef SONDREL_SONDREL_H
#define SONDREL_SONDREL_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#if defined(SONDREL_BUILDING_LIBRARY)
#define SONDREL_EXPORT __attribute__((visibility("default")))
#else
#define SONDREL_EXPORT
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---------------------------------------------------------------- logging */

/* Log levels, as passed to the collector: verbose 0 ... critical 5. */
enum {
  SONDREL_LOG_VERBOSE = 0,
  SONDREL_LOG_DEBUG = 1,
  SONDREL_LOG_INFO = 2,
  SONDREL_LOG_WARNING = 3,
  SONDREL_LOG_ERROR = 4,
  SONDREL_LOG_CRITICAL = 5
};

/* Receives every library log line while registered (and then the line goes
 * nowhere else). Both strings are valid only during the call. */
typedef void (*LogsCollectorCallback)(uint32_t level, const char *subsystem, const char *message);

SONDREL_EXPORT void registerLogsCollectorCallback(LogsCollectorCallback callback);
SONDREL_EXPORT void unregisterLogsCollectorCallback(void);

/* Writes one line to the system log (unified log on macOS, syslog on Linux)
 * under the caller's subsystem and category, never to the collector. Does
 * nothing when a string is null or not UTF-8, or when level is above 5. */
SONDREL_EXPORT void nativeLog(uint32_t level, const char *subsystem, const char *category,
                              const char *message);

/* -------------------------------------------------------------- main loop */

/* Lends the calling thread to the library until exitMainLoop. */
SONDREL_EXPORT void initMainLoop(void);
/* Ends a running initMainLoop promptly; does nothing when none runs. */
SONDREL_EXPORT void exitMainLoop(void);

/* ----------------------------------------------------------- user session */

enum {
  UE_LOGON = 1,
  UE_LOGOUT = 2,
  UE_LOGON_FAILED = 3,
  UE_LOCK = 20,
  UE_UNLOCK = 21,
  UE_SLEEP = 40,
  UE_WAKE = 41
};

typedef struct user_event_t {
  uint32_t eventType;      /* UE_* */
  uint32_t uid;
  uint32_t sid;            /* audit session id; 0 for log-on and log-off */
  uint8_t fromLoginWindow; /* UE_LOGON_FAILED only */
  uint8_t hadConsoleUser;  /* UE_LOGON_FAILED only */
  char *userName;
} user_event_t;

typedef void (*UserEventCallback)(user_event_t *event);

SONDREL_EXPORT void registerUserEventsCallback(UserEventCallback callback);
SONDREL_EXPORT void unregisterUserEventsCallback(void);

/* ---------------------------------------------------------- process events */

enum {
  PE_PROCESS_STARTED = 200,
  PE_PROCESS_ENDED = 201,
  PE_APP_ACTIVATED = 210,
  PE_APP_DEACTIVATED = 211
};

typedef struct process_event_t {
  uint32_t eventType;      /* PE_* */
  uint32_t auditEventType; /* BSM event: 1 exit, 2 fork, 7 exec, 23 execve, 43190 posix_spawn; 0 for activation */
  uint32_t pid;
  uint32_t ppid;
  uint32_t uid;
  uint32_t ruid;
  uint32_t sid;
  uint32_t exitStatus;
  char *path;       /* null for end and deactivation events */
  uint32_t argc;
  char **argv;      /* argc entries; an empty argument is a null entry */
  char *user;       /* null when unknown */
  char *copyright;  /* application's NSHumanReadableCopyright, or null */
  char *version;    /* application's CFBundleShortVersionString, or null */
} process_event_t;

typedef void (*ProcessEventCallback)(process_event_t *event);

SONDREL_EXPORT void registerProcessEventsCallback(ProcessEventCallback callback);
SONDREL_EXPORT void unregisterProcessEventsCallback(void);

/* ------------------------------------------------------ device performance */

typedef struct cpu_utilization_t {
  float user_percent;
  float idle_percent;
  float system_percent;
  float total_time; /* busy (non-idle) percent */
} cpu_utilization_t;

typedef struct gpu_utilization_t {
  char model[256];
  uint32_t vendor_id;    /* PCI vendor id */
  uint32_t device_id;    /* PCI device id */
  uint64_t total_memory; /* bytes of dedicated memory; 0 when it shares system memory */
  uint32_t integrated;   /* 1 for an integrated processor */
  uint32_t utilization;  /* percent busy */
} gpu_utilization_t;

typedef struct network_info_t {
  uint32_t in_errors;
  uint32_t out_errors;
} network_info_t;

typedef struct disk_info_t {
  uint64_t read_frequency;  /* read operations per second over the last interval */
  uint64_t write_frequency; /* write operations per second */
  uint64_t read_speed;      /* bytes read per second */
  uint64_t write_speed;     /* bytes written per second */
  double total_free_space;  /* bytes free over local volumes */
} disk_info_t;

typedef struct memory_info_t {
  uint64_t total_physical;         /* bytes */
  uint64_t committed_bytes_in_use; /* bytes */
  float usage_percent;     /* in use against total, two decimals */
  float paging_file_usage; /* percent of total held by file-backed pages, two decimals */
} memory_info_t;

typedef struct thermal_info_t {
  uint64_t cpu_temperature; /* whole degrees Celsius */
} thermal_info_t;

typedef struct battery_info_t {
  char serial_no[256];
  uint64_t capacity_remaining; /* percent */
  float charge_rate;           /* watts */
  float discharge_rate;        /* watts */
} battery_info_t;

typedef struct device_perf_event_t {
  cpu_utilization_t cpu_utilization;
  uint32_t gpu_count; /* may exceed 3; only the first three are filled */
  gpu_utilization_t gpu_utilization[3];
  network_info_t network_info;
  disk_info_t disk_info;
  memory_info_t memory_info;
  thermal_info_t thermal_info;
  uint32_t battery_count; /* may exceed 3; only the first three are filled */
  battery_info_t battery_info[3];
} device_perf_event_t;

typedef void (*DevicePerfEventCallback)(device_perf_event_t *event);

SONDREL_EXPORT void registerDevicePerfEventsCallback(DevicePerfEventCallback callback, uint32_t interval);
SONDREL_EXPORT void unregisterDevicePerfEventsCallback(void);

/* ------------------------------------------------------ resource consumers */

typedef struct app_resource_consumer_t {
  uint32_t process_count;
  float cpu_usage_percent;
  float memory_usage_percent;
  uint64_t disk_io_bytes_sec;
  uint64_t network_interface_bytes_sec;
  float gpu_usage0;
  float gpu_usage1;
  float gpu_usage2;
  char *user;
  char *packageName;
} app_resource_consumer_t;

typedef struct device_resource_consumer_t {
  float cpu_usage_percent;
  float memory_usage_percent;
  uint64_t disk_io_bytes_sec;
  uint64_t network_interface_bytes_sec;
  float gpu_usage0;
  float gpu_usage1;
  float gpu_usage2;
  char *gpu_name0;
  char *gpu_name1;
  char *gpu_name2;
} device_resource_consumer_t;

typedef struct resource_consumer_event_t {
  uint64_t timestamp;
  uint32_t app_resource_consumer_count;
  app_resource_consumer_t app_resource_consumer[50];
  device_resource_consumer_t device_resource_consumer;
} resource_consumer_event_t;

typedef void (*ResourceConsumerEventCallback)(resource_consumer_event_t *event);

SONDREL_EXPORT void registerResourceConsumerEventsCallback(ResourceConsumerEventCallback callback,
                                                           uint32_t snapshotInterval, uint32_t eventInterval);
SONDREL_EXPORT void unregisterResourceConsumerEventsCallback(void);

/* ------------------------------------------------------ diagnostic reports */

typedef struct app_crash_event_t {
  char application[256];
  char appPath[1024];
  uint64_t crashTime; /* seconds since 1970 */
  char version[256];
  char publisher[256];
  char user[256];
  uint64_t moduleTimeStamp; /* seconds since 1970, 0 when unknown */
  char module[256];
  char modulePath[1024];
  char moduleVersion[256];
  uint64_t appTimeStamp; /* seconds since 1970, 0 when unknown */
} app_crash_event_t;

typedef struct system_crash_event_t {
  char *crashPath;
  char *version;
  char *process;
  char *stackTrace; /* panic reason, a line feed, then the back trace */
  uint64_t timestamp; /* seconds since 1970 */
} system_crash_event_t;

typedef struct app_hang_event_t {
  char *application;
  char *version;
  char *appPath;
  char *publisher;
  uint64_t duration;
} app_hang_event_t;

typedef void (*AppCrashEventCallback)(app_crash_event_t *event);
typedef void (*SystemCrashEventCallback)(system_crash_event_t *event);
typedef void (*AppHangEventCallback)(app_hang_event_t *event);

/* cachePath names the folder in which the family keeps its cache file. */
SONDREL_EXPORT void registerAppCrashEventsCallback(AppCrashEventCallback callback, const char *cachePath,
                                                   uint32_t interval);
SONDREL_EXPORT void unregisterAppCrashEventsCallback(void);
SONDREL_EXPORT void registerSystemCrashEventsCallback(SystemCrashEventCallback callback, const char *cachePath,
                                                      uint32_t interval);
SONDREL_EXPORT void unregisterSystemCrashEventsCallback(void);
SONDREL_EXPORT void registerAppHangEventsCallback(AppHangEventCallback callback, const char *cachePath,
                                                  uint32_t interval);
SONDREL_EXPORT void unregisterAppHangEventsCallback(void);

/* ----------------------------------------------------------------- services */

typedef struct service_event_type_t {
  uint32_t rawValue; /* 0 installed, 1 removed */
} service_event_type_t;

typedef struct service_event_t {
  service_event_type_t eventType;
  uint64_t timestamp; /* milliseconds since 1970 */
  uint32_t pid;       /* always 0 */
  char *service;
  char *program;
  char *user;
} service_event_t;

typedef void (*ServiceEventCallback)(service_event_t *event);

SONDREL_EXPORT void registerServiceEventsCallback(ServiceEventCallback callback, const char *cachePath,
                                                  uint32_t interval);
SONDREL_EXPORT void unregisterServiceEventsCallback(void);

/* ------------------------------------- families whose records come later */

typedef struct app_unresponsive_event_t app_unresponsive_event_t;
typedef struct app_change_event_t app_change_event_t;
typedef struct system_update_event_t system_update_event_t;
typedef struct asset_event_t asset_event_t;
typedef struct device_network_adapter_t device_network_adapter_t;
typedef struct net_event_l2_t net_event_l2_t;

typedef void (*AppUnresponsiveEventCallback)(app_unresponsive_event_t *event);
typedef void (*AppChangeEventCallback)(app_change_event_t *event);
typedef void (*SystemUpdateEventCallback)(system_update_event_t *event);
typedef void (*AssetEventCallback)(asset_event_t *event);
typedef void (*NetAdapterEventCallback)(device_network_adapter_t *event);
typedef void (*NetL2EventCallback)(net_event_l2_t *event);

SONDREL_EXPORT void registerAppUnresponsiveEventsCallback(AppUnresponsiveEventCallback callback);
SONDREL_EXPORT void unregisterAppUnresponsiveEventsCallback(void);
SONDREL_EXPORT void registerAppChangeEventsCallback(AppChangeEventCallback callback, const char *cachePath,
                                                    uint32_t interval);
SONDREL_EXPORT void unregisterAppChangeEventsCallback(void);
SONDREL_EXPORT void registerSystemUpdateEventsCallback(SystemUpdateEventCallback callback, const char *cachePath,
                                                       uint32_t interval);
SONDREL_EXPORT void unregisterSystemUpdateEventsCallback(void);
SONDREL_EXPORT void registerAssetEventsCallback(AssetEventCallback callback, uint32_t interval);
SONDREL_EXPORT void unregisterAssetEventsCallback(void);
/* The four periods are seconds. */
SONDREL_EXPORT void registerNetEventsCallback(NetAdapterEventCallback adapterCallback,
                                              NetL2EventCallback networkCallback, double refreshPeriod,
                                              double statsPeriod, double connectDelay, double statsDelay);
SONDREL_EXPORT void unregisterNetEventsCallback(void);

/* ------------------------------------------------------------ console user */

/* Short names are UTF-8; null means no user at the console. Strings that a
 * function below hands out are owned by the caller and freed with sondrelFree. */
typedef void (*SwitchUserCallback)(const char *userName);

/* Tells the process-following sources that the console user changed and keeps
 * the name for sources registered later. */
SONDREL_EXPORT void userSwitched(const char *userName);
/* The console user now, or null (no user, or the login window). store is the
 * platform's dynamic-store handle (SCDynamicStoreRef) or null. Free with sondrelFree. */
SONDREL_EXPORT char *copyCurrentConsoleUsername(const void *store);
/* The dynamic store's change handler: compares the console user with the saved
 * one and reports log-on, log-off and switches. info is the session source. */
SONDREL_EXPORT void currentUserChangedCallback(const void *store, const void *changedKeys, void *info);
/* Copies name (null allowed) into savedUserName under userNameMutex. */
SONDREL_EXPORT void setSavedUserName(const char *userName);
/* A copy of savedUserName, or null. Free with sondrelFree. */
SONDREL_EXPORT char *getRetainedSavedUserName(void);
/* userEventsCallback, read under callbackMutex. */
SONDREL_EXPORT UserEventCallback getUserEventsCallback(void);

/* The library's shared state, exported for hosts that inspect it. Read only:
 * the library writes them under its own locks. */
SONDREL_EXPORT extern const char *currentUserName;
SONDREL_EXPORT extern ProcessEventCallback processEventsCallback;
SONDREL_EXPORT extern UserEventCallback userEventsCallback;
SONDREL_EXPORT extern SwitchUserCallback switchUserCallback;
SONDREL_EXPORT extern const char *savedUserName;

/* Frees memory that a function of this header handed out. Null is allowed. */
SONDREL_EXPORT void sondrelFree(void *memory);

/* ----------------------------------------------------------------- queries */

typedef struct os_info_t os_info_t;
typedef struct device_info_t device_info_t;

SONDREL_EXPORT bool getOSInfo(os_info_t *info);
SONDREL_EXPORT bool getDeviceInfo(device_info_t *info);
/* Seconds since 1970. */
SONDREL_EXPORT bool getBootTime(uint64_t *bootTime);
SONDREL_EXPORT bool getShutdownTime(uint64_t *shutdownTime);
/* Bytes in use on the volume that holds the root folder. */
SONDREL_EXPORT bool getUsedSpace(uint64_t *usedBytes);

/* --------------------------------------------- System Management Controller */

/* A four-character controller key, NUL-terminated. */
typedef char SMCKey[5];

#define SMC_KEY_CPU_PROXIMITY_TEMPERATURE "TC0P"
#define SMC_KEY_CPU_DIE_TEMPERATURE "TC0D"
#define SMC_KEY_CPU_PECI_TEMPERATURE "TC0F"
#define SMC_KEY_GPU_PROXIMITY_TEMPERATURE "TG0P"
#define SMC_KEY_FAN_COUNT "FNum"

/* One value read from the controller: the raw bytes and their type code. */
typedef struct smc_value_t {
  SMCKey key;
  uint32_t dataSize;
  char dataType[5]; /* four-character type code, e.g. "sp78", "ui8 " */
  uint8_t bytes[32];
} smc_value_t;

/* Raw call into the controller driver: selector, input and output structures
 * of the driver's own layout. outputSize holds the capacity on entry and the
 * bytes written on return. */
SONDREL_EXPORT bool SMCCallFunction(uint32_t selector, const void *input, size_t inputSize, void *output,
                                    size_t *outputSize);
SONDREL_EXPORT bool SMCReadKey(const char *key, smc_value_t *value);
/* Processor temperature in degrees Celsius. */
SONDREL_EXPORT bool SMCGetCPUTemperature(double *celsius);

typedef struct m1_sensor_reading_t {
  char name[64];
  double celsius;
} m1_sensor_reading_t;

/* Fills up to capacity temperature readings of the Apple-silicon sensors; count
 * receives the number written. */
SONDREL_EXPORT bool ReadM1Sensors(m1_sensor_reading_t *readings, uint32_t capacity, uint32_t *count);

/* ------------------------------------------------------- process inspection */

typedef struct pi_os_version_t {
  uint32_t majorVersion;
  uint32_t minorVersion;
  uint32_t bugfixVersion;
} pi_os_version_t;

SONDREL_EXPORT bool PI_getOSVersion(pi_os_version_t *version);

/* All process ids, in the kernel's order. *pids is allocated by the library
 * and freed with sondrelFree; it is set to null when count is 0. */
SONDREL_EXPORT bool PI_enumerateProcesses(uint32_t **pids, uint32_t *count);

/* The application bundle folder whose executable is exactly path, written with
 * its NUL into bundlePath (capacity bytes). False when there is none or it does
 * not fit. */
SONDREL_EXPORT bool PI_findAppBundle(const char *path, char *bundlePath, size_t capacity);

/* The first executable file named name in the folders of PATH, written into
 * resolvedPath (capacity bytes). */
SONDREL_EXPORT bool PI_which(const char *name, char *resolvedPath, size_t capacity);

#ifdef __cplusplus
}
#endif

#endif /* SONDREL_SONDREL_H */
