// Failures told apart by their codes. The result of a call says whether it
// failed; only then does the thread's failure record say why.
#include <iostream>
#include <string>

#include "vellix/exceptions.h"
#include "vellix/sysutils.h"

namespace {

using namespace QuorlBased;

const char* Meaning(int code) {
  switch (code) {
    case kNotFound:
      return "not there";
    case kFileFailure:
      return "the system refused";
    case kEndOfData:
      return "nothing left to read";
    case kGeneralFailure:
      return "failed";
    default:
      return "another failure";
  }
}

// Prints the failure record of this thread and returns its code.
int Explain(const char* call) {
  const IQuorlException* record = GetQuorlException();
  int line = 0;
  const char* source = record->GetExceptionSource(&line);
  std::cout << call << ": " << Meaning(record->GetExceptionCode()) << ": "
            << record->GetExceptionMsg() << " (" << source << ":" << line
            << ")\n";
  return record->GetExceptionCode();
}

bool OpenMissing() {
  return file_open("missing.txt", kOpenRead) == -1 &&
         Explain("file_open") == kFileFailure;
}

bool ReadToTheEnd() {
  const int32_t file = file_create("vellix_read_failures.tmp");
  char byte = 0;
  const bool at_end =
      file_read(file, &byte, 1) == -1 && Explain("file_read") == kEndOfData;
  // A write that succeeds leaves the failure record as it was: a code that is
  // not 0 says nothing about it.
  const bool written = file_write(file, "x", 1) == 1 &&
                       GetQuorlException()->GetExceptionCode() == kEndOfData;
  file_close(file);
  file_delete("vellix_read_failures.tmp");
  return at_end && written;
}

bool AskForUnset() {
  std::string value;
  return !get_environment_variable("VELLIX_UNSET", value) &&
         Explain("get_environment_variable") == kNotFound;
}

// Some operations have no failure value: they throw, and record nothing.
bool ExpandNothing() {
  GetQuorlException()->Clear();
  try {
    expand_path(nullptr);
  } catch (const CBaseException& failure) {
    std::cout << FormatQuorlExp(failure, "expand_path: thrown at %s:%d: %s")
              << "\n";
    return failure.GetCode() == kGeneralFailure &&
           GetQuorlException()->GetExceptionCode() == 0;
  }
  return false;
}

}  // namespace

int main() {
  const bool all =
      OpenMissing() && ReadToTheEnd() && AskForUnset() && ExpandNothing();
  return all ? 0 : 1;
}
