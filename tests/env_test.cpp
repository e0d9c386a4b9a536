#include <cerrno>
#include <cstdlib>

#include "support/support.h"
#include "vellix/sysutils_env.h"
#include "vellix/sysutils_paths.h"

namespace {

using namespace QuorlBased;

TEST(Env, VariablesAreSetReadAndRemoved) {
  EXPECT_TRUE(set_environment_variable("HOME", "/h"));
  support::PlantFailure();
  EXPECT_EQ(get_home_path(), "/h");
  EXPECT_TRUE(support::FailurePlanted());
  EXPECT_TRUE(delete_environment_variable("HOME"));
  EXPECT_EQ(support::Recorded().code, 0);
  std::string value = "kept";
  errno = EDOM;
  EXPECT_FALSE(get_environment_variable("HOME", value));
  EXPECT_FAILURE(support::Recorded(), kNotFound,
                 support::ErrnoMessage("get_environment_variable error", EDOM),
                 "../sysutils");
  EXPECT_EQ(get_home_path() + value, "kept");
  EXPECT_FALSE(set_environment_variable("a=b", ""));
  EXPECT_EQ(support::Recorded().msg,
            support::ErrnoMessage("set_environment_variable error", EINVAL));
}

TEST(Env, LoadPathGrowsByWhatIsNotInIt) {
  const char* rows[][3] = {
      {"", "/a", ":/a"}, {"/a:/b", "/b", "/a:/b"}, {":/a:", "/A", ":/a::/A"}};
  for (const auto& [before, dir, after] : rows) {
    setenv("LD_LIBRARY_PATH", before, 1);
    support::PlantFailure();
    dll_set_load_path(dir);
    EXPECT_STREQ(std::getenv("LD_LIBRARY_PATH"), after);
    EXPECT_EQ(support::FailurePlanted(), after == std::string(before));
  }
}

TEST(Env, ModulesAreLoaded) {
  void* module = load_dll("libm.so.6");
  EXPECT_NE(get_proc_addr(module, "cos"), nullptr);
  free_dll(module);
  free_dll(load_dll("/no/such/module"));
  EXPECT_EQ(extract_file_name(get_executable_path()), "env_test");
}

}  // namespace
