// A fuzzer of the target VELLIX_FUZZ_TARGET.
#include "fuzz/targets.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  QuorlBased::UsePath(*QuorlBased::PathsOfProcessor()[size % 3]);
  targets::VELLIX_FUZZ_TARGET({reinterpret_cast<const char*>(data), size});
  return 0;
}
