// A small host that gives the logger a stream of its own: a target that counts
// what passes and prints it.
#include <cstdio>
#include <iostream>

#include "vellix/loader.h"
#include "vellix/log.h"

namespace {

// The logger calls only Write; the rest fails.
class ConsoleStream : public QuorlBased::IQuorlStream {
 public:
  int32_t Write(const void* buffer, uint32_t count) override {
    ++records_;
    std::cout.write(static_cast<const char*>(buffer), count).flush();
    return static_cast<int32_t>(count);
  }
  int Records() const { return records_; }

  int64_t GetPosition() override { return -1; }
  int64_t SetPosition(int64_t) override { return -1; }
  int64_t GetSize() override { return -1; }
  bool SetSize(int64_t) override { return false; }
  int32_t Read(void*, uint32_t) override { return -1; }
  int64_t Seek(int64_t, QuorlBased::SeekOrigin) override { return -1; }
  int64_t CopyFrom(IQuorlStream*, int64_t) override { return -1; }
  bool IsStream() override { return false; }
  bool Eof() override { return false; }
  void Free() override {}

 private:
  int records_ = 0;
};

}  // namespace

int main() {
  // The target outlives everything that can log.
  static ConsoleStream console;
  static vellix::Library library;
  if (!library.Open()) {
    std::cerr << library.Error() << "\n";
    return 1;
  }
  QuorlBased::IQuorlLogger* logger = library.Logger();
  logger->SetLogStream(&console);
  const vellix::Log log("demo", logger);
  log.Info("into a stream of the host's own");
  logger->EnableLog(false);
  log.Info("not to be seen");
  logger->EnableLog(true);
  log.Warn() << "logging is on again, " << console.Records() << " so far";
  std::cout << console.Records() << " records written\n";
  return console.Records() == 2 ? 0 : 1;
}
