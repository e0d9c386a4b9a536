#include "benchmarks/buffer.h"

#include "vellix/sysutils_buffer.h"

namespace bench {
namespace {

class Vellix : public QuorlBased::CDataBuffer2 {
 public:
  Vellix() : CDataBuffer2(false) {}
};

const Registration kAll([] { AddQueue<Vellix>("vellix"); });

}  // namespace
}  // namespace bench
