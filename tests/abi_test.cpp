// The built library by its names and slots: no vellix header, nothing linked.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

// A host's own stream, with the operations in their order.
namespace QuorlBased {
struct IQuorlStream {
  virtual int64_t GetPosition() { return -1; }
  virtual int64_t SetPosition(int64_t) { return -1; }
  virtual int64_t GetSize() { return -1; }
  virtual bool SetSize(int64_t) { return false; }
  virtual int32_t Read(void*, uint32_t) { return -1; }
  virtual int32_t Write(const void* buffer, uint32_t count) {
    log.append(static_cast<const char*>(buffer), count);
    return 0;
  }
  std::string log;
};
}  // namespace QuorlBased

enum RecordSlot { kGetCode, kGetMsg, kGetSource, kSet, kClear, kCopy };
enum TargetSlot { kSetLogFile, kGetLogFile, kSetLogStream, kGetLogStream };
enum LogSlot { kEnableLog = 4, kEnableExpLog, kIsExpEnabled, kLog, kIsLogging };

// Calls the operation in slot `slot` of the object's table.
template <typename Result, typename... Arguments>
Result Call(void* object, int slot, Arguments... arguments) {
  using Operation = Result (*)(void*, Arguments...);
  void** table = *static_cast<void***>(object);
  return reinterpret_cast<Operation>(table[slot])(object, arguments...);
}

// What the exported function `name` returns.
void* Get(const char* name) {
  void* const library = dlopen(VELLIX_LIBRARY, RTLD_NOW | RTLD_LOCAL);
  EXPECT_NE(library, nullptr) << dlerror();
  return reinterpret_cast<void* (*)()>(dlsym(library, name))();
}

TEST(Abi, RecordBySlot) {
  void* const record = Get("GetQuorlException");
  Call<void>(record, kSet, 7, "broken", 9, "pump.cpp");
  EXPECT_EQ(Call<int>(record, kGetCode), 7);
  EXPECT_STREQ(Call<const char*>(record, kGetMsg), "broken");
  int line = 0;
  EXPECT_STREQ(Call<const char*>(record, kGetSource, &line), "pump.cpp");
  EXPECT_EQ(line, 9);
  Call<void>(record, kClear);
  EXPECT_EQ(Call<int>(record, kGetCode), 0);
}

TEST(Abi, LoggerBySlot) {
  void* const logger = Get("GetQuorlLogger");
  void* const record = Get("GetQuorlException");
  QuorlBased::IQuorlStream stream;
  EXPECT_FALSE(Call<bool>(logger, kSetLogFile, "/nonexistent/log", true));
  EXPECT_EQ(Call<const char*>(logger, kGetLogFile), nullptr);
  EXPECT_TRUE(Call<bool>(logger, kSetLogStream, &stream));
  EXPECT_EQ(Call<void*>(logger, kGetLogStream), &stream);
  Call<void>(logger, kEnableExpLog, false);
  EXPECT_FALSE(Call<bool>(logger, kIsExpEnabled));
  Call<void>(record, kCopy, record);
  Call<void>(logger, kLog, 1, "net", "heard", "", 0U);
  Call<void>(logger, kEnableLog, false);
  Call<void>(logger, kLog, 1, "net", "unheard", "", 0U);
  unsigned thread = 0;
  EXPECT_FALSE(Call<bool>(logger, kIsLogging, &thread));
  EXPECT_EQ(stream.log.substr(stream.log.find(" [TH=")),
            " [TH=" + std::to_string(thread) +
                "] [LV=INFO ] [FR=net] [MG=heard] [BN=NULL]\r\n");
}
