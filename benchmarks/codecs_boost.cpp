#include <boost/algorithm/hex.hpp>
#include <boost/beast/core/detail/base64.hpp>
#include <boost/beast/core/detail/base64.ipp>
#include <iterator>

#include "benchmarks/codecs.h"

namespace bench {
namespace {

namespace base64 = boost::beast::detail::base64;

const Registration kAll([] {
  AddCodec("codecs/base64-encode", "boost", Plain,
           [](std::string& text, std::string& out) {
             out.resize(base64::encoded_size(text.size()));
             base64::encode(out.data(), text.data(), text.size());
           });
  AddCodec("codecs/base64-decode", "boost", Base64Of,
           [](std::string& text, std::string& out) {
             out.resize(base64::decoded_size(text.size()));
             base64::decode(out.data(), text.data(), text.size());
           });
  AddCodec("codecs/hex-encode", "boost", Plain,
           [](std::string& text, std::string& out) {
             out.clear();
             boost::algorithm::hex(text, std::back_inserter(out));
           });
  AddCodec("codecs/hex-decode", "boost", HexOf,
           [](std::string& text, std::string& out) {
             out.clear();
             boost::algorithm::unhex(text, std::back_inserter(out));
           });
});

}  // namespace
}  // namespace bench
