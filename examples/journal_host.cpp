// A host whose log goes to systemd's journal, field by field:
//
//   vellix_journal_host      to the journal's socket
//   vellix_journal_host -    to standard output, for systemd-journal-remote
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

#include "vellix/logger.h"
#include "vellix/targets.h"

namespace {

// Writes each log record as an entry in the journal's native form
// (systemd.io/JOURNAL_NATIVE_PROTOCOL). No text of a log record holds a line
// feed, so that each field is a line.
class JournalTarget : public vellix::Target {
 public:
  explicit JournalTarget(QuorlBased::IQuorlStream& next) : next_(next) {}

  int32_t Write(const void* buffer, uint32_t count) override {
    const std::string_view line(static_cast<const char*>(buffer), count);
    const auto record = vellix::ReadRecord(line);
    if (!record) return -1;
    entry_ = "SYSLOG_IDENTIFIER=journal_host\n";
    Put("PRIORITY", {&kPriorities[record->level], 1});
    const auto level = vellix::record_rule::kLevels[record->level];
    Put("VELLIX_LEVEL", level.substr(0, level.find(' ')));
    Put("VELLIX_SOURCE", record->source);
    Put("VELLIX_DATA", record->data);
    Put("TID", record->thread);
    Put("MESSAGE", record->message);
    entry_ += "\n";  // ends the entry
    const auto size = static_cast<int32_t>(entry_.size());
    const bool is_sent =
        next_.Write(entry_.data(), static_cast<uint32_t>(size)) == size;
    return is_sent ? static_cast<int32_t>(count) : -1;
  }

 private:
  // Of syslog: DEBUG, INFO, WARN, EXP and ERROR, FATAL.
  static constexpr char kPriorities[] = "764332";

  void Put(const char* name, std::string_view value) {
    entry_.append(name).append("=").append(value).append("\n");
  }

  QuorlBased::IQuorlStream& next_;
  std::string entry_;
};

// -1 and errno when there is no journal.
int ConnectToJournal() {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  strcpy(address.sun_path, "/run/systemd/journal/socket");
  const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  const auto* to = reinterpret_cast<const sockaddr*>(&address);
  return connect(fd, to, sizeof address) == 0 ? fd : -1;
}

}  // namespace

int main(int argc, char**) {
  const int fd = argc > 1 ? STDOUT_FILENO : ConnectToJournal();
  if (fd == -1) {
    perror("no journal");
    return 1;
  }
  // Never destroyed: the targets outlive everything that can log.
  static auto& journal = *new vellix::FdTarget(fd);
  static auto& entries = *new JournalTarget(journal);
  QuorlBased::IQuorlLogger* logger = GetQuorlLogger();
  logger->SetLogStream(&entries);

  logger->Log(QuorlBased::LogInfo, "net", "listening", nullptr, 0);
  const unsigned char packet[] = {0x0F, 0xA0};
  logger->Log(QuorlBased::LogError, "net", "bad\npacket", packet, 2);
  return journal.Lost() == 0 ? 0 : 1;
}
