// The process's environment, and modules loaded at run time. Both belong to the
// whole process. Any thread may call these, but the system does not guard the
// environment: a change on one thread while another reads or changes it may end
// the process. Others read it too: the C library reads TZ whenever it looks up
// the time zone, which the logger does once in each second in which it writes.
#ifndef VELLIX_SYSUTILS_ENV_H_
#define VELLIX_SYSUTILS_ENV_H_

#include <string>

namespace QuorlBased {

// Stores the value of the variable `name` in `value`; true even if it is empty.
//
// Failure: false, recorded, `value` as it was: kNotFound
// "get_environment_variable error: errno: …" if it is not set; the number is
// what errno held before. Success leaves the record as it was.
bool get_environment_variable(const std::string& name, std::string& value);

// Sets or replaces the variable `name`.
//
// Failure: false, recorded: kGeneralFailure "set_environment_variable error:
// errno: …", such as for a name that is empty or holds "=". Success clears the
// record.
bool set_environment_variable(const std::string& name,
                              const std::string& value);

// Removes the variable `name`. Returns true and clears the record, even if
// there is no such variable and for a name that is empty or holds "=".
//
// Failure: false, recorded: kStandardException, if there was no memory for the
// failure record. The variable is then still set.
bool delete_environment_variable(const std::string& name);

// Appends the directory `dir` to LD_LIBRARY_PATH unless the same text is
// already an entry. An unset variable becomes ":dir". The loader reads the
// variable when a process starts, so this is for child processes.
//
// Has no result. If it changed the variable, the record is cleared; if `dir`
// was already an entry, or the change failed, the record holds what
// get_environment_variable or set_environment_variable left. A variable that
// cannot be read for lack of memory stays unchanged. May throw std::bad_alloc
// and what a log target throws; nothing is set then.
void dll_set_load_path(const std::string& dir);

// Loads the module `filename` with lazy binding (dlopen); null for the running
// program itself. Returns its handle, which the caller releases with free_dll,
// or null on failure. Leaves the record as it was.
void* load_dll(const char* filename);

// The address of `symbol` in the module (dlsym), or null. Leaves the record as
// it was.
void* get_proc_addr(void* handle, const char* symbol);

// Releases the module (dlclose); its addresses may be invalid afterwards. Null
// is ignored. Leaves the record as it was.
void free_dll(void* handle);

}  // namespace QuorlBased

#endif  // VELLIX_SYSUTILS_ENV_H_
