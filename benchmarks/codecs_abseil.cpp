#include <absl/strings/escaping.h>

#include "benchmarks/codecs.h"

namespace bench {
namespace {

const Registration kAll([] {
  AddCodec("codecs/base64-encode", "abseil", Plain,
           [](std::string& text, std::string& out) {
             absl::Base64Escape(text, &out);
           });
  AddCodec("codecs/base64-decode", "abseil", Base64Of,
           [](std::string& text, std::string& out) {
             absl::Base64Unescape(text, &out);
           });
  const auto encode = [](std::string& text, std::string& out) {
    out = absl::BytesToHexString(text);
  };
  AddCodec("codecs/hex-encode", "abseil", Plain, encode);
  // It has no dump with separators: digits alone.
  AddCodec("codecs/hex-dump", "abseil", Plain, encode);
  AddCodec("codecs/hex-decode", "abseil", HexOf,
           [](std::string& text, std::string& out) {
             out = absl::HexStringToBytes(text);
           });
});

}  // namespace
}  // namespace bench
