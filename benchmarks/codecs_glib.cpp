#include <glib.h>

#include "benchmarks/codecs.h"

namespace bench {
namespace {

const Registration kAll([] {
  AddCodec("codecs/base64-encode", "glib", Plain,
           [](std::string& text, std::string&) {
             g_free(g_base64_encode(Bytes(text), text.size()));
           });
  AddCodec("codecs/base64-decode", "glib", Base64Of,
           [](std::string& text, std::string&) {
             gsize length = 0;
             g_free(g_base64_decode(text.c_str(), &length));
           });
});

}  // namespace
}  // namespace bench
