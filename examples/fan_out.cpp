// A log in two places: a stream that hands each log record to two others.
#include <unistd.h>

#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

#include "vellix/logger.h"
#include "vellix/sysutils_files.h"

namespace {

using QuorlBased::IQuorlStream;

constexpr char kLogFile[] = "vellix_fan_out.log";

// Returns what the first target returned. The logger's lock is held during
// Write, so the second target sees the log records in the same order.
class FanOut : public QuorlBased::CQuorlStreamImpl {
 public:
  FanOut(IQuorlStream& first, IQuorlStream& second)
      : first_(first), second_(second) {}

  int32_t Write(const void* buffer, uint32_t count) override {
    const int32_t written = first_.Write(buffer, count);
    second_.Write(buffer, count);
    return written;
  }
  int32_t Read(void*, uint32_t) override { return -1; }
  int64_t Seek(int64_t, QuorlBased::SeekOrigin) override { return -1; }
  bool Eof() override { return false; }

 private:
  IQuorlStream& first_;
  IQuorlStream& second_;
};

// Keeps the last log record, for a status page.
class LastRecord : public QuorlBased::CQuorlStreamImpl {
 public:
  int32_t Write(const void* buffer, uint32_t count) override {
    text_.assign(static_cast<const char*>(buffer), count);
    return static_cast<int32_t>(count);
  }
  int32_t Read(void*, uint32_t) override { return -1; }
  int64_t Seek(int64_t, QuorlBased::SeekOrigin) override { return -1; }
  bool Eof() override { return false; }
  const std::string& Text() const { return text_; }

 private:
  std::string text_;
};

}  // namespace

int main() {
  // Never destroyed: the targets outlive all that can log.
  static auto& file =
      *new QuorlBased::CFileStream(kLogFile, QuorlBased::kCreateFile);
  static auto& last = *new LastRecord;
  static auto& both = *new FanOut(file, last);
  QuorlBased::IQuorlLogger* logger = GetQuorlLogger();
  logger->SetLogStream(&both);

  logger->Log(QuorlBased::LogInfo, "main", "first", nullptr, 0);
  logger->Log(QuorlBased::LogWarn, "main", "second", nullptr, 0);

  std::ifstream log(kLogFile, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(log), {}};
  std::cout << text << "last: " << last.Text();
  const size_t last_size = last.Text().size();
  const bool in_both = text.size() > last_size &&
                       text.substr(text.size() - last_size) == last.Text();
  return in_both && text.find("[MG=first]") != std::string::npos ? 0 : 1;
}
