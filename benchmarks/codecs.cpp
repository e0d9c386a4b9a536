#include "benchmarks/codecs.h"

#include <cstdint>
#include <cstring>

#include "vellix/sysutils_codecs.h"
#include "vellix/sysutils_strings.h"
#include "vellix/sysutils_vectors.h"

namespace bench {

std::string Base64Of(std::string bytes) {
  std::string text;
  QuorlBased::base64_encode(Bytes(bytes), static_cast<int32_t>(bytes.size()),
                            text);
  return text;
}

std::string HexOf(std::string bytes) {
  return QuorlBased::BinaryToHexString(bytes.data(),
                                       static_cast<uint32_t>(bytes.size()), "");
}

namespace {

// Registers `code` with the path that the library chooses, and with each one
// that the processor has.
template <typename Prepare, typename Code>
void AddPaths(const std::string& job, Prepare prepare, Code code) {
  const auto add = [&](const char* by, const QuorlBased::VectorPath* path) {
    AddCodec(job, by, prepare,
             [path, code](std::string& text, std::string& out) {
               QuorlBased::UsePath(*path);
               code(text, out);
             });
  };
  const QuorlBased::VectorPaths paths = QuorlBased::PathsOfProcessor();
  add("vellix", paths[0]);
  for (const QuorlBased::VectorPath* path : paths) {
    add(path->name, path);
    if (path == &QuorlBased::kTablesPath) break;
  }
}

void AddVellix() {
  const auto dump = [](const char* separator) {
    return [separator](std::string& text, std::string& out) {
      out = QuorlBased::BinaryToHexString(
          text.data(), static_cast<uint32_t>(text.size()), separator);
    };
  };
  AddPaths("codecs/base64-encode", Plain,
           [](std::string& text, std::string& out) {
             QuorlBased::base64_encode(Bytes(text),
                                       static_cast<int32_t>(text.size()), out);
           });
  AddPaths("codecs/base64-decode", Base64Of,
           [](std::string& text, std::string& out) {
             QuorlBased::base64_decode(Bytes(text),
                                       static_cast<int32_t>(text.size()), out);
           });
  AddPaths("codecs/hex-encode", Plain, dump(""));
  AddPaths("codecs/hex-dump", Plain, dump(" "));
  AddPaths("codecs/hex-decode", HexOf, [](std::string& text, std::string& out) {
    QuorlBased::hex2bin(text, out);
  });
}

// The floor of all: a copy. And what a dump must leave behind: a call of the
// formatter for each byte.
void AddFloors() {
  const auto copy = [](std::string& text, std::string& out) { out = text; };
  for (const char* job :
       {"codecs/base64-encode", "codecs/hex-encode", "codecs/hex-dump"}) {
    AddCodec(job, "copy", Plain, copy);
  }
  AddCodec("codecs/base64-decode", "copy", Base64Of, copy);
  AddCodec("codecs/hex-decode", "copy", HexOf, copy);
  AddCodec("codecs/hex-dump", "format", Plain,
           [](std::string& text, std::string& out) {
             out.clear();
             for (const char c : text) {
               const auto byte = static_cast<unsigned char>(c);
               out += QuorlBased::Format("%02X%s", byte, " ");
             }
           });
}

const Registration kAll([] {
  AddFloors();
  AddVellix();
});

}  // namespace
}  // namespace bench
