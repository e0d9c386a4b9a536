#include <openssl/crypto.h>
#include <openssl/evp.h>

#include "benchmarks/codecs.h"

namespace bench {
namespace {

// Two digits for each byte, a colon between them if there is a separator.
auto Dump(char separator) {
  return [separator](std::string& text, std::string& out) {
    out.resize(3 * text.size() + 1);
    size_t length = 0;
    OPENSSL_buf2hexstr_ex(out.data(), out.size(), &length, Bytes(text),
                          text.size(), separator);
  };
}

const Registration kAll([] {
  AddCodec("codecs/base64-encode", "openssl", Plain,
           [](std::string& text, std::string& out) {
             out.resize((text.size() + 2) / 3 * 4 + 1);
             EVP_EncodeBlock(Bytes(out), Bytes(text),
                             static_cast<int>(text.size()));
           });
  AddCodec("codecs/base64-decode", "openssl", Base64Of,
           [](std::string& text, std::string& out) {
             out.resize(text.size() / 4 * 3);
             EVP_DecodeBlock(Bytes(out), Bytes(text),
                             static_cast<int>(text.size()));
           });
  AddCodec("codecs/hex-encode", "openssl", Plain, Dump('\0'));
  AddCodec("codecs/hex-dump", "openssl", Plain, Dump(':'));
  AddCodec("codecs/hex-decode", "openssl", HexOf,
           [](std::string& text, std::string& out) {
             out.resize(text.size() / 2);
             size_t length = 0;
             OPENSSL_hexstr2buf_ex(Bytes(out), out.size(), &length,
                                   text.c_str(), '\0');
           });
});

}  // namespace
}  // namespace bench
