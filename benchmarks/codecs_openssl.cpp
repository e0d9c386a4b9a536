#include <openssl/crypto.h>
#include <openssl/evp.h>

#include "benchmarks/codecs.h"

namespace bench {
namespace {

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
  AddCodec("codecs/hex-encode", "openssl", Plain,
           [](std::string& text, std::string& out) {
             out.resize(2 * text.size() + 1);
             size_t length = 0;
             OPENSSL_buf2hexstr_ex(out.data(), out.size(), &length, Bytes(text),
                                   text.size(), '\0');
           });
  AddCodec(
      "codecs/hex-dump", "openssl", Plain, [](std::string& text, std::string&) {
        OPENSSL_free(
            OPENSSL_buf2hexstr(Bytes(text), static_cast<long>(text.size())));
      });
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
