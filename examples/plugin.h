// What a plug-in of plugin_host.cpp offers.
#ifndef VELLIX_EXAMPLES_PLUGIN_H_
#define VELLIX_EXAMPLES_PLUGIN_H_

extern "C" {

// Does its work on the calling thread; false when that failed, with the reason
// in the thread's failure record.
using PluginRun = bool (*)();

// The code that the plug-in finds in the calling thread's failure record.
using PluginSeenCode = int (*)();

}  // extern "C"

#endif  // VELLIX_EXAMPLES_PLUGIN_H_
