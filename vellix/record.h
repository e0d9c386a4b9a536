// Splits log lines into fields, by the rule of docs/log-readers.md.
//
//   std::string_view line;
//   while (vellix::TakeLine(log, line)) {
//     const auto record = vellix::ReadRecord(line);
//     if (record && record->level >= QuorlBased::LogError) Show(*record);
//   }
//
// Header-only, needs nothing at link time. No function allocates, throws or
// takes more than two passes over its text. Any thread, and signal handlers.
#ifndef VELLIX_RECORD_H_
#define VELLIX_RECORD_H_

#include <cstddef>
#include <optional>
#include <string_view>

#include "vellix/logger.h"

// Modules with other versions of this header share nothing of it.
#pragma GCC visibility push(hidden)
namespace vellix {

// The fields of a log record. They point into its line.
struct Record {
  std::string_view time;    // 24 characters, local time
  std::string_view thread;  // decimal, signed
  QuorlBased::LogLevel level = QuorlBased::LogDebug;  // after LV=
  std::string_view source;                            // the text after FR=
  std::string_view message;                           // the text after MG=
  std::string_view data;  // "NULL", or two digits and a blank for each byte
  size_t offset = 0;      // of the record in its line
};

// Moves the first line of `log`, including its LF, to `line`. Text after the
// last LF is a line too. False at the end.
inline bool TakeLine(std::string_view& log, std::string_view& line) {
  if (log.empty()) return false;
  const size_t end = log.find('\n');
  line = log.substr(0, end == std::string_view::npos ? end : end + 1);
  log.remove_prefix(line.size());
  return true;
}

// The parts of the rule.
namespace record_rule {

inline constexpr std::string_view kStart = "[TM=";
inline constexpr std::string_view kMessage = "] [MG=";
inline constexpr std::string_view kData = "] [BN=";

inline constexpr std::string_view kLevels[] = {"DEBUG", "INFO ", "WARN ",
                                               "EXP  ", "ERROR", "FATAL"};

inline bool IsDigit(char c) { return c >= '0' && c <= '9'; }
inline bool IsHexDigit(char c) { return IsDigit(c) || (c >= 'A' && c <= 'F'); }

inline bool Skip(std::string_view& text, std::string_view piece) {
  if (text.substr(0, piece.size()) != piece) return false;
  text.remove_prefix(piece.size());
  return true;
}

inline std::string_view Take(std::string_view& text, size_t size) {
  const std::string_view taken = text.substr(0, size);
  text.remove_prefix(taken.size());
  return taken;
}

// "Sun Nov  1 09:05:00 2026"
inline bool IsTime(std::string_view text) {
  return text.size() == 24 && text[3] == ' ' && text[7] == ' ' &&
         text[10] == ' ' && text[13] == ':' && text[16] == ':' &&
         text[19] == ' ' && IsDigit(text[9]) && IsDigit(text[18]) &&
         IsDigit(text[23]);
}

inline bool TakeThread(std::string_view& text, std::string_view& thread) {
  const size_t sign = text.substr(0, 1) == "-" ? 1 : 0;
  size_t end = sign;
  while (end < text.size() && IsDigit(text[end])) ++end;
  thread = Take(text, end);
  const bool is_padded = end > sign + 1 && thread[sign] == '0';
  return end > sign && end <= 11 && !is_padded;
}

inline bool TakeLevel(std::string_view& text, QuorlBased::LogLevel& level) {
  const std::string_view name = Take(text, 5);
  for (int i = 0; i < 6; ++i) {
    if (name != kLevels[i]) continue;
    level = static_cast<QuorlBased::LogLevel>(i);
    return true;
  }
  return false;
}

// The fields of fixed form, up to the source.
inline bool TakeHead(std::string_view& text, Record& record) {
  return Skip(text, kStart) && IsTime(record.time = Take(text, 24)) &&
         Skip(text, "] [TH=") && TakeThread(text, record.thread) &&
         Skip(text, "] [LV=") && TakeLevel(text, record.level) &&
         Skip(text, "] [FR=");
}

inline bool IsData(std::string_view text) {
  if (text == "NULL") return true;
  if (text.empty() || text.size() % 3 != 0) return false;
  for (size_t i = 0; i < text.size(); i += 3) {
    if (!IsHexDigit(text[i]) || !IsHexDigit(text[i + 1]) ||
        text[i + 2] != ' ') {
      return false;
    }
  }
  return true;
}

// Cuts the data field off `line`, which may end in CR LF or not.
inline bool TakeData(std::string_view& line, std::string_view& data) {
  for (const char end : {'\n', '\r', ']'}) {
    if (!line.empty() && line.back() == end) {
      line.remove_suffix(1);
    } else if (end == ']') {
      return false;
    }
  }
  const size_t at = line.rfind(kData);
  if (at == std::string_view::npos) return false;
  data = line.substr(at + kData.size());
  line = line.substr(0, at);
  return IsData(data);
}

// The record that begins at `at`; `line` ends with the message.
inline bool ReadAt(std::string_view line, size_t at, Record& record) {
  std::string_view rest = line.substr(at);
  if (!TakeHead(rest, record)) return false;
  const size_t end = rest.find(kMessage);
  if (end == std::string_view::npos) return false;
  record.source = rest.substr(0, end);
  record.message = rest.substr(end + kMessage.size());
  record.offset = at;
  return true;
}

}  // namespace record_rule

// The record in `line`, with or without its CR LF; none if there is no whole
// one.
//
// If a torn record precedes it on the line, a record is found if the torn one
// broke off before its message. If that broke off later, the line reads as one
// record whose message holds the second: it could have been logged so. See
// ReadLastRecord.
inline std::optional<Record> ReadRecord(std::string_view line) {
  Record record;
  if (!record_rule::TakeData(line, record.data)) return {};
  // A record cannot begin after the last start of a message.
  const size_t last = line.rfind(record_rule::kMessage);
  if (last == std::string_view::npos) return {};
  for (size_t at = 0; (at = line.find(record_rule::kStart, at)) < last; ++at) {
    if (record_rule::ReadAt(line, at, record)) return record;
  }
  return {};
}

// The record that begins last in `line`: "two" of "[TM=…] … [MG=one[TM=…] …
// [MG=two] [BN=NULL]". For a log with torn lines in its middle, as SetLogFile
// leaves them on a full disk. A message can imitate such a record, so not for a
// log with untrusted texts.
inline std::optional<Record> ReadLastRecord(std::string_view line) {
  Record record;
  if (!record_rule::TakeData(line, record.data)) return {};
  size_t at = line.rfind(record_rule::kMessage);
  while (at != std::string_view::npos && at > 0) {
    at = line.rfind(record_rule::kStart, at - 1);
    if (at == std::string_view::npos) break;
    if (record_rule::ReadAt(line, at, record)) return record;
  }
  return {};
}

}  // namespace vellix
#pragma GCC visibility pop

#endif  // VELLIX_RECORD_H_
