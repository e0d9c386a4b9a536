/* The interface of a plug-in of plugin_host.cpp. For C too. */
#ifndef VELLIX_EXAMPLES_PLUGIN_H_
#define VELLIX_EXAMPLES_PLUGIN_H_

#include <stdbool.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Does its work on the calling thread; false on failure, with the reason in the
 * thread's failure record. */
bool plugin_run(void);

/* The code that the plug-in finds in the calling thread's failure record. */
int plugin_seen_code(void);

#ifdef __cplusplus
}
#endif

#endif /* VELLIX_EXAMPLES_PLUGIN_H_ */
