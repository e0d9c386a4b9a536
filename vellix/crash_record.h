// Composes the log record of a crash, by means that are safe in a signal
// handler: no heap, no lock, little stack. Only for crash.h.
#ifndef VELLIX_CRASH_RECORD_H_
#define VELLIX_CRASH_RECORD_H_

#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <unistd.h>
#include <unwind.h>

#include <csetjmp>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>

#pragma GCC visibility push(hidden)
namespace vellix::crash_internal {

constexpr int kSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGSYS};
constexpr const char* kSignalNames[] = {"SIGSEGV", "SIGBUS",  "SIGFPE",
                                        "SIGILL",  "SIGABRT", "SIGSYS"};
constexpr size_t kFrames = 32;

struct Code {
  int signal;  // 0: of any
  int code;
  const char* name;
};
constexpr Code kCodes[] = {
    {0, SI_USER, "SI_USER"},
    {0, SI_QUEUE, "SI_QUEUE"},
    {0, SI_TKILL, "SI_TKILL"},
    {0, SI_KERNEL, "SI_KERNEL"},
    {SIGSEGV, SEGV_MAPERR, "SEGV_MAPERR"},
    {SIGSEGV, SEGV_ACCERR, "SEGV_ACCERR"},
    {SIGBUS, BUS_ADRALN, "BUS_ADRALN"},
    {SIGBUS, BUS_ADRERR, "BUS_ADRERR"},
    {SIGBUS, BUS_OBJERR, "BUS_OBJERR"},
    {SIGFPE, FPE_INTDIV, "FPE_INTDIV"},
    {SIGFPE, FPE_INTOVF, "FPE_INTOVF"},
    {SIGFPE, FPE_FLTDIV, "FPE_FLTDIV"},
    {SIGFPE, FPE_FLTOVF, "FPE_FLTOVF"},
    {SIGFPE, FPE_FLTUND, "FPE_FLTUND"},
    {SIGFPE, FPE_FLTRES, "FPE_FLTRES"},
    {SIGFPE, FPE_FLTINV, "FPE_FLTINV"},
    {SIGILL, ILL_ILLOPC, "ILL_ILLOPC"},
    {SIGILL, ILL_ILLOPN, "ILL_ILLOPN"},
    {SIGILL, ILL_PRVOPC, "ILL_PRVOPC"},
    {SIGSYS, 1, "SYS_SECCOMP"},
};

// The digits of `value`, at least `width`, at the end of `room`.
inline const char* Digits(uint64_t value, unsigned base, int width, char pad,
                          char (&room)[24]) {
  char* first = std::end(room) - 1;
  *first = '\0';
  do {
    *--first = "0123456789abcdef"[value % base];
    value /= base;
  } while (value > 0);
  while (std::end(room) - 1 - first < width) *--first = pad;
  return first;
}

// The log record. A pipe takes its 4096 bytes atomically.
class Line {
 public:
  // Begins with a line end, which is needed after a torn line.
  void Begin() {
    size_ = 0;
    Text("\r\n");
  }
  const char* Data(bool after_torn) const {
    return text_ + (after_torn ? 0 : 2);
  }
  size_t Size(bool after_torn) const { return size_ - (after_torn ? 0 : 2); }

  void Text(const char* text) {
    while (*text && size_ < kRoom) text_[size_++] = *text++;
  }
  // Appends a text; its line ends become \n and \r, as in the log.
  void Message(const char* text) {
    for (; *text && size_ < kRoom; ++text) {
      if (*text == '\n' || *text == '\r') text_[size_++] = '\\';
      text_[size_++] = *text == '\n' ? 'n' : *text == '\r' ? 'r' : *text;
    }
  }
  void Number(uint64_t value, unsigned base = 10, int width = 1,
              char pad = '0') {
    char room[24];
    Text(Digits(value, base, width, pad, room));
  }
  void End() {
    memcpy(text_ + size_, "] [BN=NULL]\r\n", 13);
    size_ += 13;
  }

 private:
  static constexpr size_t kRoom = 4080;  // and one more, of an escape
  char text_[4096] = "";
  size_t size_ = 0;
};

// `seconds` since 1970 in the form of asctime.
inline void PutTime(Line& line, uint64_t seconds) {
  constexpr char kDays[] = "Thu\0Fri\0Sat\0Sun\0Mon\0Tue\0Wed";
  constexpr char kMonths[] =
      "Mar\0Apr\0May\0Jun\0Jul\0Aug\0Sep\0Oct\0Nov\0Dec\0Jan\0Feb";
  // Years start in March, so that a leap day is the last of its year, and are
  // counted in eras of 400 from 0000-03-01 on.
  const uint64_t day = seconds / 86400;
  const uint64_t era = (day + 719468) / 146097;
  const uint64_t of_era = (day + 719468) % 146097;
  const uint64_t year =
      (of_era - of_era / 1460 + of_era / 36524 - of_era / 146096) / 365;
  const uint64_t of_year = of_era - (365 * year + year / 4 - year / 100);
  const uint64_t month = (5 * of_year + 2) / 153;  // 0 is March
  line.Text(kDays + day % 7 * 4);
  line.Text(" ");
  line.Text(kMonths + month * 4);
  line.Text(" ");
  line.Number(of_year - (153 * month + 2) / 5 + 1, 10, 2, ' ');
  for (const uint64_t unit : {3600U, 60U, 1U}) {
    line.Text(unit == 3600 ? " " : ":");
    line.Number(seconds / unit % (unit == 3600 ? 24 : 60), 10, 2);
  }
  line.Text(" ");
  line.Number(year + era * 400 + (month < 10 ? 0 : 1));
}

inline void PutSignal(Line& line, size_t index, const siginfo_t& info) {
  const char* name = nullptr;
  for (const Code& code : kCodes) {
    const bool fits = code.signal == 0 || code.signal == info.si_signo;
    if (fits && code.code == info.si_code) name = code.name;
  }
  line.Text(kSignalNames[index]);
  line.Text(" (");
  if (name) {
    line.Text(name);
  } else {
    const int64_t code = info.si_code;
    line.Text(code < 0 ? "code -" : "code ");
    line.Number(static_cast<uint64_t>(code < 0 ? -code : code));
  }
  if (info.si_code <= 0) {
    line.Text(") from process ");
    line.Number(static_cast<uint64_t>(info.si_pid));
  } else {
    line.Text(") at 0x");
    line.Number(reinterpret_cast<uintptr_t>(info.si_addr), 16);
  }
  if (info.si_signo == SIGSYS && info.si_code > 0) {
    line.Text(", system call ");
    line.Number(static_cast<uint64_t>(info.si_syscall));
  }
}

struct Frame {
  uintptr_t ip;
  uintptr_t base;
  char module[64];
};

struct Mapping {
  uintptr_t start, end, offset, inode;
  bool readable;
  char name[64];  // without its directories
};

// The frames found, and the reader of /proc/self/maps. Only the recording
// thread uses it.
struct Walk {
  Frame frames[kFrames];
  size_t frame_count;
  bool at_crash;  // past the frames of the handler itself
  sigjmp_buf after_fault;
  volatile sig_atomic_t guarded;  // a fault skips the rest of the step
  int maps_file;
  char maps[1024];
  ssize_t maps_size, maps_at;
};
inline Walk sWalk;

// Frames below `stack` are the recorder's own. It is null in a signal handler,
// where those end at the first frame that a signal interrupted.
inline _Unwind_Reason_Code TakeFrame(_Unwind_Context* context, void* stack) {
  Walk& walk = sWalk;
  int interrupted = 0;  // then ip is the instruction's, not a return address
  const uintptr_t ip = _Unwind_GetIPInfo(context, &interrupted);
  if (interrupted && !walk.at_crash) {
    walk.at_crash = true;
    walk.frame_count = 0;
  }
  if (_Unwind_GetCFA(context) <= reinterpret_cast<uintptr_t>(stack)) {
    return _URC_NO_REASON;
  }
  if (walk.frame_count == kFrames) return _URC_END_OF_STACK;
  if (ip || interrupted) {
    walk.frames[walk.frame_count++] = {ip - !interrupted, 0, ""};
  }
  return _URC_NO_REASON;
}

inline int NextChar() {
  Walk& walk = sWalk;
  if (walk.maps_at >= walk.maps_size) {
    walk.maps_size = read(walk.maps_file, walk.maps, sizeof walk.maps);
    walk.maps_at = 0;
  }
  if (walk.maps_size <= 0) return EOF;
  return static_cast<unsigned char>(walk.maps[walk.maps_at++]);
}

// Also takes the character after the number.
inline uintptr_t NextHex() {
  uintptr_t value = 0;
  for (;;) {
    const int c = NextChar();
    const int digit = c >= '0' && c <= '9'   ? c - '0'
                      : c >= 'a' && c <= 'f' ? c - 'a' + 10
                                             : -1;
    if (digit < 0) return value;
    value = value * 16 + static_cast<uintptr_t>(digit);
  }
}

// A line reads "start-end r-xp offset 08:01 inode   /directory/name".
inline bool NextMapping(Mapping& mapping) {
  mapping.start = NextHex();
  mapping.end = NextHex();
  mapping.readable = NextChar() == 'r';
  for (int i = 0; i < 4; ++i) NextChar();
  mapping.offset = NextHex();
  NextHex();
  NextHex();
  mapping.inode = NextHex();
  size_t length = 0;
  for (int c = NextChar(); c != '\n' && c != EOF; c = NextChar()) {
    if (c == '/' || (c == ' ' && length == 0)) {
      length = 0;
    } else if (length < sizeof mapping.name - 1) {
      mapping.name[length++] = static_cast<char>(c);
    }
  }
  mapping.name[length] = '\0';
  return mapping.end != 0;
}

// Addresses in an executable with a fixed base are absolute.
inline bool IsFixed(uintptr_t image) {
  const auto* header = reinterpret_cast<const ElfW(Ehdr)*>(image);
  return memcmp(header->e_ident, ELFMAG, SELFMAG) == 0 &&
         header->e_type == ET_EXEC;
}

inline void FindModules() {
  Walk& walk = sWalk;
  Mapping mapping;
  Mapping image{};  // the first of the same file: the module's base
  while (NextMapping(mapping)) {
    if (mapping.offset == 0 || mapping.inode != image.inode) image = mapping;
    for (size_t i = 0; i < walk.frame_count; ++i) {
      Frame& frame = walk.frames[i];
      if (frame.ip < mapping.start || frame.ip >= mapping.end) continue;
      memcpy(frame.module, mapping.name, sizeof frame.module);
      frame.base = image.start - image.offset;
      const bool has_header = image.readable && image.offset == 0;
      if (has_header && IsFixed(image.start)) frame.base = 0;
    }
  }
}

inline void PutFrames(Line& line) {
  for (size_t i = 0; i < sWalk.frame_count; ++i) {
    const Frame& frame = sWalk.frames[i];
    line.Text(i == 0 ? "; " : ", ");
    line.Text(frame.module);
    line.Text(frame.module[0] ? "+0x" : "0x");
    line.Number(frame.ip - (frame.module[0] ? frame.base : 0), 16);
  }
}

// Runs a step that reads what the crash may have damaged. After a fault in it
// the handler continues with what it has.
template <typename Step>
void Guard(Step step) {
  if (sigsetjmp(sWalk.after_fault, 1) == 0) {
    sWalk.guarded = 1;
    step();
  }
  sWalk.guarded = 0;
}

inline void PutStack(Line& line, void* stack) {
  Walk& walk = sWalk;
  walk.frame_count = 0;
  walk.at_crash = stack != nullptr;
  walk.maps_at = walk.maps_size = 0;
  Guard([stack] { _Unwind_Backtrace(TakeFrame, stack); });
  if (!walk.at_crash) walk.frame_count = 0;  // only the handler's own
  Guard([] {
    sWalk.maps_file = open("/proc/self/maps", O_RDONLY | O_CLOEXEC);
    FindModules();
    close(sWalk.maps_file);
  });
  PutFrames(line);
}

}  // namespace vellix::crash_internal
#pragma GCC visibility pop

#endif  // VELLIX_CRASH_RECORD_H_
