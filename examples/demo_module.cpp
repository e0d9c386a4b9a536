// A module of the demo host. It links the toolkit; its failures go to the
// failure record of the host's thread and to the host's log.
#include <iostream>
#include <string>

#include "vellix/exceptions.h"
#include "vellix/quorl_base_streams.h"
#include "vellix/sysutils.h"

namespace {

void Show(const std::string& call, long long result) {
  std::cout << call << " = " << result << "\n"
            << QuorlBased::GetLastQuorlExpAsText() << "\n\n";
}

}  // namespace

extern "C" __attribute__((visibility("default"))) void show_failures() {
  using namespace QuorlBased;

  Show("file_open(\"missing.txt\", kOpenRead)",
       file_open("missing.txt", kOpenRead));

  CMemoryStream empty;
  empty.SaveToFile("vellix_demo.tmp");
  {
    CFileStream stream("vellix_demo.tmp", kOpenRead);
    char byte = 0;
    const int32_t read = stream.Read(&byte, 1);
    Show("stream.Read(&byte, 1) at the end", read);
  }
  file_delete("vellix_demo.tmp");

  std::string value;
  const bool found = get_environment_variable("VELLIX_UNSET", value);
  Show("get_environment_variable(\"VELLIX_UNSET\", value)", found);
}
