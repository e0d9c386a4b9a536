// Every operation that can fail: at every allocation that it makes without
// memory, and with every error of the system call that it rests on.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <thread>

#include "support/inject.h"
#include "support/support.h"
#include "vellix/logger.h"
#include "vellix/sysutils.h"

using namespace QuorlBased;

namespace {

// What tells a failure: false, recorded, where success clears the record or
// leaves it; an exception, where the record is none of its business; or false
// alone. A load clears the record, and gets over memory that comes back.
enum Kind { kClears, kLeaves, kThrows, kQuiet, kLoads };

struct Operation {
  const char* name;
  Kind kind;
  int code;                   // of its failure
  std::function<bool()> run;  // false for a failure
  const char* call = "";      // the system call that is to fail
  const char* message = "";   // then; errno follows a '%'; "" for the call's
  int nth = 1;                // when it is made so often
  int records = -1;           // then, in the log; -1 for the kind's
};

const support::TempDir dir;
const std::string text(50, 'x'), words = text + "," + text, big(70000, 'b');
const std::string file = dir / text, spare = dir / "spare", made = dir / "d/e",
                  command = "true " + text, asleep = "sleep 99",
                  gone = dir / "gone";
const bool there =
    (support::WriteFile(file, big), support::WriteFile(spare, big), true);
const int fd = open(file.c_str(), O_RDWR);
CHandleStream stream(fd);
CBaseException failure(kGeneralFailure, words.c_str(), 1, words.c_str());
const auto* bytes = reinterpret_cast<const unsigned char*>(big.data());
auto* digits = const_cast<unsigned char*>(bytes);
CMemoryStream source, dest;
const int32_t filled = source.Write(big.data(), 70000);
find_data* const search = find_first(dir.Path().c_str(), "*");
std::string out, path;
std::list<std::string> list;

void CleanUp() {
  ReleaseQuorlException();
  out = path = "";
  list.clear();
  dest.Clear();
  rmdir(made.c_str());
  setenv("LD_LIBRARY_PATH", words.c_str(), 1);
  ReleaseQuorlException();
}

bool Is(const std::string& result) { return !result.empty(); }
bool Closes(int handle) { return handle != -1 && close(handle) == 0; }

// Of no memory it tells nothing but its false.
bool SetLogFile(const std::string& name, bool append) {
  CQuorlLogger logger;
  if (logger.SetLogFile(name.c_str(), append)) {
    return logger.GetLogStream()->Free(), true;
  }
  IQuorlException* record = GetQuorlException();
  if (record->GetExceptionCode() < 2) {
    record->SetException(kOutOfMemory, "", 0, "");
  }
  return false;
}

bool Append() {
  const bool set = SetLogFile(file, true);
  EXPECT_GT(lseek(fd, 0, SEEK_END), 0);  // what was there stays
  return set;
}

bool Find() {
  find_data* found = find_first(dir.Path().c_str(), "*x");
  return find_close(found), true;
}

bool FindNext() { return rewinddir(search->dir), find_next(search); }

bool SetLoadPath() {
  dll_set_load_path(text);
  EXPECT_EQ(getenv("LD_LIBRARY_PATH")[0], 'x');  // what was there stays
  return true;
}

bool HasAlignedBlock() {
  void* block = _aligned_malloc(8, 64);
  return _aligned_free(block), block;
}

bool Push() {
  CDataBuffer2 buffer(true);
  for (int i = 0; i < 30; ++i) buffer.Push(bytes, 9);
  return buffer.PushFront(bytes, 9), buffer.GetDataSize() == 279;
}

// Its thread has the failure, and so has the caller then.
bool RunThread() {
  struct : CQuorlBasedThread {
    uint32_t ThreadBody() override { return Is(text + text); }
  } thread;
  thread.Resume();
  thread.Wait(kWaitForever);
  uint32_t code = 0;
  if (thread.GetExitCode(code) && code == 1) return true;
  // Not even the code is there if the thread could make no record.
  const int kept = thread.GetThreadException()->GetCode();
  GetQuorlException()->SetException(kept ? kept : kOutOfMemory, "", 0, "");
  return false;
}

bool RunProcess(const std::string& line, bool terminate) {
  CQuorlBasedProcess process(line);
  if (!process.Run(false)) return false;
  const bool done = !terminate || process.Terminate(0);
  if (!done) sigqueue(process.GetProcesspId(), SIGKILL, {});
  uint32_t code = 255;
  return process.Wait(kWaitForever) && process.GetExitCode(code) && done &&
         code == 0;
}

bool UseTexts() {
  out = Format(words, 1) + LeftStr(words, 40) + RightStr(words, 40);
  out += Trim(words) + TrimLeft(words, "") + TrimRight(words);
  out += SubStr(words, 1, 40) + UpperCase(words) + LowerCase(words);
  out += StrReplace(words, ",", text) + utf8_to_local(words.c_str());
  out += CreateGUIDString() + BinaryToHexString(digits, 99, text);
  out += extract_file_ext("." + text) + change_file_ext(file, text);
  out += CQuorlLogger::ConvertToLogText(path_connect(path, "x", true).c_str());
  CQuorlLogger::ConvertToHexString(bytes, 99, out);
  base64_encode(digits, 99, out), base64_decode(bytes, 99, out);
  return StrSplit(words, ",").size() == 2 && parse_cmd_line(words, list) &&
         HexToBin(out, big.c_str(), words) &&
         GetNameValue(words, ",", path, out);
}

#define OP(kind, code, expression, ...)                                   \
  {                                                                       \
#expression, kind, code, [] { return bool(expression); }, __VA_ARGS__ \
  }
#define DISK(kind, ...) OP(kind, kFileFailure, __VA_ARGS__)
#define OTHER(kind, ...) OP(kind, kGeneralFailure, __VA_ARGS__)
#define PURE(expression) OP(kThrows, 0, expression)  // needs memory alone
#define DO(statement) (statement, true)
const Operation operations[] = {
    PURE(GetQuorlException()),
    PURE(DO(GetQuorlException()->Copy(&failure))),
    PURE(DO(GetQuorlException()->Copy(&failure)) &&
         Is(GetLastQuorlExpAsText())),
    OTHER(kThrows, Is(FormatQuorlExp(failure, text + "%s%d"))),
    PURE(DO(GetQuorlLogger()->Log(LogInfo, big.c_str(), 0, 0, 0))),
    DISK(kClears, SetLogFile(spare, false), "open", "file_create error%"),
    DISK(kClears, Append(), "open", "file_open error%"),
    DISK(kThrows, !CFileStream(file, 2).Eof(), "open", "file_open error%", 1,
         1),
    OP(kThrows, kStandardException, DO((new CFileStream(file, 0))->Free())),
    OP(kThrows, kStandardException, DO(dest.SetCapacity(9))),
    OP(kLeaves, kEndOfData, dest.Seek(1, SeekBegin) != -1),
    DISK(kClears, dest.CopyFrom(&stream, 0) > 0, "read", "file_read error%", 2),
    DISK(kClears, source.SaveToStream(&stream), "write", "file_write error%",
         2),
    DISK(kLeaves, stream.SetSize(70000), "ftruncate64", "file_set_current_end%",
         1, 2),
    DISK(kLeaves, stream.SetSize(70000), "lseek64",
         "Stream Size less than Seek", 1, 2),
    DISK(kClears, source.SaveToFile(spare), "open", "file_create error%", 1, 2),
    DISK(kClears, source.SaveToFile(spare), "write", "file_write error%"),
    DISK(kClears, source.SaveToFile(spare), "close", "file_close error%"),
    DISK(kLoads, dest.LoadFromFile(spare), "read", "file_read error%", 2),
    DISK(kLeaves, Closes(file_create(spare)), "open", "file_create error%"),
    DISK(kClears, Closes(file_open(file, 0)), "open", "file_open error%"),
    DISK(kLeaves, file_seek(fd, 0, 0) == 0, "lseek64", "file_seek error%"),
    DISK(kLeaves, file_read(fd, digits, 1) == 1, "read", "file_read error%"),
    DISK(kLeaves, file_write(fd, "x", 1) == 1, "write", "file_write error%"),
    DISK(kLeaves, file_set_current_end(fd), "ftruncate64",
         "file_set_current_end%"),
    DISK(kClears, Closes(file_create(gone)) && file_delete(gone), "unlink",
         "file_delete error%"),
    DISK(kLeaves, move_file(file, file), "rename", "move_file error%"),
    OTHER(kThrows, Is(expand_path(text.c_str())), "realpath",
          "Can't expand path"),
    OTHER(kThrows, Is(extract_file_path(file) + extract_file_name(file))),
    OTHER(kThrows, DO(make_dir(made.c_str())), "mkdir",
          "Can't create directory"),
    OTHER(kClears, dir_exists(dir.Path().c_str()), "stat",
          "dir_exist: Can't stat the directory"),
    OTHER(kClears, file_exists(file.c_str()), "stat",
          "file_exist: Can't stat the file"),
    OTHER(kThrows, Find(), "opendir", "find_first error%"),
    OTHER(kThrows, Find(), "readdir", "find_first error%", 1, 1),
    OTHER(kLeaves, FindNext(), "readdir", "find_next error%"),
    OTHER(kThrows, Is(CTmpFile(text, "n").GetFilePathName()), "getrandom",
          "Unexpected error"),
    OTHER(kThrows, DO(CXMutex()), "pthread_mutexattr_init"),
    OTHER(kThrows, DO(CXMutex()), "pthread_mutexattr_settype"),
    OTHER(kThrows, DO(CXEvent(true, false)), "pthread_mutex_init"),
    OTHER(kThrows, DO(CXEvent(true, false)), "pthread_cond_init"),
    OTHER(kThrows, DO(delete_critical(init_critical())), "pthread_mutex_init"),
    OTHER(kThrows, RunThread(), "pthread_create", "Unexpected error"),
    OP(kQuiet, 0, RunProcess(command, false), "pthread_create", nullptr),
    OP(kQuiet, 0, RunProcess(command, false), "fork", nullptr),
    OP(kQuiet, 0, RunProcess(command, false), "waitpid", nullptr),
    OP(kQuiet, 0, RunProcess(asleep, true), "kill", nullptr),
    OP(kLeaves, kNotFound, get_environment_variable("HOME", out)),
    OP(kLeaves, kNotFound, get_environment_variable(text, out)),
    OTHER(kClears, set_environment_variable("VELLIX", text), "setenv",
          "set_environment_variable error%"),
    OP(kQuiet, 0, SetLoadPath()),
    OP(kQuiet, 0, Is(get_executable_path()), "readlink", nullptr),
    OP(kQuiet, 0, HasAlignedBlock()),
    PURE(UseTexts()),
    PURE(Push()),
};
// How an operation ended, and the failure that it threw or recorded.
struct Outcome {
  enum How { kDone, kFailed, kThrew, kNoMemory } how = kDone;
  support::Failure failure;
  bool operator==(const Outcome& o) const {
    return how == o.how && failure.msg == o.failure.msg;
  }
};

Outcome OutcomeOf(const Operation& operation) {
  Outcome outcome;
  try {
    outcome.how = operation.run() ? Outcome::kDone : Outcome::kFailed;
    support::Fault::EndAll();
  } catch (const CBaseException& e) {
    support::Fault::EndAll();
    outcome.how = Outcome::kThrew;
    outcome.failure = support::Failure(e);
  } catch (const std::bad_alloc&) {
    support::Fault::EndAll();
    outcome.how = Outcome::kNoMemory;
  }
  if (outcome.how == Outcome::kFailed && operation.kind != kQuiet)
    outcome.failure = support::Recorded();
  return outcome;
}

// Whether `outcome` may come of no memory, where `clean` would come otherwise
// and, if `on`, memory is not back after the first failure.
bool Documented(const Operation& operation, const Outcome& outcome,
                const Outcome& clean, bool on) {
  const bool fails_anyway = clean.how != Outcome::kDone;
  // The object that is thrown may come from a reserve of the run time.
  if (operation.kind == kQuiet || (outcome == clean && fails_anyway)) {
    return true;
  }
  if (outcome.how == Outcome::kDone) return operation.kind == kLoads;
  // A handler that must store or log a failure may want memory in its turn.
  if (outcome.how == Outcome::kNoMemory) {
    return operation.kind == kThrows || on || fails_anyway;
  }
  const int code = outcome.failure.code;
  return code == kOutOfMemory || code == kStandardException ||
         code == operation.code;
}

TEST(Faults, NoMemoryAtAnyAllocation) {
  // The system reads the file of a zone anew when a second begins.
  setenv("TZ", "UTC0", 1);
  IQuorlLogger* logger = GetQuorlLogger();
  ASSERT_TRUE(logger->SetLogFile((dir / "log").c_str(), false));
  int runs = 0;
  for (int row = 0; row < 2 * int(std::size(operations)); ++row) {
    const Operation& operation = operations[row / 2];
    const char* call = row % 2 ? operation.call : "";
    SCOPED_TRACE(std::string(operation.name) + " " + call);
    const auto run = [&](int nth, bool on, int* struck) {
      const support::Fault call_fails(call, EIO, operation.nth);
      const support::Fault no_memory(nth ? "malloc" : "", ENOMEM, nth, on);
      Outcome outcome = OutcomeOf(operation);
      *struck = no_memory.Struck();
      return outcome;
    };
    int struck = 0;
    const Outcome clean = (run(0, false, &struck), run(0, false, &struck));
    Outcome next;
    const auto elsewhere = [&] { next = OutcomeOf(operation); };
    std::thread(elsewhere).join();
    const Outcome good = next;
    CleanUp();
    const auto descriptors = support::OpenDescriptors();
    for (const int mode : {0, 1, 2, 3}) {
      int nth = 0;
      do {
        const bool on = mode % 2;
        const long blocks = support::LiveBlocks();
        if (mode / 2) support::PlantFailure();
        {
          const Outcome outcome = run(++nth, on, &struck);
          EXPECT_TRUE(struck ? Documented(operation, outcome, clean, on)
                             : outcome == clean)
              << nth << " " << mode << ": " << outcome.how
              << outcome.failure.msg;
        }
        CleanUp();
        EXPECT_EQ(support::LiveBlocks(), blocks) << nth << " " << mode;
        // Elsewhere, where a lock that was left locked would be felt.
        std::thread(elsewhere).join();
        EXPECT_EQ(next.how, good.how) << nth << " " << mode << next.failure.msg;
        EXPECT_FALSE(logger->IsLogging(nullptr));
        CleanUp();
        ++runs;
      } while (struck > 0);
    }
    EXPECT_EQ(support::OpenDescriptors(), descriptors);
  }
  RecordProperty("runs", runs);
  EXPECT_GT(runs, 1000);
}

TEST(Faults, EveryErrorOfEverySystemCall) {
  const int errors[] = {EACCES, EAGAIN, EBADF, EBUSY,  EDQUOT, EINTR,
                        EINVAL, EIO,    ELOOP, EMFILE, ENOMEM, ENOSPC,
                        EPERM,  EPIPE,  EROFS, ESPIPE};
  int cases = 0;
  for (const Operation& operation : operations) {
    if (!*operation.call) continue;
    const bool silent = operation.kind == kThrows || operation.kind == kQuiet;
    const size_t logged =
        operation.records >= 0 ? size_t(operation.records) : !silent;
    const size_t before = support::Log().Records().size();
    support::PlantFailure();
    EXPECT_EQ(OutcomeOf(operation).how, Outcome::kDone) << operation.name;
    if (operation.kind != kThrows) {
      EXPECT_EQ(support::FailurePlanted(),
                operation.kind == kLeaves || operation.kind == kQuiet)
          << operation.name;
    }
    EXPECT_EQ(support::Log().Records().size(), before) << operation.name;
    for (const int error : errors) {
      if (error == EINTR && !strcmp(operation.call, "getrandom")) continue;
      for (const bool on : {false, true}) {
        SCOPED_TRACE(operation.name + support::ErrnoMessage("", error));
        CleanUp();
        const size_t records = support::Log().Records().size();
        support::PlantFailure();
        const support::Fault fault(operation.call, error, operation.nth, on);
        const Outcome outcome = OutcomeOf(operation);
        EXPECT_EQ(outcome.how, operation.kind == kThrows ? Outcome::kThrew
                                                         : Outcome::kFailed);
        EXPECT_GT(fault.Struck(), 0);
        ++cases;
        EXPECT_EQ(support::FailurePlanted(), logged == 0);
        if (on || !operation.message) continue;
        std::string message = operation.message;
        if (message.empty()) message = operation.call + std::string(": %");
        if (message.back() == '%') {
          message.pop_back();
          message = support::ErrnoMessage(message, error);
        }
        EXPECT_FAILURE(
            outcome.failure, operation.code, message,
            message[0] == 'S' ? "../quorl_base_streams" : "../sysutils");
        EXPECT_EQ(support::Log().Records().size(), records + logged);
      }
    }
  }
  RecordProperty("cases", cases);
  EXPECT_GT(cases, 250);
}

TEST(Faults, ShortTransfersAreSuccessesThatACopyFinishes) {
  for (const char* call : {"read", "write"}) {
    CFileStream from(file, kOpenRead), to(spare, kCreateFile);
    const support::Fault fault(call, support::Fault::kShort, 1, true);
    EXPECT_EQ(to.CopyFrom(&from, 300), 300) << call;
    EXPECT_EQ(fault.Struck(), 300) << call;
  }
  EXPECT_EQ(support::ReadFile(spare), big.substr(0, 300));
}

}  // namespace
