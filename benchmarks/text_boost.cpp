#include <boost/algorithm/string.hpp>
#include <list>

#include "benchmarks/text.h"

namespace bench {
namespace {

const Registration kAll([] {
  for (const bool dense : {false, true}) {
    AddLoop(dense ? "text/replace-dense" : "text/replace-none", "boost",
            [text = ReplaceText(dense)] {
              return boost::replace_all_copy(text, kReplaced, kReplacement);
            });
  }
  AddLoop("text/split", "boost", [text = Fields()] {
    std::list<std::string> pieces;
    boost::split(pieces, text, boost::is_any_of(kSeparators),
                 boost::token_compress_on);
    return pieces;
  });
  AddLoop("text/trim", "boost",
          [text = std::string(kPadded)] { return boost::trim_copy(text); });
  AddLoop("text/lower", "boost",
          [text = Words(1024)] { return boost::to_lower_copy(text); });
});

}  // namespace
}  // namespace bench
