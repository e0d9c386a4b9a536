// A worker thread whose failure outlives it.
#include <iostream>
#include <string>
#include <utility>

#include "vellix/sysutils.h"

namespace {

// Its exit code is 0, or 1 for a file that cannot be read.
class Reader : public QuorlBased::CQuorlBasedThread {
 public:
  explicit Reader(std::string path) : path_(std::move(path)) { Resume(); }

  // The body uses path_, so it has to end before path_ does.
  ~Reader() override { Join(); }

 private:
  uint32_t ThreadBody() override {
    const int32_t file = QuorlBased::file_open(path_, QuorlBased::kOpenRead);
    if (file == -1) return 1;
    QuorlBased::file_close(file);
    return 0;
  }

  const std::string path_;
};

}  // namespace

int main() {
  Reader reader("missing.txt");
  reader.Wait(QuorlBased::kWaitForever);

  uint32_t exit_code = 0;
  reader.GetExitCode(exit_code);
  const CBaseException& failure = *reader.GetThreadException();
  std::cout << "exit code " << exit_code << ", failure " << failure.GetCode()
            << " \"" << failure.GetMsg() << "\"\n";

  // The worker's failure never was in this thread's failure record.
  const int own_code = GetQuorlException()->GetExceptionCode();
  const bool as_expected = exit_code == 1 && own_code == 0 &&
                           failure.GetCode() == QuorlBased::kFileFailure;
  return as_expected ? 0 : 1;
}
