/* The public header as a C99 host compiles it (-std=c99 -pedantic -Werror),
 * with layout checks a host written in C relies on. */
#include <stddef.h>

#include "sondrel/sondrel.h"

typedef char check_user_event_name_last[offsetof(user_event_t, userName) > offsetof(user_event_t, hadConsoleUser) ? 1 : -1];
typedef char check_process_argv_after_argc[offsetof(process_event_t, argv) > offsetof(process_event_t, argc) ? 1 : -1];
typedef char check_three_gpus[sizeof(((device_perf_event_t *)0)->gpu_utilization) == 3 * sizeof(gpu_utilization_t) ? 1 : -1];
typedef char check_fifty_apps[sizeof(((resource_consumer_event_t *)0)->app_resource_consumer) == 50 * sizeof(app_resource_consumer_t) ? 1 : -1];
typedef char check_crash_path_width[sizeof(((app_crash_event_t *)0)->appPath) == 1024 ? 1 : -1];
typedef char check_service_type_first[offsetof(service_event_t, eventType) == 0 ? 1 : -1];

/* Called from the C++ host test so that the C translation unit is linked in. */
size_t sondrelCHeaderRecordSizes(void) {
  return sizeof(user_event_t) + sizeof(process_event_t) + sizeof(device_perf_event_t) +
         sizeof(resource_consumer_event_t) + sizeof(app_crash_event_t) + sizeof(system_crash_event_t) +
         sizeof(app_hang_event_t) + sizeof(service_event_t);
}

/* Every callback type can be formed from a plain C function. */
static void onService(service_event_t *event) { (void)event; }
static void onLog(uint32_t level, const char *subsystem, const char *message) {
  (void)level;
  (void)subsystem;
  (void)message;
}
ServiceEventCallback sondrelCServiceCallback(void) { return onService; }
LogsCollectorCallback sondrelCLogCallback(void) { return onLog; }
