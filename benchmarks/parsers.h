// What all parsers do: the same command line.
#ifndef VELLIX_BENCHMARKS_PARSERS_H_
#define VELLIX_BENCHMARKS_PARSERS_H_

#include "benchmarks/bench.h"

namespace bench {

constexpr char kCommandLine[] =
    "/usr/bin/tool --input \"a file with blanks.txt\" --level=3 -v "
    "--name \"say \\\"yes\\\"\" --output /var/tmp/result.bin --verbose last";

}  // namespace bench

#endif  // VELLIX_BENCHMARKS_PARSERS_H_
