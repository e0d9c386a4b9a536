// A C++ host whose log goes to a stream written in C. The stream keeps the last
// 1000 bytes, which the host prints when something went wrong.
#include <iostream>
#include <string>

#include "c_stream.h"
#include "vellix/logger.h"
#include "vellix/quorl_base_streams.h"

namespace {

using QuorlBased::IQuorlStream;

// A C stream as the C++ interface, and vice versa.
IQuorlStream* FromC(vellix_stream* stream) {
  return reinterpret_cast<IQuorlStream*>(stream);
}

constexpr int64_t kCapacity = 1000;

bool HasEachOperation(IQuorlStream* stream, IQuorlStream* source) {
  bool ok = stream->GetSize() == kCapacity && stream->SetPosition(3) == 3;
  ok = ok && stream->GetPosition() == 3 && !stream->IsStream();
  ok = ok && stream->Seek(0, QuorlBased::SeekEnd) == kCapacity;
  ok = ok && stream->Eof() && stream->SetSize(0);
  ok = ok && stream->Seek(-1, QuorlBased::SeekCurrent) == -1;
  ok = ok && stream->Write("abc", 3) == 3 && stream->CopyFrom(source, 2) == 2;
  std::string text(9, '?');
  ok = ok && stream->Read(text.data(), 9) == 5 && text == "abcxy????";
  return ok && stream->Read(text.data(), 9) == -1;
}

}  // namespace

int main() {
  vellix_stream* const recorder = c_stream_new(kCapacity);
  if (!recorder) return 1;
  GetQuorlLogger()->SetLogStream(FromC(recorder));
  for (int i = 0; i < 100; ++i) {
    vellix_logf(VELLIX_LOG_INFO, "pump", "stroke %d", i);
  }
  vellix_logf(VELLIX_LOG_FATAL, "pump", "out of %s", "water");

  QuorlBased::CMemoryStream last;
  if (last.CopyFrom(FromC(recorder), 0) != kCapacity) return 1;
  const std::string text(static_cast<const char*>(last.GetMemory()), kCapacity);
  std::cout << "..." << text;

  GetQuorlLogger()->EnableLog(false);
  last.SetSize(0);
  last.Write("xy", 2);
  last.SetPosition(0);
  if (!HasEachOperation(FromC(recorder), &last)) return 1;
  FromC(recorder)->Free();
  return 0;
}
