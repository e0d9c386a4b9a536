// The system layer in one include.
#ifndef VELLIX_SYSUTILS_H_
#define VELLIX_SYSUTILS_H_

#include "vellix/sysutils_buffer.h"
#include "vellix/sysutils_clock.h"
#include "vellix/sysutils_codecs.h"
#include "vellix/sysutils_env.h"
#include "vellix/sysutils_files.h"
#include "vellix/sysutils_find.h"
#include "vellix/sysutils_locks.h"
#include "vellix/sysutils_memory.h"
#include "vellix/sysutils_numbers.h"
#include "vellix/sysutils_parsers.h"
#include "vellix/sysutils_paths.h"
#include "vellix/sysutils_process.h"
#include "vellix/sysutils_strings.h"
#include "vellix/sysutils_temp.h"
#include "vellix/sysutils_threads.h"

#endif  // VELLIX_SYSUTILS_H_
