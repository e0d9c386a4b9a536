// Operations whose system call fails, or any of their allocations.
#include "support/inject.h"
#include "vellix/res_keeper.h"

using namespace QuorlBased;
using support::live_blocks;

const support::TempDir dir;
const std::string text(50, 'x'), words = text + "," + text, big(70000, 'b');
const std::string file = dir / text, spare = dir / "spare";
auto* bytes = reinterpret_cast<unsigned char*>(const_cast<char*>(big.data()));

bool Append() {
  CQuorlLogger logger;
  const bool set = logger.SetLogFile(file.c_str(), true);
  if (set) logger.GetLogStream()->Free();
  return set;
}

// These streams stay: one that is destroyed clears the record.
bool Save() {
  static CMemoryStream stream;
  if (!stream.GetMemory()) stream.Write(big.data(), 70000);
  return stream.SaveToFile(spare);
}

bool Load() {
  static CMemoryStream stream;
  return stream.LoadFromFile(file);
}

bool Delete() {
  support::WriteFile(dir / "d", "");
  return file_delete(dir / "d");
}

bool UseLock() {
  delete_critical(init_critical());
  return true;
}

bool SetLoadPath() {
  __real_setenv("LD_LIBRARY_PATH", words.c_str(), 1);
  dll_set_load_path(text);
  EXPECT_NE(strstr(getenv("LD_LIBRARY_PATH"), words.c_str()), nullptr);
  return true;
}

bool RunThread() {
  struct Body : CQuorlBasedThread {
    ~Body() override { Join(); }
    uint32_t ThreadBody() override { return (text + text).size() == 100; }
  } thread;
  thread.Resume();
  thread.Wait(kWaitForever);
  uint32_t code = 0;
  return thread.GetExitCode(code) && code == 1;
}

bool RunProcess() {
  CQuorlBasedProcess process("true " + text);
  uint32_t code = 255;
  return process.Run(false) && process.Wait(kWaitForever) &&
         process.GetExitCode(code) && code == 0;
}

bool UseTexts() {
  std::string out = LeftStr(words, 40) + StrReplace(words, ",", text);
  out += FormatQuorlExp(CBaseException(1, "", 1, words.c_str()), "%s");
  out += BinaryToHexString(bytes, 99, text) + change_file_ext(file, text);
  out +=
      CQuorlLogger::ConvertToLogText(words.c_str()) + GetLastQuorlExpAsText();
  base64_encode(bytes, 99, out);
  std::list<std::string> list;
  return StrSplit(words, ",").size() == 2 && parse_cmd_line(words, list) == 1 &&
         HexToBin(out, big.c_str(), words) > 0;
}

bool UseBlocks() {
  ResKeeper keeper;
  keeper.Alloc(10);
  keeper.Alloc(20);
  void* block = _aligned_malloc(8, 64);
  void* moved = _aligned_realloc(block, 16, 64);
  _aligned_free(moved);
  CMemoryStream stream;
  CDataBuffer2 buffer(true);
  for (int i = 0; i < 30; ++i) buffer.Push(bytes, 9);
  return stream.Write(bytes, 9) == 9 && buffer.Pop(nullptr, 20) == 20 &&
         block && moved;
}

// How a failure is reported. Where it is recorded, a success clears the record.
enum Report { kThrown, kRecorded, kValueOnly };

constexpr int kPlanted = 1;  // a record that is left alone

struct Operation {
  const char* name;
  std::function<bool()> run;  // false for a failure that is not thrown
  Report report;
  std::string call = "";    // the system call that is to fail
  int code = kPlanted;      // in the record then
  const char* prefix = "";  // of its message
  bool survives = false;    // want of memory, at some allocation
};
const Operation operations[] = {
    {"first record", GetQuorlException, kThrown},
    {"texts", UseTexts, kThrown},
    {"blocks", UseBlocks, kThrown},
    {"append", Append, kRecorded, "open", kFileFailure, "file_open error"},
    {"save", Save, kRecorded, "write", kFileFailure, "file_write error"},
    {"close", Save, kRecorded, "close", kFileFailure, "file_close error"},
    // Survives a failed growth in advance; the copy grows the block.
    {"load", Load, kRecorded, "read", kFileFailure, "file_read error", true},
    {"delete", Delete, kRecorded},
    {"exists", [] { return file_exists(file.c_str()); }, kRecorded},
    {"lock", UseLock, kThrown, "pthread_mutex_init"},
    {"thread", RunThread, kThrown},
    {"process", RunProcess, kValueOnly, "fork", kPlanted, "", true},
    {"variable", [] { return set_environment_variable("VELLIX", text); },
     kRecorded, "setenv", kGeneralFailure, "set_environment_variable error"},
    {"load path", SetLoadPath, kValueOnly, "", kPlanted, "", true},
};

enum class End { kDone, kFailed, kThrew, kNoMemory };

End EndOf(const Operation& operation) {
  try {
    return operation.run() ? End::kDone : End::kFailed;
  } catch (const CBaseException&) {
    return End::kThrew;
  } catch (const std::bad_alloc&) {
    return End::kNoMemory;
  }
}

struct Faults : testing::Test {
  Faults() {
    support::WriteFile(file, big);
    support::WriteFile(spare, big);
    setenv("TZ", "UTC0", 1);  // no file is read when a second begins
  }
};

TEST_F(Faults, ErrorsOfSystemCallsAreReportedAsDocumented) {
  for (const Operation& operation : operations) {
    const bool recorded = operation.report == kRecorded;
    EndOf(operation);  // opens what stays open
    support::PlantFailure();
    EXPECT_EQ(EndOf(operation), End::kDone) << operation.name;
    if (recorded) {
      EXPECT_EQ(support::Recorded().code, 0) << operation.name;
    }
    if (operation.call.empty()) continue;
    for (const int error : {EACCES, EBADF, EINTR, EIO, ENOSPC}) {
      SCOPED_TRACE(operation.name + std::string(strerror(error)));
      support::PlantFailure();
      const size_t before = support::Log().records.size();
      const Fault fault(operation.call, error);
      EXPECT_EQ(EndOf(operation),
                operation.report == kThrown ? End::kThrew : End::kFailed);
      EXPECT_EQ(support::Log().records.size() > before, recorded);
      const support::Failure failure = support::Recorded();
      EXPECT_EQ(failure.code, operation.code);
      if (recorded) {
        EXPECT_EQ(failure.msg, support::ErrnoMessage(operation.prefix, error));
      }
    }
  }
}

// The nth allocation fails, alone or with all after it, with and without a
// failure record.
TEST_F(Faults, WithoutMemoryNothingIsLostAndTheNextCallWorks) {
  GetQuorlLogger()->SetLogFile((dir / "log").c_str(), false);
  for (const Operation& operation : operations) {
    const auto again = [&] { EXPECT_EQ(EndOf(operation), End::kDone); };
    std::thread(again).join();
    const auto descriptors = support::OpenDescriptors();
    for (const auto& [on, with_record] : {std::pair{false, false},
                                          {false, true},
                                          {true, false},
                                          {true, true}}) {
      for (int nth = 1, struck = 1; struck > 0; ++nth) {
        SCOPED_TRACE(Format("%s %d", operation.name, nth));
        ReleaseQuorlException();
        const long blocks = live_blocks;
        if (with_record) GetQuorlException();
        End end = End::kDone;
        {
          const Fault fault("malloc", ENOMEM, nth, on);
          end = EndOf(operation);
          struck = fault.struck;
        }
        if (struck > 0 && !operation.survives) {
          EXPECT_NE(end, End::kDone);
        }
        if (end == End::kFailed && operation.report == kRecorded) {
          const int code = support::Recorded().code;  // 0: of SetLogFile
          EXPECT_TRUE(!code || code == kOutOfMemory ||
                      code == kStandardException);
        }
        ReleaseQuorlException();
        // On another thread: a lock left held would block it.
        std::thread(again).join();
        EXPECT_EQ(live_blocks, blocks);
      }
    }
    EXPECT_EQ(support::OpenDescriptors(), descriptors) << operation.name;
  }
}

TEST_F(Faults, FreeAndCloseNeedNoMemoryForARecord) {
  const auto descriptors = support::OpenDescriptors();
  auto* stream = new CFileStream(file, kOpenRead);
  const int32_t handle = file_open(file, kOpenRead);
  ReleaseQuorlException();
  {
    const Fault fault("malloc", ENOMEM, 1, true);
    stream->Free();
    file_close(handle);
  }
  EXPECT_EQ(support::OpenDescriptors(), descriptors);
}

TEST_F(Faults, ALogThatCannotBeLookedAtIsNotEmptied) {
  const Fault fault("stat", EIO);
  EXPECT_TRUE(Append());
  EXPECT_EQ(fault.struck, 1);
  EXPECT_EQ(support::ReadFile(file), big);
}
