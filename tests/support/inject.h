// Faults at will: memory that runs out and system calls that fail, anywhere in
// the process.
#ifndef VELLIX_TESTS_SUPPORT_INJECT_H_
#define VELLIX_TESTS_SUPPORT_INJECT_H_

#include <atomic>

namespace support {

// While it lives, the call of the name `call` fails with `error` when it is
// made for the `nth` time, and with `on` each time after that. "malloc" stands
// for every way to the heap, "" for no call. Two may live at a time.
class Fault {
 public:
  // Instead of an error: the transfer moves one byte at most.
  static constexpr int kShort = 0;

  Fault(const char* call, int error, int nth = 1, bool on = false);
  Fault(const Fault&) = delete;
  Fault& operator=(const Fault&) = delete;
  ~Fault() { EndAll(); }

  // Ends all faults before they die.
  static void EndAll();

  // How many calls it has made fail.
  int Struck() const { return struck_; }

  // For the calls: whether one of `call` is to fail now; sets errno then.
  static bool Strikes(const char* call);

 private:
  const char* const call_;
  const int error_, nth_;
  const bool on_;
  std::atomic<int> made_{0}, struck_{0};
};

// Blocks of the heap that are in use.
long LiveBlocks();

}  // namespace support

#endif  // VELLIX_TESTS_SUPPORT_INJECT_H_
