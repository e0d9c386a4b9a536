#include "vellix/logger_record.h"

#include <stdexcept>

namespace QuorlBased {

void LogRecord::ReserveOnHeap(uint64_t size) {
  if (size > UINT32_MAX) throw std::length_error("log record");
  heap_.reset(new char[static_cast<size_t>(size)]);
  text_ = heap_.get();
}

void LogRecord::ComposeEscaped(const LogFields& fields, size_t dumped) {
  LogText from(fields.from);
  LogText msg(fields.msg);
  from.CountEscapes();
  msg.CountEscapes();
  Reserve(FixedLength(dumped) + from.EscapedLength() + msg.EscapedLength());
  Compose<&LogText::AppendEscaped>(fields, from, msg, dumped);
}

}  // namespace QuorlBased
