// The built library as a host sees it that has only the three names and the
// order of the operations: nothing of vellix is included or linked here.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

// A host's own stream, with the operations in their order, under the name of
// the interface.
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

namespace {

// Calls the operation in slot `slot` of the object's table.
template <typename Result, typename... Arguments>
Result Call(void* object, int slot, Arguments... arguments) {
  using Operation = Result (*)(void*, Arguments...);
  void** table = *static_cast<void***>(object);
  return reinterpret_cast<Operation>(table[slot])(object, arguments...);
}

TEST(Abi, RecordAndLoggerBySlot) {
  void* const library = dlopen(VELLIX_LIBRARY, RTLD_NOW | RTLD_LOCAL);
  const auto get = [library](const char* name) {
    return reinterpret_cast<void* (*)()>(dlsym(library, name))();
  };
  void* const logger = get("GetQuorlLogger");
  void* const record = get("GetQuorlException");
  QuorlBased::IQuorlStream stream;
  EXPECT_TRUE(Call<bool>(logger, 2, &stream));
  EXPECT_EQ(Call<void*>(logger, 3), &stream);
  Call<void>(record, 3, 7, "broken", 9, "pump.cpp");
  EXPECT_EQ(Call<int>(record, 0), 7);
  EXPECT_STREQ(Call<const char*>(record, 1), "broken");
  int line = 0;
  EXPECT_STREQ(Call<const char*>(record, 2, &line), "pump.cpp");
  EXPECT_EQ(line, 9);
  Call<void>(logger, 5, false);
  EXPECT_FALSE(Call<bool>(logger, 6));
  Call<void>(record, 5, record);
  Call<void>(logger, 5, true);
  Call<void>(record, 5, record);
  Call<void>(record, 4);
  EXPECT_EQ(Call<int>(record, 0), 0);
  Call<void>(logger, 4, false);
  Call<void>(logger, 7, 1, "net", "unheard", "", 0U);
  unsigned thread = 0;
  EXPECT_FALSE(Call<bool>(logger, 8, &thread));
  EXPECT_EQ(stream.log.substr(29),
            " [TH=" + std::to_string(thread) +
                "] [LV=EXP  ] [FR=File: pump.cpp Line: 9] [MG=broken] "
                "[BN=NULL]\r\n");
}

}  // namespace
