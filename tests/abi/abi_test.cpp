// The built library as a host sees it that has only the three names and the
// order of the operations: nothing of vellix is included or linked here.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <string>

class IQuorlException;

namespace QuorlBased {

class IQuorlLogger;

// A host's own stream, under the name of the interface that it stands for.
class IQuorlStream {
 public:
  virtual int64_t GetPosition() { return -1; }
  virtual int64_t SetPosition(int64_t) { return -1; }
  virtual int64_t GetSize() { return -1; }
  virtual bool SetSize(int64_t) { return false; }
  virtual int32_t Read(void*, uint32_t) { return -1; }
  virtual int32_t Write(const void* buffer, uint32_t count) {
    log.append(static_cast<const char*>(buffer), count);
    return 0;
  }
  virtual int64_t Seek(int64_t, int) { return -1; }
  virtual int64_t CopyFrom(IQuorlStream*, int64_t) { return -1; }
  virtual bool IsStream() { return true; }
  virtual bool Eof() { return true; }
  virtual void Free() {}

  std::string log;
};

}  // namespace QuorlBased

namespace {

// Calls the operation in slot `slot` of the object's table.
template <typename Result, typename... Arguments>
Result Call(void* object, int slot, Arguments... arguments) {
  using Operation = Result (*)(void*, Arguments...);
  void** table = *static_cast<void***>(object);
  return reinterpret_cast<Operation>(table[slot])(object, arguments...);
}

struct Abi : testing::Test {
  template <typename Function>
  Function* Export(const char* name) {
    return reinterpret_cast<Function*>(dlsym(library, name));
  }
  void Log(const char* msg) {
    Call<void>(logger, 7, 1, "net", msg, "\x0F\xA0", 2U);
  }

  void* const library = dlopen(VELLIX_LIBRARY, RTLD_NOW | RTLD_LOCAL);
  void* const logger = Export<QuorlBased::IQuorlLogger*()>("GetQuorlLogger")();
};

TEST_F(Abi, RecordAndLoggerBySlot) {
  const auto get = Export<IQuorlException*()>("GetQuorlException");
  void* record = get();
  const auto source = [&record] {
    int line = 0;
    const std::string file = Call<const char*>(record, 2, &line);
    return file + ":" + std::to_string(line);
  };
  QuorlBased::IQuorlStream stream;
  EXPECT_TRUE(Call<bool>(logger, 2, &stream));
  EXPECT_EQ(Call<void*>(logger, 3), &stream);
  EXPECT_FALSE(Call<bool>(logger, 0, "refused.log", false));
  Export<void()>("ReleaseQuorlException")();
  record = get();
  EXPECT_EQ(source(), ":-1");
  Call<void>(record, 3, 7, "broken", 9, "pump.cpp");
  EXPECT_EQ(Call<int>(record, 0), 7);
  EXPECT_STREQ(Call<const char*>(record, 1), "broken");
  EXPECT_EQ(source(), "pump.cpp:9");
  Call<void>(record, 5, record);
  Call<void>(logger, 5, false);
  EXPECT_FALSE(Call<bool>(logger, 6));
  Call<void>(record, 5, record);
  Call<void>(record, 4);
  EXPECT_EQ(Call<int>(record, 0), 0);

  Call<void>(logger, 4, false);
  Log("unheard");
  Call<void>(logger, 4, true);
  Log("up\r\n");
  unsigned thread = 0;
  EXPECT_FALSE(Call<bool>(logger, 8, &thread));
  EXPECT_EQ(thread, static_cast<unsigned>(gettid()));

  const size_t time = sizeof("[TM=Sun Nov  1 09:05:00 2026]") - 1;
  const std::string id = " [TH=" + std::to_string(gettid());
  const size_t second = stream.log.find("\r\n") + 2;
  EXPECT_EQ(stream.log.substr(time, second - time),
            id + "] [LV=EXP  ] [FR=File: pump.cpp Line: 9] [MG=broken] "
                 "[BN=NULL]\r\n");
  EXPECT_EQ(stream.log.substr(second + time),
            id + "] [LV=INFO ] [FR=net] [MG=up\\r\\n] [BN=0F A0 ]\r\n");
}

TEST_F(Abi, StreamBySlot) {
  const std::string path = testing::TempDir() + "vellix_abi_test.log";
  ASSERT_TRUE(Call<bool>(logger, 0, path.c_str(), false));
  EXPECT_EQ(Call<const char*>(logger, 1), path);
  void* stream = Call<void*>(logger, 3);
  const int64_t position = 3;
  char byte = 0;
  EXPECT_EQ(Call<int32_t>(stream, 5, "0123456789", 10U), 10);
  EXPECT_EQ(Call<int64_t>(stream, 0), 10);
  EXPECT_EQ(Call<int64_t>(stream, 1, position), 3);
  EXPECT_EQ(Call<int64_t>(stream, 2), 10);
  EXPECT_TRUE(Call<bool>(stream, 3, position));
  EXPECT_EQ(Call<int64_t>(stream, 6, int64_t{0}, 2), 3);
  EXPECT_EQ(Call<int64_t>(stream, 7, nullptr, int64_t{1}), -1);
  EXPECT_FALSE(Call<bool>(stream, 8));
  EXPECT_EQ(Call<int32_t>(stream, 4, &byte, 1U), -1);
  EXPECT_FALSE(Call<bool>(stream, 9));
  Call<void>(logger, 4, false);
  Call<void>(stream, 10);
  EXPECT_EQ(remove(path.c_str()), 0);
}

}  // namespace
